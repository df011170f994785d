// All five groups at once, frame for frame what they were when somebody last looked at the figures.
//
// A change of the motion maths changes golden.txt on purpose. It is made anew by
//
//   build/tests/bin/golden_test | grep '^golden ' > tests/tools/golden.txt
//
// and to be judged by the figures, which git shows beside the old ones.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "tests/tools/played_script.h"
#include "tools/frames_csv.h"
#include "tools/vekctl/path_match.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr double kTolerance = 1e-3;  // of a figure, to either side
const std::vector<double> kHeadTarget{0.6, -0.35, 0.25};

std::string MotionOf(const GroupRow& group) {
  constexpr const char* kFiles[] = {"arm0_wave", "arm1_eight", "", "body_bow", "lift_rise"};
  return Text(VEK_SOURCE_DIR "/config/motions/", kFiles[group.index], ".csv");
}

// Arm1 may move at 5 % alone, less than its motion asks for.
std::string Script() {
  std::string script =
      Text("10000 quit\n0 set udp ", kGroups[1].udp.vel_percent.offset, " f32 5\n");
  for (const GroupRow& group : kGroups) {
    script += Text("0 state ", group.key, " POSITION\n");
    script += group.plays_trajectories() ? Text("200 traj ", group.key, ' ', MotionOf(group), '\n')
                                         : Text("200 move ", group.key, ' ', kHeadTarget[0], ',',
                                                kHeadTarget[1], ',', kHeadTarget[2], '\n');
  }
  return script;
}

// FNV-1a of all frames as they are recorded: a text that reads back as the same numbers.
std::string ChecksumOf(const std::vector<Frame>& frames) {
  std::string text;
  for (const Frame& frame : frames) AppendFramesRow(text, 0, {&frame});
  std::uint64_t sum = 0xcbf29ce484222325;
  for (const unsigned char c : text) sum = (sum ^ c) * 0x100000001b3;
  std::ostringstream out;
  out << std::hex << sum;
  return out.str();
}

double Largest(const std::vector<Axes>& values) {
  double largest = 0;
  for (const Axes& axes : values) {
    for (const double value : axes) largest = std::max(largest, std::fabs(value));
  }
  return largest;
}

// How far a run passes its waypoints, or a joint command ends from its target.
double Deviation(const GroupRecording& recording) {
  double largest = 0;
  if (recording.group->plays_trajectories()) {
    const Waypoints waypoints = ReadWaypoints(MotionOf(*recording.group), *recording.group);
    for (const auto& match : MatchWaypoints(recording, waypoints)) {
      largest = std::max(largest, match.distance);
    }
  }
  for (std::size_t j = 0; j < kHeadTarget.size() && !recording.group->plays_trajectories(); ++j) {
    const double end = recording.frames.back().pos[j];
    largest = std::max(largest, std::fabs(end - static_cast<float>(kHeadTarget[j])));
  }
  return largest;
}

// From the first step to the last.
double Duration_s(const std::vector<Frame>& frames) {
  const auto differ = [](const Frame& a, const Frame& b) { return a.pos != b.pos; };
  const auto first = std::adjacent_find(frames.begin(), frames.end(), differ);
  const auto last = std::adjacent_find(frames.rbegin(), frames.rend(), differ);
  return kPeriod_s * static_cast<double>(std::distance(first, last.base()) - 1);
}

struct Golden {
  std::string group, checksum;
  std::array<double, 4> figures{};  // largest speed and acceleration, deviation, duration
};

Golden GoldenOf(const GroupRecording& recording) {
  const Motion motion = Differentiate(recording.frames, kPeriod_s);
  return {std::string(recording.group->key),
          ChecksumOf(recording.frames),
          {Largest(motion.vel), Largest(motion.acc), Deviation(recording),
           Duration_s(recording.frames)}};
}

std::vector<Golden> ReadGolden() {
  std::vector<Golden> rows;
  ForEachLine(ReadFile(VEK_SOURCE_DIR "/tests/tools/golden.txt"), [&](std::string_view line, int) {
    const auto words = Words(line);
    if (words.size() != 7) return;
    rows.push_back({std::string(words[1]), std::string(words[2]), {}});
    for (std::size_t k = 0; k < 4; ++k) {
      rows.back().figures[k] = ParseDouble(words[3 + k]).value_or(NAN);
    }
  });
  return rows;
}

TEST(Golden, FiveGroupsMoveAsTheyDidByteForByte) {
  std::vector<Played> runs;
  for (const Starts starts : {Starts::VekFirst, Starts::DrusimFirst}) {
    const TempRoot root;
    ASSERT_EQ(RunProgram("vekctl", {"init"}).status, 0);
    runs.push_back(PlayScript(root, Script(), {}, starts));
  }
  EXPECT_TRUE(runs[0].frames == runs[1].frames);
  EXPECT_EQ(runs[0].log, runs[1].log);
  EXPECT_EQ(runs[0].summary, runs[1].summary);

  const TempFile frames(runs[0].frames);
  const auto recordings = ReadFrames(frames.path());
  ASSERT_EQ(recordings.size(), std::size_t{kGroupCount});
  std::vector<Golden> golden = ReadGolden();
  EXPECT_EQ(golden.size(), recordings.size());
  golden.resize(recordings.size());
  for (std::size_t k = 0; k < recordings.size(); ++k) {
    const auto [group, checksum, figures] = GoldenOf(recordings[k]);
    std::printf("golden %s %s %.9g %.9g %.9g %.9g\n", group.c_str(), checksum.c_str(), figures[0],
                figures[1], figures[2], figures[3]);
    EXPECT_EQ(group + checksum, golden[k].group + golden[k].checksum);
    for (std::size_t n = 0; n < figures.size(); ++n) {
      const double expected = golden[k].figures[n];
      EXPECT_NEAR(figures[n], expected, kTolerance * expected) << group << ", figure " << n;
    }
  }
}

}  // namespace
