// A Vek object at a desk without clock or servo task: a root with areas and the sample robot.ini,
// and the test in the place of the front end, the servo task and the real-time task.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/shared_memory.h"
#include "tests/support/temp_root.h"
#include "vek/frame.h"
#include "vek/vek.h"

class VekRig {
 public:
  // Areas, sample robot.ini, axis counts 7, 7, 3, 6, 2, all percents 100, log started.
  VekRig();
  bool Init() { return vek.OnInit(sys, cfg); }
  // Changes one number of the root's robot.ini.
  void SetIni(const char* section, const char* key, int value) const;

  // The servo task's and the front end's words.
  void SetState(const GroupRow& group, int state);
  void SetJointPos(const GroupRow& group, const std::vector<double>& positions);
  void SetTrajState(const GroupRow& group, int state);
  int TrajState(const GroupRow& group) const;
  // Waypoints a front end loads: waypoint k of axis j is amplitude * (j + 1) * (1 - cos(w k)) / 2.
  void LoadWaypoints(const GroupRow& group, int count, double amplitude = 0.01);
  float Waypoint(const GroupRow& group, std::size_t k, std::size_t axis) const;

  // One cycle of the real-time task.
  void Cycle();
  // All frames that wait in the group's ring.
  std::vector<Frame> TakeFrames(const GroupRow& group);
  // Cycles with a servo task that takes whatever is there; all frames.
  std::vector<Frame> Play(const GroupRow& group, int cycles);
  // Leaves POSITION, empties the ring as a servo task does, and asks the group back into POSITION.
  void Enter(const GroupRow& group);

  // What was logged since the last call.
  std::vector<std::string> TakeLog();

  TempRoot root;
  KShm sys_map, cfg_map, mac_map, udp_map, vek2dru_map;
  Shm trajbuf_map;
  SysInfo* sys;
  CfgConfig* cfg;
  void* mac;
  void* udp;
  void* vek2dru;
  void* trajbuf;
  Vek vek;

 private:
  std::size_t log_taken_ = 0;
};

// A case for one group of an initialised rig; the parameter is the group's index.
class GroupCase : public testing::TestWithParam<std::size_t> {
 protected:
  void SetUp() override { ASSERT_TRUE(rig_.Init()); }
  const GroupRow& Group() const { return kGroups[GetParam()]; }
  std::string Name() const { return Group().name; }
  // Axes in use in the sample configuration, and the last of them.
  std::size_t AxesInUse() const { return Group().udp.joint_cmd_axes; }
  std::size_t LastAxis() const { return AxesInUse() - 1; }
  double Limit(shared::Field<double> word, std::size_t j) const {
    return LoadJoint(rig_.cfg, Group(), word, j);
  }

  VekRig rig_;
};
inline const auto kAllGroups = testing::Values(0, 1, 2, 3, 4);
inline const auto kGroupsWithRuns = testing::Values(0, 1, 3, 4);
