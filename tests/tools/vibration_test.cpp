// What the body's shaper leaves of a flexible tip's vibration.
#include <gtest/gtest.h>

#include "tests/tools/tool_files.h"
#include "tools/frames_csv.h"
#include "tools/vekctl/stream_model.h"

namespace {

constexpr double kPeriod_s = 0.001;

// A recording of the body's first axis under a joint command, its shaper set to some frequency.
std::string ShapedRecording(double shaper_hz) {
  const GroupRow& body = kGroups[3];
  auto config = ReadConfigImage(std::string(VEK_SOURCE_DIR) + "/config/robot.ini");
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISFrequency), shaper_hz);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISThreshold), 0.0);
  shared::store(config.data(), SHARED_FIELD(CfgConfig, body.ISDamp), 0.02);
  const auto* const cfg = reinterpret_cast<const CfgConfig*>(config.data());
  StreamModel model({ReadGroupLimits(config.data(), body), 6, 1, 20, 20, cfg}, {});
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
