#include "tests/vek/vek_rig.h"

#include <cmath>
#include <cstdlib>

#include "platform/host.h"
#include "tests/support/log_lines.h"

namespace {

template <class Map>
void* Open(Map& map, const char* path, long size) {
  if (!map.OnOpen(path, size)) std::abort();
  return map.OnGetAddr();
}

}  // namespace

VekRig::VekRig() {
  root.MakeAreas();
  root.CopySampleIni();
  StartTestLog();
  sys = static_cast<SysInfo*>(Open(sys_map, "/dev/ZQSysInfo", AREA_SYSINFO_SIZE));
  cfg = static_cast<CfgConfig*>(Open(cfg_map, "/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE));
  mac = Open(mac_map, "/dev/ZQMac", AREA_MAC_SIZE);
  udp = Open(udp_map, "/dev/ZQUdp", AREA_UDP_SIZE);
  vek2dru = Open(vek2dru_map, "/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE);
  trajbuf = Open(trajbuf_map, "/home/QUARLE/Tags/TrajBuf.shm", AREA_TRAJBUF_SIZE);
  constexpr int kAxes[] = {7, 7, 3, 6, 2};
  for (const GroupRow& group : kGroups) {
    shared::store(mac, group.axes, kAxes[group.index]);
    shared::store(udp, group.udp.vel_percent, 100.0F);
    shared::store(udp, group.udp.acc_percent, 100.0F);
  }
}

void VekRig::SetIni(const char* section, const char* key, int value) const {
  const std::string path = root.Path("/home/QUARLE/Config/cfg/robot.ini");
  IniParser ini;
  ASSERT_TRUE(ini.OnLoad(path.c_str()));
  ASSERT_TRUE(ini.OnSetValue(section, key, value));
  ASSERT_TRUE(ini.OnSave(path.c_str()));
}

void VekRig::SetState(const GroupRow& group, int state) {
  shared::store(sys, group.sys.group_state, state);
}

void VekRig::SetJointPos(const GroupRow& group, const std::vector<double>& positions) {
  for (std::size_t j = 0; j < positions.size(); ++j) {
    shared::store(sys, group.sys.joint_pos, positions[j], j);
  }
}

void VekRig::SetTrajState(const GroupRow& group, int state) {
  shared::store_release(udp, group.udp.traj_state, static_cast<std::int8_t>(state));
}

int VekRig::TrajState(const GroupRow& group) const {
  return shared::load(udp, group.udp.traj_state);
}

void VekRig::LoadWaypoints(const GroupRow& group, int count, double amplitude) {
  for (int k = 0; k < count; ++k) {
    for (int j = 0; j < AREA_WAYPOINT_FLOATS; ++j) {
      const double q = amplitude * (j + 1) * (1 - std::cos(0.3 * k)) / 2;
      shared::store(trajbuf, group.traj.points, static_cast<float>(q),
                    static_cast<std::size_t>(k * AREA_WAYPOINT_FLOATS + j));
    }
  }
  shared::store(trajbuf, group.traj.point_count, count);
}

float VekRig::Waypoint(const GroupRow& group, std::size_t k, std::size_t axis) const {
  return shared::load(trajbuf, group.traj.points, k * AREA_WAYPOINT_FLOATS + axis);
}

void VekRig::Cycle() {
  vek.OnProcessUdpSet();
  vek.OnProcessRtUdpState();
  vek.OnProcessPosCtrlArm0();
  vek.OnProcessPosCtrlArm1();
  vek.OnProcessPosCtrlHead();
  vek.OnProcessPosCtrlBody();
  vek.OnProcessPosCtrlLift();
}

std::vector<Frame> VekRig::TakeFrames(const GroupRow& group) {
  KACBReader reader;
  reader.OnAttach(static_cast<unsigned char*>(vek2dru) + group.ring, AREA_RING_SIZE);
  std::vector<Frame> frames;
  PvtFrame packed;
  while (reader.OnRead(&packed, sizeof packed)) frames.push_back(UnpackFrame(packed));
  return frames;
}

std::vector<Frame> VekRig::Play(const GroupRow& group, int cycles) {
  std::vector<Frame> all;
  while (cycles-- > 0) {
    Cycle();
    for (const Frame& frame : TakeFrames(group)) all.push_back(frame);
  }
  return all;
}

void VekRig::Enter(const GroupRow& group) {
  SetState(group, GROUP_STATE_IDLE);
  Cycle();
  TakeFrames(group);
  SetState(group, GROUP_STATE_POSITION);
}

std::vector<std::string> VekRig::TakeLog() {
  std::vector<std::string> lines = LogLines();
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(log_taken_));
  log_taken_ += lines.size();
  return lines;
}
