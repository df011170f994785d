#include "bench/robot.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "platform/standalone/log_drain.h"
#include "tools/requests.h"
#include "tools/vekctl/commands.h"

namespace fs = std::filesystem;

DebugLogClt g_log_clt;
std::atomic<bool> g_exit{false};
SysInfo* g_sysinfo_ptr = nullptr;
CfgConfig* g_cfg_ptr = nullptr;

namespace {

constexpr int kAxes[] = {7, 7, 3, 6, 2};
constexpr double kVibration_Hz = 3;
constexpr float kPercent = 100;
constexpr unsigned kCyclesPerHeadCommand = 256;

void Require(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("bench: ") + what);
}

std::string MotionFile(const GroupRow& group) {
  constexpr const char* kFiles[] = {"arm0_wave", "arm1_eight", nullptr, "body_bow", "lift_rise"};
  return std::string(VEK_CONFIG_DIR "/motions/") + kFiles[group.index] + ".csv";
}

}  // namespace

MemoryFolder::MemoryFolder() : path_("/dev/shm/vek-bench-XXXXXX") {
  Require(mkdtemp(path_.data()) != nullptr, "no folder in /dev/shm");
}

MemoryFolder::~MemoryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

const Waypoints& SampleMotion(const GroupRow& group) {
  static std::array<Waypoints, kGroupCount> motions;
  Waypoints& motion = motions[group.index];
  if (motion.points.empty()) motion = ReadWaypoints(MotionFile(group), group);
  return motion;
}

Robot& Robot::Get() {
  static Robot robot;
  return robot;
}

Robot::Robot() : log_(folder_.Path("log")) {
  setenv("VEK_LOG", log_.c_str(), 1);
  InitOptions init;
  init.root.root = folder_.Path("root");
  RunInit(init);
  SetUpAreas();
  Require(log_server_.OnInit(sys()) && g_log_clt.OnInit(LOG_MODULE_VEK, sys(), cfg()), "no log");
  Require(vek.OnInit(sys(), cfg()), "Vek does not start");
  trajbuf_area_ = std::make_unique<AreaView>(kTrajBufArea);
  shared::store(cfg(), SHARED_FIELD(CfgConfig, body.ISFrequency), kVibration_Hz);
  for (const GroupRow& group : kGroups) {
    if (group.plays_trajectories()) {
      WriteTrajectory(trajbuf_area_->get(), group, SampleMotion(group));
    }
    shared::store(sys(), group.sys.group_state, GROUP_STATE_POSITION);
    shared::store(udp_area_->get(), group.udp.state_cmd, GROUP_STATE_POSITION);
  }
}

void Robot::SetUpAreas() {
  sys_area_ = std::make_unique<AreaView>(kSysInfoArea);
  cfg_area_ = std::make_unique<AreaView>(kCfgConfigArea);
  mac_area_ = std::make_unique<AreaView>(kMacArea);
  udp_area_ = std::make_unique<AreaView>(kUdpArea);
  vek2dru_area_ = std::make_unique<AreaView>(kVek2DruArea);
  for (const GroupRow& group : kGroups) {
    shared::store(mac_area_->get(), group.axes, kAxes[group.index]);
    shared::store(udp_area_->get(), group.udp.vel_percent, kPercent);
    shared::store(udp_area_->get(), group.udp.acc_percent, kPercent);
    readers_[group.index].OnAttach(vek2dru_area_->get() + group.ring, AREA_RING_SIZE);
  }
}

void Robot::RestartRun(const GroupRow& group) {
  unsigned char* const udp = udp_area_->get();
  if (!group.plays_trajectories()) return;
  if (shared::load(udp, group.udp.traj_state) == TRAJ_IDLE) StartTrajectory(udp, group);
}

void Robot::ServeOthers() {
  for (const GroupRow& group : kGroups) {
    EmptyRing(group);
    RestartRun(group);
  }
  if (++cycles_ % kCyclesPerHeadCommand != 0) return;
  const float q = cycles_ / kCyclesPerHeadCommand % 2 == 0 ? -0.3F : 0.3F;
  SendJointCommand(udp_area_->get(), kGroups[2], {q, q, q});
}

void Robot::RequestEverything() {
  unsigned char* const udp = udp_area_->get();
  for (const GroupRow& group : kGroups) {
    for (const SetValue value : {SetValue::Joints, SetValue::Speed, SetValue::Acceleration}) {
      const SetBytes bytes = BytesOf(group, value);
      shared::store(udp, bytes.enable, 1);
      shared::store_release(udp, bytes.fresh, 1);
    }
  }
}

void Robot::RequestStates(int state) {
  for (const GroupRow& group : kGroups) RequestState(udp_area_->get(), group, state);
}

long Robot::TakeLogLines() {
  logging::flush();
  long lines = 0;
  std::ifstream file(log_);
  for (std::string line; std::getline(file, line); ++lines) {
    if (line.find("messages lost") != line.npos) return -1;
  }
  fs::resize_file(log_, 0);
  return lines;
}
