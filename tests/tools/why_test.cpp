// vekctl why: the first reason, in the order in which the road to the axes can be blocked.
#include <gtest/gtest.h>

#include <cmath>

#include "tools/vekctl/judgement.h"

namespace {

// A group that moves though its ring, almost full, was not seen to be read.
GroupSnapshot Moving() {
  GroupSnapshot s{};
  s.vek_runs = s.set[0].enabled = true;
  s.load_complete = 1;
  s.state = s.state_cmd = GROUP_STATE_POSITION;
  s.vel_percent = s.acc_percent = 20;
  s.axes = s.dof = 6;
  s.ring_frames = 9;
  s.traj_state = TRAJ_PLAY_MID;
  return s;
}

struct Case {
  const char* reason;
  void (*spoil)(GroupSnapshot& s);
};

const Case kCases[] = {
    {"Vek's cycle does not run (its stamps stand still)", [](auto& s) { s.vek_runs = false; }},
    {"Vek has no complete robot.ini (load flag 0)", [](auto& s) { s.load_complete = 0; }},
    {"it is in TORQUE, not in POSITION; a request for POSITION is pending",
     [](auto& s) { s.state = GROUP_STATE_TORQUE; }},
    {"a brake is held unlocked", [](auto& s) { s.brake_unlocked = true; }},
    {"its speed percent is 0", [](auto& s) { s.vel_percent = 0; }},
    {"its acceleration percent is nan", [](auto& s) { s.acc_percent = NAN; }},
    {"the servo side reports 5 axes, robot.ini has Dof 6", [](auto& s) { s.axes = 5; }},
    {"its ring is full: the servo task takes no frames", [](auto& s) { s.ring_frames = 10; }},
    {"the joint command is pending", [](auto& s) { s.set[0].pending = true; }},
    {"the speed command is pending, its enable byte being 0",
     [](auto& s) { s.set[1].pending = true; }},
    {"the acceleration command is pending",
     [](auto& s) { s.set[2].enabled = s.set[2].pending = true; }},
    {"its trajectory waits to be stopped (trajectory byte 9)", [](auto& s) { s.traj_state = 9; }},
};

std::string Why(void (*spoil)(GroupSnapshot& s)) {
  GroupSnapshot snapshot = Moving();
  spoil(snapshot);
  return WhyItStands(kGroups[3], snapshot);
}

TEST(Why, EachReasonIsNamedAndOutranksAllBehindIt) {
  EXPECT_EQ(WhyItStands(kGroups[3], Moving()), "");
  GroupSnapshot all = Moving();
  for (auto c = std::rbegin(kCases); c != std::rend(kCases); ++c) {
    EXPECT_EQ(Why(c->spoil), c->reason);
    c->spoil(all);
    EXPECT_EQ(WhyItStands(kGroups[3], all), c->reason);
  }
  GroupSnapshot lift = Moving();
  lift.brake_unlocked = true;
  EXPECT_EQ(WhyItStands(kGroups[4], lift), "") << "the lift has no brake word";
}

}  // namespace
