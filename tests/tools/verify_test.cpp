// vekctl verify: a right recording passes; every way in which one can be wrong is found.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/area_view.h"
#include "tools/frames_csv.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/stream_model.h"

namespace {

const GroupRow& kArm1 = kGroups[1];
const std::string kEight = std::string(VEK_SOURCE_DIR) + "/config/motions/arm1_eight.csv";
constexpr const char* kLog =
    "RTVEK: rt_task_wait_period error: -110, error count: 1, overruns: 3\n"
    "INFO  Arm1: Run traj plan finish at {0.1}\n"
    "RTVEK: rt_task_wait_period error: -110, error count: 2, overruns: 4\n";

class Verify : public testing::Test {
 protected:
  Verify() {
    EXPECT_EQ(RunProgram("vekctl", {"init"}).status, 0);
    shared::store(AreaView(kMacArea).get(), kArm1.axes, 7);
    const auto image = ReadConfigImage(root_.Path("/home/QUARLE/Config/cfg/robot.ini"));
    const GroupLimits limits = ReadGroupLimits(image.data(), kArm1);
    StreamModel model(
        {.limits = limits, .axes = 7, .period_ms = 1, .vel_percent = 20, .acc_percent = 20}, {});
    // A hold, the run and another hold.
    for (int k = 0; k < 50; ++k, model.OnHold()) frames_.push_back(model.frame());
    model.OnFollow(true);
    for (const Axes& sample : RunCourse(ReadWaypoints(kEight, kArm1), kArm1, 7).targets) {
      frames_.push_back(model.frame());
      model.OnStep(sample);
    }
    model.OnFollow(false);
    for (int k = 0; k < 100; ++k, model.OnHold()) frames_.push_back(model.frame());
  }

  static std::string RecordingText(const std::vector<Frame>& frames) {
    std::string text = FramesHeader({&kArm1});
    for (std::size_t k = 0; k < frames.size(); ++k) {
      AppendFramesRow(text, 0.001 * static_cast<double>(k), {&frames[k]});
    }
    return text;
  }

  // The status of verify; what it prints is kept.
  int Check(const std::vector<Frame>& frames, const std::string& log = kLog) {
    const TempFile recording(RecordingText(frames));
    const TempFile log_file(log);
    VerifyOptions options;
    options.frames = recording.path();
    options.trajectories = {"arm1=" + kEight};
    options.log = log_file.path();
    testing::internal::CaptureStdout();
    const int status = RunVerify(options);
    report_ = testing::internal::GetCapturedStdout();
    return status;
  }
  bool Says(const char* words) const { return report_.find(words) != std::string::npos; }

  const TempRoot root_;
  std::vector<Frame> frames_;
  std::string report_;
};

TEST_F(Verify, ARightRecordingPassesUnlessALimitLiesBelowIt) {
  EXPECT_EQ(Check(frames_), 0);
  EXPECT_TRUE(Says("7191 samples begin at frame 51\n") && Says("vek missed periods 7\n"));
  EXPECT_FALSE(Says("FAILED")) << report_;
  shared::store(AreaView(kUdpArea).get(), kArm1.udp.vel_percent, 5.0F);
  EXPECT_EQ(Check(frames_), 1);
  EXPECT_TRUE(Says("arm1 FAILED: largest speed")) << report_;
}

TEST_F(Verify, AnyFaultFails) {
  using Frames = std::vector<Frame>;
  const struct {
    const char* fault;
    void (*make)(Frames& frames);
  } cases[] = {
      {"a frame lost while moving", [](Frames& f) { f.erase(f.begin() + 2000); }},
      {"a frame twice", [](Frames& f) { f.insert(f.begin() + 2000, f[2000]); }},
      {"two frames swapped", [](Frames& f) { std::swap(f[2000], f[2001]); }},
      {"a bit of a position", [](Frames& f) { f[2000].pos[6] *= 1 + 0x1p-52; }},
      {"a bit of a speed", [](Frames& f) { f[2000].vel[0] *= 1 + 0x1p-52; }},
      {"a bit of the third output", [](Frames& f) { f[60].dt_out[3] += 1e-9; }},
      {"the start frame lost", [](Frames& f) { f.erase(f.begin()); }},
      {"a second start frame", [](Frames& f) { f[3000].stream_flag = 0; }},
      {"the end not reached", [](Frames& f) { f.resize(f.size() - 140); }},
      {"no number", [](Frames& f) { f[2000].pos[2] = NAN; }},
  };
  for (const auto& c : cases) {
    Frames frames = frames_;
    c.make(frames);
    EXPECT_EQ(Check(frames), 1) << c.fault;
  }
  EXPECT_EQ(Check(frames_, "Arm0: Run traj plan finish at {0.1}\n"), 1) << "the other arm";
}

}  // namespace
