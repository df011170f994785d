#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kFar = 1000;

class UdpSet : public GroupCase {
 protected:
  // Commands all joints; the group then streams until it rests at what it took over.
  void Command(float q) {
    for (std::size_t j = 0; j < AxesInUse(); ++j) {
      shared::store(rig_.udp, Group().udp.joint_cmd, q, j);
    }
    shared::store(rig_.udp, Group().udp.joint_cmd_enable, 1);
    shared::store_release(rig_.udp, Group().udp.joint_cmd_new, 1);
  }
  bool Pending() const { return shared::load(rig_.udp, Group().udp.joint_cmd_new) != 0; }
  // Streams until the group rests; the last frame.
  Frame Rest() {
    rig_.SetState(Group(), GROUP_STATE_POSITION);
    return rig_.Play(Group(), 6000).back();
  }
  // The first axis' highest speed in some cycles.
  double Fastest(int cycles) {
    double fastest = 0;
    for (const Frame& f : rig_.Play(Group(), cycles))
      fastest = std::max(fastest, std::abs(f.vel[0]));
    return fastest;
  }
  // The three coefficients of an arm's quadrant, by the offset of the first.
  void SetCoupling(std::size_t quadrant, const std::array<double, 3>& c) {
    quadrant += offsetof(CfgConfig, arm) + GetParam() * sizeof(CfgArm);
    for (std::size_t k = 0; k < 3; ++k) shared::store<double>(rig_.cfg, {quadrant}, c[k], k);
  }
};
INSTANTIATE_TEST_SUITE_P(AllGroups, UdpSet, kAllGroups);

using ArmSet = UdpSet;
INSTANTIATE_TEST_SUITE_P(BothArms, ArmSet, testing::Values(0, 1));

}  // namespace

TEST_P(UdpSet, ClampsEachJointUnlessItsLimitIsDisabled) {
  // Bit 6 takes the arms' coupling out of the picture, and with it the clamp of axis 7.
  shared::store(rig_.sys, Group().sys.soft_limit_disable, 0x40);
  Rest();
  for (const float q : {kFar, -kFar}) {
    Command(q);
    const Frame frame = Rest();
    EXPECT_FALSE(Pending());
    for (std::size_t j = 0; j < std::min<std::size_t>(AxesInUse(), 6); ++j) {
      const double limit = Limit(q > 0 ? Group().cfg.limit_pos : Group().cfg.limit_neg, j);
      EXPECT_NEAR(frame.pos[j], limit, 1e-12);
    }
  }
  shared::store(rig_.sys, Group().sys.soft_limit_disable, 0x42);
  const double beyond = Limit(Group().cfg.limit_pos, 1) + 0.05;
  Command(static_cast<float>(beyond));
  const Frame frame = Rest();
  EXPECT_NEAR(frame.pos[1], static_cast<float>(beyond), 1e-12);
  Command(kNaN);
  EXPECT_EQ(Rest().pos, frame.pos) << "what is no number holds the axis";
}

TEST_P(UdpSet, TakesCommandsOverInIdlePositionAndErrorOnly) {
  for (const int state : {2, 3, 50, 101, 102, 103, 109, -1}) {
    rig_.SetState(Group(), state);
    Command(0.01F);
    rig_.Cycle();
    EXPECT_TRUE(Pending()) << state;
    rig_.SetState(Group(), GROUP_STATE_ERROR);
    rig_.Cycle();
    EXPECT_FALSE(Pending()) << "taken over when the state returns from " << state;
  }
  // Either byte alone is no command.
  rig_.SetState(Group(), GROUP_STATE_IDLE);
  Command(0.01F);
  shared::store(rig_.udp, Group().udp.joint_cmd_enable, 0);
  rig_.Cycle();
  EXPECT_TRUE(Pending());
}

TEST_P(UdpSet, ScalesSpeedAndAccelerationAtRunTime) {
  constexpr std::pair<float, double> kCases[] = {
      {10, 0.1}, {0, 0.01}, {-3, 0.01}, {kNaN, 0.01}, {250, 1.0}};
  Rest();
  float q = 0.3F;
  for (const auto& [percent, scale] : kCases) {
    shared::store(rig_.udp, Group().udp.vel_percent, percent);
    shared::store(rig_.udp, Group().udp.vel_enable, 1);
    shared::store_release(rig_.udp, Group().udp.vel_new, 1);
    Command(q);
    const double fastest = Fastest(300);
    EXPECT_EQ(shared::load(rig_.udp, Group().udp.vel_new), 0);
    const double limit = Limit(Group().cfg.vel_max, 0) * scale;
    EXPECT_LE(fastest, limit * (1 + 1e-9));
    EXPECT_TRUE(scale > 0.2 || fastest > limit * 0.9) << percent << " % is not used";
    q = -q;
    Rest();
  }
  shared::store(rig_.udp, Group().udp.acc_percent, 1.0F);
  shared::store(rig_.udp, Group().udp.acc_enable, 1);
  shared::store_release(rig_.udp, Group().udp.acc_new, 1);
  Command(q);
  EXPECT_LE(Fastest(100), 0.3 * 0.01 * Limit(Group().cfg.acc_max, 0) * (1 + 1e-6));
}

TEST_P(UdpSet, OnlyAnArmsRunEndsOnAJointCommand) {
  if (!Group().plays_trajectories()) return;
  rig_.LoadWaypoints(Group(), 100);
  for (const int state : {int{TRAJ_START}, 1, -1}) {
    rig_.SetTrajState(Group(), state);
    Command(0.01F);
    rig_.vek.OnProcessUdpSet();
    EXPECT_EQ(rig_.TrajState(Group()), Group().is_arm ? TRAJ_IDLE : state);
  }
  const std::string line =
      Name() + ": UDP_ARM" + Name().back() + "_RT_CmdJointPos is set, abort traj plan moving";
  EXPECT_EQ(LogLines("WARN"), std::vector<std::string>(Group().is_arm ? 3 : 0, "WARN  " + line));
}

TEST_P(ArmSet, CouplesAxis7ToAxis6ByQuadrant) {
  // Limits: x > 0, y >= 0: 2 - x; x > 0, y < 0: -1 - x^2; x <= 0, y >= 0: 3; x <= 0, y < 0: -4.
  SetCoupling(offsetof(CfgArm, BD67PP), {0, -1, 2});
  SetCoupling(offsetof(CfgArm, BD67PN), {-1, 0, -1});
  SetCoupling(offsetof(CfgArm, BD67NP), {0, 0, 3});
  SetCoupling(offsetof(CfgArm, BD67NN), {0, 0, -4});
  struct Case {
    double x, y, limited;
  };
  constexpr Case kCases[] = {
      {0.5, 9, 1.5}, {0.5, 1.4, 1.4}, {3, 0, -1}, {0.5, -9, -1.25}, {0.5, -1, -1}, {0, 9, 3},
      {0, -9, -4},   {-1, 2.5, 2.5},  {-1, 0, 0}, {-1, -3.5, -3.5}, {kNaN, 9, 9},  {kNaN, -9, -9},
  };
  for (const Case& c : kCases) {
    double pos[AREA_AXES] = {11, 12, 13, 14, 15, c.x, c.y, 18};
    rig_.vek.ComputeArmCoupling(static_cast<int>(GetParam()), rig_.cfg, pos);
    EXPECT_EQ(pos[6], c.limited) << c.x << ", " << c.y;
    EXPECT_EQ(pos[0] + pos[1] + pos[2] + pos[3] + pos[4] + pos[7], 83);
  }
  SetCoupling(offsetof(CfgArm, BD67PP), {kNaN, 0, 0});
  double pos[AREA_AXES] = {0, 0, 0, 0, 0, 1, 1, 0};
  rig_.vek.ComputeArmCoupling(static_cast<int>(GetParam()), rig_.cfg, pos);
  EXPECT_EQ(pos[6], 1) << "a coefficient that is no number limits nothing";
}

TEST_P(ArmSet, AppliesTheCouplingToCommandsUnlessBit6IsSet) {
  SetCoupling(offsetof(CfgArm, BD67PP), {0, 0, 0.1});
  Rest();
  Command(0.5F);
  EXPECT_NEAR(Rest().pos[6], 0.1, 1e-12);
  shared::store(rig_.sys, Group().sys.soft_limit_disable, 0x40);
  Command(0.5F);
  EXPECT_NEAR(Rest().pos[6], 0.5, 1e-12);
}
