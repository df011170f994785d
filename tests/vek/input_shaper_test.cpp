#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

const GroupRow& Body() {
  return kGroups[3];
}

class Shaper : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(rig_.Init()); }
  void Configure(double frequency, double threshold, double damp) {
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISFrequency), frequency);
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISThreshold), threshold);
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISDamp), damp);
  }
  void Enter() { rig_.Enter(Body()); }
  // Positions of axis 6 in the next `count` frames of a run that starts now.
  std::vector<double> Run(std::size_t count) {
    rig_.LoadWaypoints(Body(), 60);
    rig_.SetTrajState(Body(), TRAJ_START);
    std::vector<double> positions;
    for (const Frame& frame : rig_.Play(Body(), static_cast<int>(count) / 3 + 2)) {
      positions.push_back(frame.pos[5]);
    }
    positions.resize(count);
    return positions;
  }

  VekRig rig_;
};

}  // namespace

TEST_F(Shaper, BlendsFromTheFrameOnThatFillsTheDelay) {
  Enter();
  const std::vector<double> plain = Run(500);
  struct Case {
    double frequency, threshold, damp;
    std::size_t delay;
  };
  constexpr Case kCases[] = {{10, 0.2, 0.1, 100}, {3, 1, 0, 333}, {7.5, -1, 0.5, 133}};
  for (const Case& c : kCases) {
    Configure(c.frequency, c.threshold, c.damp);
    Enter();
    const std::vector<double> shaped = Run(500);
    const double k = std::exp(-c.damp * 3.141592653589793 / std::sqrt(1 - c.damp * c.damp));
    const double a0 = (c.threshold + 1) / (2 * (k + 1));
    const double a1 = (1 - c.threshold) * 0.5;
    const double a2 = k * a0;
    // Frame 0 is the start frame: it is neither shaped nor kept.
    for (std::size_t f = 0; f < plain.size(); ++f) {
      if (f < c.delay) {
        ASSERT_EQ(shaped[f], plain[f]) << f;
      } else {
        const double oldest = plain[f - (c.delay - 1)];
        const double middle = plain[f - (c.delay - 1) + 1 + c.delay / 2];
        ASSERT_NEAR(shaped[f], a0 * plain[f] + a1 * middle + a2 * oldest, 1e-12) << f;
      }
    }
  }
}

TEST_F(Shaper, FollowsTheFrequencyWhileStreaming) {
  Enter();
  const std::vector<double> plain = Run(500);
  Configure(10, 0, 0);
  Enter();
  rig_.SetTrajState(Body(), TRAJ_START);
  std::vector<double> switched;
  std::size_t off = 0, on = 0;
  for (int cycle = 0; cycle < 150; ++cycle) {
    if (cycle == 70) off = switched.size();
    if (cycle == 120) on = switched.size();
    if (cycle == 70 || cycle == 120) Configure(cycle == 70 ? 0 : 10, 0, 0);
    for (const Frame& frame : rig_.Play(Body(), 1)) switched.push_back(frame.pos[5]);
  }
  for (std::size_t f = off; f < on; ++f) ASSERT_EQ(switched[f], plain[f]) << "off at once";
  // On again, at once and with the frames of the time before.
  const double blended = plain[on] / 4 + plain[off - 48] / 2 + plain[off - 99] / 4;
  EXPECT_NEAR(switched[on], blended, 1e-12);
}

TEST_F(Shaper, SwitchedOnBeforeItWasEverArmedItGivesZero) {
  Configure(0, 0, 0);
  rig_.SetJointPos(Body(), std::vector<double>(8, 0.3));
  Enter();
  rig_.Cycle();
  rig_.Cycle();
  EXPECT_EQ(rig_.TakeFrames(Body()).back().pos[5], 0.3);
  Configure(10, 0, 0);
  rig_.Cycle();
  EXPECT_EQ(rig_.TakeFrames(Body()).back().pos[5], 0.0);
  // The next entry arms it.
  Enter();
  rig_.Cycle();
  rig_.Cycle();
  EXPECT_EQ(rig_.TakeFrames(Body()).back().pos[5], 0.3);
}

TEST_F(Shaper, UnusableConfigurationsNeverReachAFrame) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kRows[][3] = {{kNaN, 0, 0},   {1e-300, 0, 0}, {-5, 0, 0},    {2, 0, 0},
                                 {10, kNaN, 0},  {10, 0, kNaN},  {10, 0, 1},    {10, 0, 7},
                                 {10, 1e300, 0}, {1e300, 0, 0},  {10, 0, -1e9}, {-1e-300, 0, 0}};
  for (const auto& row : kRows) {
    Configure(row[0], row[1], row[2]);
    Enter();
    for (const double q : Run(1500)) ASSERT_TRUE(std::isfinite(q)) << row[0];
    LogLines();  // makes room: every frame may log
  }
  for (const char* text : {"EI write acb faile", "EI peek acb_T/2 faile"}) {
    EXPECT_FALSE(LogLines(std::string("INFO  Body: OnProcessPosCtrl: ") + text).empty()) << text;
  }
}
