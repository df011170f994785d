// All five groups at once, frame for frame what they were when somebody last looked at the figures.
//
// A change of the motion maths changes golden.txt on purpose. It is made anew by
//
//   build/tests/bin/golden_test | grep '^golden ' > tests/tools/golden.txt
//
// and to be judged by the figures, which git shows beside the old ones.
#include <algorithm>
#include <bit>
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
                                         : JointCommandLines(200, group, kHeadTarget);
  }
  return script;
}

// FNV-1a of all bits of all frames.
class Checksum {
 public:
  void Add(double value) { Add(std::bit_cast<std::uint64_t>(value)); }
  void Add(std::uint64_t bits) {
    for (int shift = 0; shift < 64; shift += 8) {
      sum_ = (sum_ ^ (bits >> shift & 0xff)) * 0x100000001b3;
    }
  }
  std::uint64_t sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xcbf29ce484222325;
};

std::string ChecksumOf(const std::vector<Frame>& frames) {
  Checksum checksum;
  for (const Frame& frame : frames) {
    checksum.Add(std::uint64_t{frame.stream_flag});
    for (const Axes* axes : {&frame.pos, &frame.vel, &frame.dt_out}) {
      for (const double value : *axes) checksum.Add(value);
    }
  }
  std::ostringstream text;
  text << std::hex << checksum.sum();
  return text.str();
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
  const GroupRow& group = *recording.group;
  double largest = 0;
  if (group.plays_trajectories()) {
    const Waypoints waypoints = ReadWaypoints(MotionOf(group), group);
    for (const auto& match : MatchWaypoints(recording, waypoints)) {
      largest = std::max(largest, match.distance);
    }
  } else {
    for (std::size_t j = 0; j < kHeadTarget.size(); ++j) {
      const double end = recording.frames.back().pos[j];
      largest = std::max(largest, std::fabs(end - static_cast<float>(kHeadTarget[j])));
    }
  }
  return largest;
}

// From the first frame that differs from the one before to the last.
double Duration_s(const std::vector<Frame>& frames) {
  const auto differ = [](const Frame& a, const Frame& b) { return a.pos != b.pos; };
  const auto first = std::adjacent_find(frames.begin(), frames.end(), differ);
  const auto last = std::adjacent_find(frames.rbegin(), frames.rend(), differ);
  return kPeriod_s * static_cast<double>(std::distance(first, last.base()) - 1);
}

struct Golden {
  std::string group, checksum;
  double speed = 0, acceleration = 0, deviation = 0, duration = 0;
};

Golden GoldenOf(const GroupRecording& recording) {
  const Motion motion = Differentiate(recording.frames, kPeriod_s);
  return {std::string(recording.group->key),
          ChecksumOf(recording.frames),
          Largest(motion.vel),
          Largest(motion.acc),
          Deviation(recording),
          Duration_s(recording.frames)};
}

void Print(const Golden& golden) {
  std::printf("golden %s %s %.9g %.9g %.9g %.9g\n", golden.group.c_str(), golden.checksum.c_str(),
              golden.speed, golden.acceleration, golden.deviation, golden.duration);
}

std::vector<Golden> ReadGolden() {
  std::ifstream file(VEK_SOURCE_DIR "/tests/tools/golden.txt");
  std::vector<Golden> rows;
  Golden row;
  for (std::string word; file >> word >> row.group >> row.checksum >> row.speed >>
                         row.acceleration >> row.deviation >> row.duration;) {
    rows.push_back(row);
  }
  return rows;
}

void ExpectSame(const Golden& actual, const Golden& golden) {
  SCOPED_TRACE(actual.group);
  EXPECT_EQ(actual.group, golden.group);
  EXPECT_EQ(actual.checksum, golden.checksum);
  EXPECT_NEAR(actual.speed, golden.speed, kTolerance * golden.speed);
  EXPECT_NEAR(actual.acceleration, golden.acceleration, kTolerance * golden.acceleration);
  EXPECT_NEAR(actual.deviation, golden.deviation, kTolerance * golden.deviation);
  EXPECT_NEAR(actual.duration, golden.duration, kTolerance * golden.duration);
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
  const auto golden = ReadGolden();
  for (std::size_t k = 0; k < recordings.size(); ++k) {
    const Golden actual = GoldenOf(recordings[k]);
    Print(actual);
    ExpectSame(actual, k < golden.size() ? golden[k] : Golden{});
  }
}

}  // namespace
