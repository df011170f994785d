#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

bool AllFinite(const Frame& frame) {
  const auto finite = [](double value) { return std::isfinite(value); };
  return std::ranges::all_of(frame.pos, finite) && std::ranges::all_of(frame.vel, finite) &&
         std::ranges::all_of(frame.dt_out, finite);
}

class GroupControl : public GroupCase {};
INSTANTIATE_TEST_SUITE_P(AllGroups, GroupControl, kAllGroups);

class GroupRun : public GroupCase {};
INSTANTIATE_TEST_SUITE_P(GroupsWithRuns, GroupRun, kGroupsWithRuns);

}  // namespace

TEST_P(GroupControl, EntersAtTheActualPositionAndHoldsIt) {
  const std::vector<double> actual{0.1, -0.2, 0.3, -0.4, 0.5, -0.6, 0.7, 99};
  rig_.SetJointPos(Group(), actual);
  rig_.Cycle();
  EXPECT_TRUE(rig_.TakeFrames(Group()).empty()) << "streams outside POSITION";

  rig_.SetState(Group(), GROUP_STATE_POSITION);
  const std::vector<Frame> frames = rig_.Play(Group(), 5);
  ASSERT_EQ(frames.size(), 1 + 4 * 3U) << "one start frame, then three a cycle";
  for (std::size_t k = 0; k < frames.size(); ++k) {
    EXPECT_EQ(frames[k].stream_flag, k == 0 ? 0U : 1U);
    for (std::size_t j = 0; j < AxesInUse(); ++j) EXPECT_EQ(frames[k].pos[j], actual[j]);
    EXPECT_EQ(frames[k].pos[7], 0) << "an axis beyond Dof";
  }
  constexpr const char* kRest[] = {",0.300000,-0.400000,0.500000,-0.600000,0.700000}",
                                   ",0.300000,-0.400000,0.500000,-0.600000,0.700000}",
                                   ",0.300000,0.000000,0.000000,0.000000,0.000000}",
                                   ",0.300000,-0.400000,0.500000,-0.600000,0.000000}", "}"};
  const std::string line = Name() + ": Set start position {0.100000,-0.200000" + kRest[GetParam()];
  EXPECT_EQ(LogLines("Set start position"), std::vector{"INFO  " + line});
}

TEST_P(GroupControl, RetriesTheStartFrameUntilTheRingTakesIt) {
  rig_.SetState(Group(), GROUP_STATE_POSITION);
  for (int k = 0; k < 20; ++k) rig_.Cycle();  // fills the ring
  rig_.SetState(Group(), GROUP_STATE_IDLE);
  rig_.Cycle();
  rig_.SetJointPos(Group(), {1.0});
  rig_.SetState(Group(), GROUP_STATE_POSITION);
  rig_.Cycle();
  rig_.SetJointPos(Group(), {2.0});  // too late: the start frame is built
  for (int k = 0; k < 5; ++k) rig_.Cycle();
  EXPECT_EQ(rig_.TakeFrames(Group()).size(), AREA_RING_CAPACITY / AREA_FRAME_SIZE + 0U);
  rig_.Cycle();
  const std::vector<Frame> frames = rig_.TakeFrames(Group());
  ASSERT_EQ(frames.size(), 1U);
  EXPECT_EQ(frames[0].stream_flag, 0U);
  EXPECT_EQ(frames[0].pos[0], 1.0);
  EXPECT_EQ(LogLines("Set start position").size(), 2U);
  EXPECT_EQ(LogLines("go to sub state 1").size(), 2U);
}

TEST_P(GroupRun, LeavingPositionKeepsTheRun) {
  rig_.SetState(Group(), GROUP_STATE_POSITION);
  rig_.LoadWaypoints(Group(), 30);
  rig_.SetTrajState(Group(), TRAJ_START);
  rig_.Play(Group(), 40);
  const int state = rig_.TrajState(Group());
  EXPECT_TRUE(state == TRAJ_PLAY_MID || state == TRAJ_NEXT_POINT);
  for (const int left : {GROUP_STATE_IDLE, GROUP_STATE_TORQUE, GROUP_STATE_ERROR}) {
    rig_.SetState(Group(), left);
    EXPECT_TRUE(rig_.Play(Group(), 10).empty());
    EXPECT_EQ(rig_.TrajState(Group()), state);
  }
  rig_.SetState(Group(), GROUP_STATE_POSITION);
  EXPECT_EQ(rig_.Play(Group(), 500).front().stream_flag, 0U);
  EXPECT_EQ(rig_.TrajState(Group()), TRAJ_IDLE);
}

TEST_P(GroupControl, AnUnusableActualPositionIsReportedOnceAnEntry) {
  std::vector<double> actual(AREA_AXES, kNaN);
  std::fill_n(actual.begin(), LastAxis(), 0.0);
  rig_.SetJointPos(Group(), actual);
  for (int entry = 0; entry < 2; ++entry) {
    rig_.Enter(Group());
    EXPECT_TRUE(rig_.Play(Group(), 10).empty());
  }
  EXPECT_EQ(LogLines("ERROR " + Name() + ": Failed to set start position").size(), 2U);
  actual[LastAxis()] = 0.5;
  rig_.SetJointPos(Group(), actual);
  const std::vector<Frame> frames = rig_.Play(Group(), 3);
  EXPECT_EQ(frames.back().pos[LastAxis()], 0.5);
  EXPECT_TRUE(AllFinite(frames.back())) << "axes beyond Dof may be no number";
}

TEST_P(GroupRun, GarbageInTheAreasNeverReachesAFrame) {
  rig_.SetState(Group(), GROUP_STATE_POSITION);
  rig_.LoadWaypoints(Group(), 40);
  constexpr std::int32_t kWild[] = {INT_MIN, -1, 5000, 5001, INT_MAX};
  std::vector<Frame> frames;
  for (const std::int32_t wild : kWild) {
    shared::store(rig_.mac, Group().axes, wild);
    shared::store(rig_.cfg, Group().cfg.dof, wild);
    shared::store(rig_.trajbuf, Group().traj.point_count, wild);
    shared::store(rig_.trajbuf, Group().traj.points, kNaN, 50);
    shared::store(rig_.trajbuf, Group().traj.points, INFINITY, 90);
    rig_.SetTrajState(Group(), TRAJ_START);
    for (int k = 0; k < 60; ++k) {
      if (k == 30) shared::store(rig_.trajbuf, Group().traj.next_point, wild);
      std::ranges::copy(rig_.Play(Group(), 1), std::back_inserter(frames));
    }
    rig_.Enter(Group());  // with the wild axis counts
  }
  ASSERT_GT(frames.size(), 500U);
  for (const Frame& frame : frames) ASSERT_TRUE(AllFinite(frame));
}

TEST(PositionControl, DoesNothingWithoutConfiguration) {
  VekRig rig;
  rig.root.Remove("/home/QUARLE/Config/cfg/robot.ini");
  ASSERT_TRUE(rig.Init());
  EXPECT_EQ(LogLines("ERROR Failed to load robot.ini").size(), 1U);
  for (const GroupRow& group : kGroups) rig.SetState(group, GROUP_STATE_POSITION);
  shared::store(rig.udp, kGroups[0].udp.traj_state, TRAJ_START);
  for (int k = 0; k < 5; ++k) rig.Cycle();
  for (const GroupRow& group : kGroups) EXPECT_TRUE(rig.TakeFrames(group).empty());
  EXPECT_EQ(rig.TrajState(kGroups[0]), TRAJ_START);
}
