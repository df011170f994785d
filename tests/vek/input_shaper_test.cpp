#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

constexpr const GroupRow& kBody = kGroups[3];

class Shaper : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(rig_.Init()); }
  void Configure(double frequency, double threshold, double damp) {
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISFrequency), frequency);
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISThreshold), threshold);
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISDamp), damp);
  }
  void Enter() { rig_.Enter(kBody); }
  // Positions of axis 6 in the next `count` frames of a run that starts now.
  std::vector<double> Run(std::size_t count) {
    rig_.LoadWaypoints(kBody, 60);
    rig_.SetTrajState(kBody, TRAJ_START);
    std::vector<double> positions;
    for (const Frame& frame : rig_.Play(kBody, static_cast<int>(count) / 3 + 2)) {
      positions.push_back(frame.pos[5]);
    }
    positions.resize(count);
    return positions;
  }

  // The position after an entry's or a configuration's first frames.
  double PositionAfter(int cycles) {
    while (cycles-- > 0) rig_.Cycle();
    return rig_.TakeFrames(kBody).back().pos[5];
  }

  VekRig rig_;
};

}  // namespace

TEST_F(Shaper, BlendsFromTheFrameOnThatFillsTheDelay) {
  Enter();
  const std::vector<double> plain = Run(500);
  constexpr struct {
    double frequency, threshold, damp;
    std::size_t delay;
  } kCases[] = {{10, 0.2, 0.1, 100}, {3, 1, 0, 333}, {7.5, -1, 0.5, 133}};
  for (const auto& c : kCases) {
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

TEST_F(Shaper, SwitchedOnBeforeItWasEverArmedItGivesZero) {
  Configure(0, 0, 0);
  rig_.SetJointPos(kBody, std::vector<double>(8, 0.3));
  Enter();
  EXPECT_EQ(PositionAfter(2), 0.3);
  Configure(10, 0, 0);
  EXPECT_EQ(PositionAfter(1), 0.0);
  Configure(0, 0, 0);
  EXPECT_EQ(PositionAfter(1), 0.3) << "off at once";
  Configure(10, 0, 0);
  Enter();  // arms it
  EXPECT_EQ(PositionAfter(2), 0.3);
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
