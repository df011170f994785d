#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

class Trajectory : public GroupCase {
 protected:
  void SetUp() override {
    GroupCase::SetUp();
    rig_.LoadWaypoints(Group(), 5000);
  }
  void SetPointCount(std::int32_t count) {
    shared::store(rig_.trajbuf, Group().traj.point_count, count);
  }
  void SetNextPoint(std::int32_t next) {
    shared::store(rig_.trajbuf, Group().traj.next_point, next);
  }
  void Step(int steps = 1) {
    const auto g = static_cast<int>(GetParam());
    while (steps-- > 0) {
      if (g < 2) rig_.vek.ComputeArmTraj(g, target_.data());
      if (g == 3) rig_.vek.ComputeBodyTraj(target_.data());
      if (g == 4) rig_.vek.ComputeLiftTraj(target_.data());
    }
  }
  // Steps from a state; the state then.
  int StepFrom(int state, int steps = 1) {
    rig_.SetTrajState(Group(), state);
    Step(steps);
    return rig_.TrajState(Group());
  }
  // Steps until the run has ended; the number of steps, at most `most`.
  int StepToEnd(int most) {
    int steps = 0;
    for (; rig_.TrajState(Group()) != TRAJ_IDLE && steps < most; ++steps) Step();
    return steps;
  }

  std::array<double, AREA_AXES> target_{};
};

INSTANTIATE_TEST_SUITE_P(GroupsWithRuns, Trajectory, kGroupsWithRuns);

}  // namespace

TEST_P(Trajectory, PlaysTwentySamplesAnIntervalAndElevenMore) {
  // Waypoints announced, waypoints played: fewer than five still play five, more than the block
  // holds play all of it.
  constexpr std::array<std::int32_t, 2> kRuns[] = {{5, 5}, {6, 6}, {-7, 5}, {2000000000, 5000}};
  for (const auto& [announced, played] : kRuns) {
    SetPointCount(announced);
    rig_.SetTrajState(Group(), TRAJ_START);
    EXPECT_EQ(StepToEnd(200000), 20 * (played - 1) + 11) << announced;
    const auto last = static_cast<std::size_t>(played - 1);
    for (std::size_t j = 0; j < AxesInUse(); ++j) {
      EXPECT_NEAR(target_[j], rig_.Waypoint(Group(), last, j), 1e-9);
    }
    EXPECT_EQ(target_[7], 0) << "an axis beyond Dof";
    EXPECT_EQ(shared::load(rig_.trajbuf, Group().traj.next_point), played);
  }
  const auto lines = LogLines("INFO  " + Name() + ": Run traj plan finish at {");
  ASSERT_EQ(lines.size(), std::size(kRuns));
  EXPECT_EQ(std::count(lines[0].begin(), lines[0].end(), ','), static_cast<int>(AxesInUse()) - 1);
}

TEST_P(Trajectory, AStopRequestFreezesTheTargetAndALaterStartBeginsAfresh) {
  SetPointCount(40);
  for (const int steps : {1, 20, 40, 45, 60}) {
    StepFrom(TRAJ_START, steps);
    const auto frozen = target_;
    EXPECT_EQ(StepFrom(TRAJ_STOP, 5), TRAJ_IDLE);
    EXPECT_EQ(target_, frozen);
  }
  EXPECT_EQ(LogLines("INFO  " + Name() + ": Run traj plan stop at {").size(), 5U);
  rig_.SetTrajState(Group(), TRAJ_START);
  EXPECT_EQ(StepToEnd(10000), 20 * 39 + 11);
}

TEST_P(Trajectory, PlaysNothingOnSomebodyElsesWord) {
  for (const int foreign : {TRAJ_PLAY_START, TRAJ_PLAY_MID, TRAJ_PLAY_END}) {
    EXPECT_EQ(StepFrom(foreign), TRAJ_IDLE);
  }
  EXPECT_TRUE(LogLines(Name()).empty());
  // In the middle of a run, too: the byte that this controller last wrote is another one.
  StepFrom(TRAJ_START);
  const auto target = target_;
  EXPECT_EQ(StepFrom(TRAJ_PLAY_END), TRAJ_IDLE);
  EXPECT_EQ(target_, target);
  // Bytes without a meaning stay as they are.
  for (const int idle : {1, 2, 10, 127, -1, -128}) EXPECT_EQ(StepFrom(idle), idle);
}

TEST_P(Trajectory, RefusalsOfThePlannerEndTheRun) {
  SetPointCount(100);
  SetNextPoint(7);
  // The planner is not cutting: it takes neither a further waypoint nor the end.
  for (const int refused : {TRAJ_NEXT_POINT, TRAJ_END}) EXPECT_EQ(StepFrom(refused), TRAJ_IDLE);
  const std::vector<std::string> expected{
      "ERROR " + Name() + ": Failed to plan traj mid, OnCutPoint(P7)",
      "ERROR " + Name() + ": Failed to plan traj end, OnCutStop(P7)"};
  EXPECT_EQ(LogLines(Name()), expected);
}

TEST_P(Trajectory, ANextPointOutsideTheBlockEndsTheRun) {
  for (const std::int32_t wild : {-1, 100, 4999, 5000, 2000000000, -2000000000}) {
    SetPointCount(100);
    StepFrom(TRAJ_START, 40);
    SetNextPoint(wild);
    EXPECT_EQ(StepToEnd(1000), 51) << wild;
  }
}
