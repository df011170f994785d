// vekctl verify: a right recording passes; every way in which one can be wrong is found.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/area_view.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/path_match.h"
#include "tools/vekctl/stream_model.h"

namespace {

const GroupRow& kArm1 = kGroups[1];
constexpr float kPercent = 20;
constexpr const char* kLog =
    "2026-11-21 12:00:00.000001 WARN  RTVEK: rt_task_wait_period error: -110, error count: 1, "
    "overruns: 3\n"
    "2026-11-21 12:00:00.000002 INFO  Arm1: Run traj plan finish at {0.1}\n"
    "2026-11-21 12:00:00.000003 WARN  RTVEK: rt_task_wait_period error: -110, error count: 2, "
    "overruns: 4\n";

// Waypoints of a swing of all joints, from rest to rest.
std::string Swing() {
  std::string text;
  for (int k = 0; k <= 60; ++k) {
    const double x = (1 - std::cos(M_PI * k / 60)) / 2;
    for (int j = 0; j < 7; ++j) text += Text(j > 0 ? "," : "", 0.05 * (j + 1) * x * x);
    text += '\n';
  }
  return text;
}

class Verify : public testing::Test {
 protected:
  Verify() {
    root_.MakeAreas();
    root_.CopySampleIni();
    const AreaView mac(kMacArea);
    const AreaView udp(kUdpArea);
    shared::store(mac.get(), kArm1.axes, 7);
    shared::store(udp.get(), kArm1.udp.vel_percent, kPercent);
    shared::store(udp.get(), kArm1.udp.acc_percent, kPercent);
    const auto image = ReadConfigImage(root_.Path("/home/QUARLE/Config/cfg/robot.ini"));
    setup_ = {.limits = ReadGroupLimits(image.data(), kArm1),
              .axes = 7,
              .period_ms = 1,
              .vel_percent = kPercent,
              .acc_percent = kPercent};
    Produce();
  }

  // The frames of a hold, the run and another hold.
  void Produce() {
    StreamModel model(setup_, {});
    for (int k = 0; k < 50; ++k, model.OnHold()) frames_.push_back(model.frame());
    for (const Axes& sample : TrajectorySamples(ReadWaypoints(swing_.path(), kArm1), kArm1, 7)) {
      frames_.push_back(model.frame());
      model.OnStep(sample);
    }
    for (int k = 0; k < 100; ++k, model.OnHold()) frames_.push_back(model.frame());
  }

  int Check(const std::vector<Frame>& frames, const std::string& log = kLog) const {
    std::string text = FramesHeader({&kArm1});
    for (std::size_t k = 0; k < frames.size(); ++k) {
      AppendFramesRow(text, 0.001 * static_cast<double>(k), {&frames[k]});
    }
    const TempFile recording(text);
    const TempFile log_file(log);
    VerifyOptions options;
    options.frames = recording.path();
    options.trajectories = {"arm1=" + swing_.path()};
    options.log = log_file.path();
    return RunVerify(options);
  }

  const TempRoot root_;
  const TempFile swing_{Swing()};
  StreamSetup setup_;
  std::vector<Frame> frames_;
};

TEST_F(Verify, ARightRecordingPasses) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(Check(frames_), 0);
  const std::string report = testing::internal::GetCapturedStdout();
  EXPECT_NE(report.find("1211 samples begin at frame 51\n"), std::string::npos) << report;
  EXPECT_NE(report.find("vek missed periods 7\n"), std::string::npos) << report;
  EXPECT_EQ(report.find("FAILED"), std::string::npos) << report;
}

TEST_F(Verify, AnyFaultFails) {
  using Frames = std::vector<Frame>;
  const struct {
    const char* fault;
    void (*make)(Frames& frames);
  } cases[] = {
      {"a frame lost while moving", [](Frames& f) { f.erase(f.begin() + 700); }},
      {"a frame twice", [](Frames& f) { f.insert(f.begin() + 700, f[700]); }},
      {"two frames swapped", [](Frames& f) { std::swap(f[700], f[701]); }},
      {"one bit of a position",
       [](Frames& f) { f[700].pos[6] = std::nextafter(f[700].pos[6], 1.0); }},
      {"one bit of a speed", [](Frames& f) { f[700].vel[0] = std::nextafter(f[700].vel[0], 1.0); }},
      {"one bit of the third output", [](Frames& f) { f[60].dt_out[3] += 1e-9; }},
      {"the start frame lost", [](Frames& f) { f.erase(f.begin()); }},
      {"a second start frame", [](Frames& f) { f[900].stream_flag = 0; }},
      {"the end not reached", [](Frames& f) { f.resize(f.size() - 140); }},
      {"nothing played", [](Frames& f) { std::fill(f.begin() + 1, f.end(), f[1]); }},
      {"no number", [](Frames& f) { f[700].pos[2] = std::nan(""); }},
  };
  for (const auto& c : cases) {
    Frames frames = frames_;
    c.make(frames);
    EXPECT_EQ(Check(frames), 1) << c.fault;
  }
  EXPECT_EQ(Check(frames_, "INFO  Arm0: Run traj plan finish at {0.1}\n"), 1) << "the other arm";
}

TEST_F(Verify, ALimitBelowWhatWasPlayedFails) {
  const AreaView udp(kUdpArea);
  shared::store(udp.get(), kArm1.udp.vel_percent, 5.0F);
  testing::internal::CaptureStdout();
  EXPECT_EQ(Check(frames_), 1);
  const std::string report = testing::internal::GetCapturedStdout();
  EXPECT_NE(report.find("arm1 FAILED: largest speed"), std::string::npos) << report;
}

TEST_F(Verify, WaypointsAreFoundOnThePath) {
  const GroupRecording recording{
      .group = &kArm1, .time_s = std::vector<double>(frames_.size()), .frames = frames_};
  Waypoints waypoints = ReadWaypoints(swing_.path(), kArm1);
  waypoints.points[30].joint[4] += 0.01F;
  const auto matches = MatchWaypoints(recording, waypoints);
  ASSERT_EQ(matches.size(), 61U);
  for (std::size_t k = 0; k < matches.size(); ++k) {
    // Behind a waypoint's sample lie the mean of ten, the generator's braking distance and the mean
    // of thirty.
    const double lag = static_cast<double>(matches[k].frame) - 51 - 20.0 * static_cast<double>(k);
    EXPECT_GE(lag, -20) << k;
    EXPECT_LE(lag, 100) << k;
    EXPECT_NEAR(matches[k].distance, k == 30 ? 0.01 : 0, 0.008) << k;
  }
  EXPECT_GT(matches[30].distance, 0.004);
}

TEST_F(Verify, PlotDrawsBothFormats) {
  std::string text = FramesHeader({&kArm1});
  for (std::size_t k = 0; k < frames_.size(); ++k) {
    AppendFramesRow(text, 0.001 * static_cast<double>(k), {&frames_[k]});
  }
  const TempFile recording(text);
  const TempFile svg("", " it's.svg");
  const TempFile png("", ".png");
  ASSERT_EQ(RunPlot({recording.path(), svg.path(), {}, {"arm1=" + swing_.path()}}), 0);
  ASSERT_EQ(RunPlot({recording.path(), png.path(), {"arm1"}, {}}), 0);
  const std::string drawing = ReadFile(svg.path());
  for (const char* label : {"Arm1", "position (rad)", "rad/s²", "j7", "dots: one waypoint in 2"}) {
    EXPECT_NE(drawing.find(label), std::string::npos) << label;
  }
  EXPECT_EQ(ReadFile(png.path()).substr(0, 4), "\x89PNG");
}

}  // namespace
