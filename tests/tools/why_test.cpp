// vekctl why: the first reason, in the order in which the road to the axes can be blocked.
#include <gtest/gtest.h>

#include <cmath>

#include "tools/vekctl/judgement.h"

namespace {

constexpr const char* kNothing = "";

GroupSnapshot Moving() {
  return {.vek_runs = true,
          .load_complete = 1,
          .state = GROUP_STATE_POSITION,
          .state_cmd = GROUP_STATE_POSITION,
          .brake_unlocked = false,
          .vel_percent = 20,
          .acc_percent = 20,
          .axes = 6,
          .dof = 6,
          .ring_frames = 10,
          .ring_taken_from = true,
          .set = {},
          .traj_state = TRAJ_PLAY_MID};
}

struct Case {
  const char* reason;
  void (*spoil)(GroupSnapshot& s);
};

const Case kCases[] = {
    {"Vek is not running (its cycle stamps stand still)", [](auto& s) { s.vek_runs = false; }},
    {"Vek has no complete robot.ini (load flag 0)", [](auto& s) { s.load_complete = 0; }},
    {"it is in TORQUE, not in POSITION; a request for IDLE is pending",
     [](auto& s) {
       s.state = GROUP_STATE_TORQUE;
       s.state_cmd = GROUP_STATE_IDLE;
     }},
    {"a brake is held unlocked", [](auto& s) { s.brake_unlocked = true; }},
    {"its speed percent is 0", [](auto& s) { s.vel_percent = 0; }},
    {"its acceleration percent is -1", [](auto& s) { s.acc_percent = -1; }},
    {"the servo side reports 5 axes, robot.ini has Dof 6", [](auto& s) { s.axes = 5; }},
    {"its ring is full: the servo task takes no frames",
     [](auto& s) { s.ring_taken_from = false; }},
    {"the joint command is pending",
     [](auto& s) { s.set[0] = {.enabled = true, .pending = true}; }},
    {"the speed command is pending, its enable byte being 0",
     [](auto& s) { s.set[1].pending = true; }},
    {"the acceleration command is pending",
     [](auto& s) { s.set[2] = {.enabled = true, .pending = true}; }},
    {"its trajectory waits to be started (trajectory byte 3)",
     [](auto& s) { s.traj_state = TRAJ_START; }},
};

TEST(Why, EachReasonIsNamedAndOutranksAllBehindIt) {
  const GroupRow& body = kGroups[3];
  EXPECT_EQ(WhyItStands(body, Moving()), kNothing);
  GroupSnapshot all = Moving();
  for (auto c = std::rbegin(kCases); c != std::rend(kCases); ++c) {
    GroupSnapshot alone = Moving();
    c->spoil(alone);
    EXPECT_EQ(WhyItStands(body, alone), c->reason);
    c->spoil(all);
    EXPECT_EQ(WhyItStands(body, all), c->reason);
  }
}

TEST(Why, VariantsOfAReason) {
  const GroupRow& body = kGroups[3];
  const Case cases[] = {
      {"it is in IDLE, not in POSITION", [](auto& s) { s.state = s.state_cmd = 0; }},
      {"it is in ERROR, not in POSITION; a request for POSITION waits, as such a state takes none",
       [](auto& s) { s.state = GROUP_STATE_ERROR; }},
      {"it is in IDLE, not in POSITION",
       [](auto& s) {
         s.state = GROUP_STATE_IDLE;
         s.state_cmd = 50;
       }},
      {"its speed percent is nan", [](auto& s) { s.vel_percent = NAN; }},
      {"its speed percent is inf", [](auto& s) { s.vel_percent = INFINITY; }},
      {"the servo side reports -1 axes", [](auto& s) { s.axes = s.dof = -1; }},
      {"its ring's positions are out of range", [](auto& s) { s.ring_frames = -1; }},
      {kNothing,
       [](auto& s) {
         s.ring_frames = 9;
         s.ring_taken_from = false;
       }},
      {kNothing, [](auto& s) { s.set[0].enabled = true; }},
      {"its trajectory is being loaded (trajectory byte 2)", [](auto& s) { s.traj_state = 2; }},
      {"its trajectory waits to be stopped (trajectory byte 9)", [](auto& s) { s.traj_state = 9; }},
      {"its trajectory byte -3 means nothing to Vek", [](auto& s) { s.traj_state = -3; }},
  };
  for (const Case& c : cases) {
    GroupSnapshot snapshot = Moving();
    c.spoil(snapshot);
    EXPECT_EQ(WhyItStands(body, snapshot), c.reason);
  }
  GroupSnapshot lift = Moving();
  lift.brake_unlocked = true;
  EXPECT_EQ(WhyItStands(kGroups[4], lift), kNothing) << "the lift has no brake word";
}

}  // namespace
