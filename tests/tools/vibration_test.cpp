// The simulated flexible tip: known solutions, and what the body's shaper leaves of its vibration.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/frames_csv.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/flexible_tip.h"
#include "tools/vekctl/stream_model.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr double kSpeed = 0.4;

// Rest, `samples` periods at kSpeed, rest.
std::vector<double> Stroke(int samples) {
  std::vector<double> axis(100, 1.0);
  for (int k = 0; k < samples; ++k) axis.push_back(axis.back() + kSpeed * kPeriod_s);
  axis.resize(axis.size() + 500, axis.back());
  return axis;
}

TEST(FlexibleTip, SwingsAsTheEquationSays) {
  const double swing = 2 * M_PI * 4;
  const struct {
    double damping;
    int samples;  // 250 are a period
    double residual;
  } cases[] = {
      {0, 250, 0},                   // the second jump of speed cancels the first …
      {0, 125, 2 * kSpeed / swing},  // … or doubles it
      {0, 375, 2 * kSpeed / swing},
      {0.2, 125, kSpeed / swing * (1 + std::exp(-M_PI * 0.2 / std::sqrt(1 - 0.04)))},
  };
  for (const auto& c : cases) {
    const TipMotion motion = SimulateTip(Stroke(c.samples), kPeriod_s, {4, c.damping});
    EXPECT_NEAR(motion.residual, c.residual, 1e-12) << c.damping << ' ' << c.samples;
    EXPECT_EQ(motion.end, 99U + static_cast<std::size_t>(c.samples));
    const double decay = swing * c.damping / std::sqrt(1 - c.damping * c.damping);
    for (int k = 0; k <= 120; k += 40) {
      const double t = k * kPeriod_s;
      EXPECT_NEAR(motion.deviation[static_cast<std::size_t>(99 + k)],
                  -kSpeed / swing * std::exp(-decay * t) * std::sin(swing * t), 1e-12);
    }
  }
  EXPECT_FALSE(SimulateTip(std::vector<double>(9, 1.0), kPeriod_s, {4, 0}).moves);
  EXPECT_FALSE(SimulateTip({}, kPeriod_s, {4, 0}).moves);
}

// A recording of the body's first axis under a joint command, its shaper set to some frequency.
std::string ShapedRecording(double shaper_hz) {
  const GroupRow& body = kGroups[3];
  auto config = ReadConfigImage(std::string(VEK_SOURCE_DIR) + "/config/robot.ini");
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISFrequency), shaper_hz);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISThreshold), 0.0);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISDamp), 0.02);
  const StreamSetup setup{.limits = ReadGroupLimits(config.data(), body),
                          .axes = 6,
                          .period_ms = 1,
                          .vel_percent = 20,
                          .acc_percent = 20,
                          .shaper = reinterpret_cast<const CfgConfig*>(config.data())};
  StreamModel model(setup, {});
  std::string text = FramesHeader({&body});
  for (int k = 0; k < 3000; ++k) {
    AppendFramesRow(text, kPeriod_s * k, {&model.frame()});
    model.OnStep({k < 400 ? 0.0 : 0.2});
  }
  return text;
}

TEST(Vibration, ATunedShaperLeavesLessThanATenthAndADetunedOneDoesNot) {
  const TempFile unshaped(ShapedRecording(0));
  const TempFile tuned(ShapedRecording(3));
  const TempFile detuned(ShapedRecording(5));
  VibrationOptions options;
  options.against = unshaped.path();
  options.frequency_hz = 3;
  options.damping = 0.02;
  options.below = 0.1;
  options.least = 0.001;
  options.frames = tuned.path();
  EXPECT_EQ(RunVibration(options), 0);
  options.frames = detuned.path();
  EXPECT_EQ(RunVibration(options), 1);
  options.frames = tuned.path();
  options.least = 1;
  EXPECT_EQ(RunVibration(options), 1) << "nothing to compare with";

  const auto message = [&] { return UsageMessage([&] { RunVibration(options); }); };
  options.axis = 7;
  EXPECT_EQ(message(), "status 1: " + tuned.path() + ": body axis 7 does not move");
  options.axis = 1;
  options.to_s = 0.9;
  EXPECT_EQ(message(), "status 1: " + tuned.path() + ": body axis 1 still moves at the end");
}

}  // namespace
