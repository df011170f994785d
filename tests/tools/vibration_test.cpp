// The simulated flexible tip: known solutions, and what the body's shaper leaves of its vibration.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/tools/tool_files.h"
#include "tools/frames_csv.h"
#include "tools/vekctl/flexible_tip.h"
#include "tools/vekctl/stream_model.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr double kSpeed = 0.4;

TEST(FlexibleTip, SwingsAsTheEquationSays) {
  const double swing = 2 * M_PI * 4;
  const struct {
    double damping;
    int samples;  // 250 are a period
    double residual;
  } cases[] = {
      {0, 250, 0},                   // the second jump of speed cancels the first …
      {0, 125, 2 * kSpeed / swing},  // … or doubles it
      {0.2, 125, kSpeed / swing * (1 + std::exp(-M_PI * 0.2 / std::sqrt(1 - 0.04)))},
  };
  for (const auto& c : cases) {
    std::vector<double> axis(100, 1.0);  // rest, a stroke at kSpeed, rest
    for (int k = 0; k < c.samples; ++k) axis.push_back(axis.back() + kSpeed * kPeriod_s);
    axis.resize(axis.size() + 500, axis.back());
    const TipMotion motion = SimulateTip(axis, kPeriod_s, {4, c.damping});
    EXPECT_NEAR(motion.residual, c.residual, 1e-12) << c.damping << ' ' << c.samples;
    EXPECT_EQ(motion.end, 99U + static_cast<std::size_t>(c.samples));
  }
  EXPECT_FALSE(SimulateTip({}, kPeriod_s, {4, 0}).moves);
}

// A recording of the body's first axis under a joint command, its shaper set to some frequency.
std::string ShapedRecording(double shaper_hz) {
  const GroupRow& body = kGroups[3];
  auto config = ReadConfigImage(std::string(VEK_SOURCE_DIR) + "/config/robot.ini");
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISFrequency), shaper_hz);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISThreshold), 0.0);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISDamp), 0.02);
  const StreamSetup setup{ReadGroupLimits(config.data(), body),
                          6,
                          1,
                          20,
                          20,
                          reinterpret_cast<const CfgConfig*>(config.data())};
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
  const auto status = [&](const TempFile& frames, const std::string& least) {
    return RunProgram("vekctl",
                      {"vibration", frames.path(), "--against", unshaped.path(), "--frequency=3",
                       "--damping=0.02", "--below=0.1", "--least=" + least})
        .status;
  };
  EXPECT_EQ(status(tuned, "0.001"), 0);
  EXPECT_EQ(status(detuned, "0.001"), 1);
  EXPECT_EQ(status(tuned, "1"), 1) << "nothing to compare with";
}

}  // namespace
