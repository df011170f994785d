// Construction, initialisation and release of the Vek object.
#include <cstdio>
#include <cstring>

#include "platform/debug_log.h"
#include "platform/host.h"
#include "vek/vek.h"

namespace {

constexpr char kTagsFolder[] = "/home/QUARLE/Tags";
constexpr char kTrajBufFile[] = "TrajBuf.shm";

bool MapArea(KShm& shm, const char* path, long size, void*& base) {
  KShmOnInit(&shm);
  if (!shm.OnOpen(path, size)) {
    g_log_clt.ERROR_LOG("Failed to map %s", path);
    return false;
  }
  base = shm.OnGetAddr();
  return true;
}

}  // namespace

Vek::Vek() = default;

Vek::~Vek() {
  mac_shm_.OnClose();
  udp_shm_.OnClose();
  sysdbg_shm_.OnClose();
  vek2dru_shm_.OnClose();
  trajbuf_shm_.OnClose();
  if (gpio_fd_ != -1) host_close(gpio_fd_);
}

bool Vek::OnInit(SysInfo* sys, CfgConfig* cfg) {
  if (sys == nullptr || cfg == nullptr) return false;
  sys_ = sys;
  cfg_ = cfg;
  if (!MapAreas() || !AttachRings()) return false;
  if (!ei_acb_.OnInitSize(InputShaper::kRingBytes)) {
    g_log_clt.ERROR_LOG("Failed to init ei acb");
    return false;
  }
  if (!MapTrajBuf()) return false;
  if (!LoadRobotIni()) g_log_clt.ERROR_LOG("Failed to load robot.ini");
  if (shared::load(cfg_, SHARED_FIELD(CfgConfig, load_complete)) != 0) {
    if (!InitPositionCtrl()) {
      g_log_clt.ERROR_LOG("Failed to init position ctrl");
      return false;
    }
    InitCutters();
    position_ctrl_ready_ = true;
  }
  if (!OpenGyro() || !OpenGpio()) return false;
  g_log_clt.INFO_LOG("VEK init finish");
  return true;
}

bool Vek::MapAreas() {
  void* sysdbg = nullptr;
  return MapArea(mac_shm_, "/dev/ZQMac", AREA_MAC_SIZE, mac_) &&
         MapArea(udp_shm_, "/dev/ZQUdp", AREA_UDP_SIZE, udp_) &&
         MapArea(sysdbg_shm_, "/dev/ZQSysDbg", AREA_SYSDBG_SIZE, sysdbg) &&
         MapArea(vek2dru_shm_, "/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE, vek2dru_);
}

bool Vek::AttachRings() {
  for (KACB& ring : rings_) KACBOnInit(&ring);
  for (const GroupRow& group : kGroups) {
    void* const ring = static_cast<unsigned char*>(vek2dru_) + group.ring;
    if (!rings_[group.index].OnAttach(ring, AREA_RING_SIZE)) {
      g_log_clt.ERROR_LOG("Failed to init vek2dru acb");
      return false;
    }
  }
  return true;
}

bool Vek::MapTrajBuf() {
  ShmOnInit(&trajbuf_shm_);
  char path[512];
  std::snprintf(path, sizeof path, "%s/%s", kTagsFolder, kTrajBufFile);
  if (!trajbuf_shm_.OnOpen(path, AREA_TRAJBUF_SIZE)) {
    std::puts("Failed to init TrajBuf.shm");
    std::fflush(stdout);
    return false;
  }
  trajbuf_ = trajbuf_shm_.OnGetAddr();
  // The blocks only: what lies behind them stays as it was.
  std::memset(trajbuf_, 0, sizeof(TrajBuf::group));
  shared::store_release(sys_, SHARED_FIELD(SysInfo, trajbuf_ready), 1U);
  return true;
}
