// The files that the tools read and the trajectory byte that they write.
#include <gtest/gtest.h>

#include <limits>

#include "tests/tools/tool_files.h"
#include "tools/drusim/script.h"
#include "tools/frames_csv.h"
#include "tools/group_limits.h"
#include "tools/requests.h"
#include "tools/waypoints.h"

namespace {

const GroupRow& kArm1 = kGroups[1];
const GroupRow& kLift = kGroups[4];

TEST(WaypointFile, TakesHeaderBlanksAndAnyLineEnd) {
  const TempFile file("j1, j2\r\n0,1\r\n\n 2 ,3\r\n4,5\n6,7\n-8e-1,9");
  const Waypoints waypoints = ReadWaypoints(file.path(), kLift);
  ASSERT_EQ(waypoints.points.size(), 5U);
  EXPECT_EQ(waypoints.points[1].joint[0], 2);
  EXPECT_EQ(waypoints.points[1].line, 4);
  EXPECT_EQ(waypoints.points[4].joint[0], -0.8F);
}

TEST(WaypointFile, JointLimitsAndSpeedsAreCheckedByAxisAndLine) {
  const TempFile file(Ramp(5, 7) + "0,0,0,0,0,0,0.5\n");
  const Waypoints waypoints = ReadWaypoints(file.path(), kArm1);
  GroupLimits limits{};
  limits.dof = 7;
  limits.pos_min.fill(-1);
  limits.pos_max.fill(0.5);
  EXPECT_EQ(UsageMessage([&] { CheckJointLimits(waypoints, kArm1, limits); }), "no failure");
  limits.pos_max[6] = 0.25;
  EXPECT_EQ(UsageMessage([&] { CheckJointLimits(waypoints, kArm1, limits); }),
            file.path() + ":6: joint 7 at 0.5 is outside its limits -1 to 0.25");

  limits.vel_max.fill(120);  // joint 7 moves by 0.496 in 20 ms at the end
  EXPECT_TRUE(SpeedWarnings(waypoints, kArm1, limits, 21).empty());
  const auto warnings = SpeedWarnings(waypoints, kArm1, limits, 20);
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].rfind(file.path() + ":6: joint 7 would have to move at 24.8", 0), 0U);
}

TEST(Recording, ReadsBackBitForBit) {
  Frame frame{.stream_flag = 1, .pos = {}, .vel = {}, .dt_out = {}};
  frame.pos = {0.1, -0.0, 1.0 / 3, 1e-310, 1e300, 1 + 0x1p-52, -2.5, 7};
  frame.dt_out[7] = std::numeric_limits<double>::infinity();
  std::string text = FramesHeader({&kArm1, &kLift});
  AppendFramesRow(text, 0.001, {&frame, nullptr});
  AppendFramesRow(text, 0.002, {nullptr, &frame});
  AppendFramesRow(text, 0.003, {&frame, &frame});
  const TempFile file(text);
  const auto recordings = ReadFrames(file.path());
  ASSERT_EQ(recordings.size(), 2U);
  EXPECT_EQ(recordings[0].group, &kArm1);
  EXPECT_EQ(recordings[0].time_s, (std::vector<double>{0.001, 0.003}));
  EXPECT_EQ(recordings[1].time_s, (std::vector<double>{0.002, 0.003}));
  for (const auto& recording : recordings) {
    for (const Frame& read : recording.frames) EXPECT_TRUE(SameFrame(read, frame));
  }
}

TEST(Script, IsReadInTheOrderOfItsCycles) {
  const TempFile waypoints(Ramp(5, 7));
  const TempFile file(
      "# nothing\n200 quit\n\n 10 state body TORQUE # now\n10\tbrake head on\n"
      "5 set udp 2381 f64 inf\n7 traj arm1 " +
      waypoints.path() + "\n");
  const auto lines = ReadScript(file.path());
  ASSERT_EQ(lines.size(), 5U);
  const auto& set = std::get<SetAction>(lines[0].action);
  EXPECT_EQ(set.offset, 2381U);
  EXPECT_EQ(set.bytes, (std::vector<unsigned char>{0, 0, 0, 0, 0, 0, 0xf0, 0x7f}));
  EXPECT_EQ(std::get<TrajAction>(lines[1].action).waypoints.points.size(), 5U);
  const auto& state = std::get<StateAction>(lines[2].action);
  EXPECT_EQ(state.group, &kGroups[3]);
  EXPECT_EQ(state.state, GROUP_STATE_TORQUE);
  EXPECT_TRUE(std::get<BrakeAction>(lines[3].action).on);
  EXPECT_EQ(lines[4].cycle, 200);
  EXPECT_EQ(lines[4].where, file.path() + ":2");
}

using Cases = std::vector<std::pair<std::string, std::string>>;  // content, message

void ExpectRefused(const std::function<void(const std::string&)>& read, const Cases& cases) {
  for (const auto& [content, message] : cases) {
    const TempFile file(content);
    EXPECT_EQ(UsageMessage([&] { read(file.path()); }), file.path() + message);
  }
}

TEST(WrongFile, IsRefusedByItsNameAndLine) {
  ExpectRefused([](const std::string& file) { ReadWaypoints(file, kLift); },
                {{"", ": 0 waypoints, 5 to 5000 can be played"},
                 {Ramp(5001, 2), ": 5001 waypoints, 5 to 5000 can be played"},
                 {"a,b\nc,d\n", ":2: 'c' is no number"},
                 {"0,1\n0,1,2\n", ":2: 3 numbers, lift needs 2"},
                 {"0,1\n0,\n", ":2: '' is no number"},
                 {"0,nan\n", ":1: 'nan' is not finite"},
                 {"0,1e39\n", ":1: '1e39' is not finite"}});
  const std::string header = FramesHeader({&kLift});
  std::string row = "0.5,1";
  for (int k = 0; k < 24; ++k) row += ",0";
  ExpectRefused(ReadFrames,
                {{"", ": is empty"},
                 {"x" + header, ":1: is no header row of recorded frames"},
                 {header + row.substr(4) + "\n", ":2: 25 cells, the header has 26"},
                 {header + row + "\n" + row + ",0\n", ":3: 27 cells, the header has 26"},
                 {header + "x" + row + "\n", ":2: 'x0.5' is no time"},
                 {header + row + "x\n", ":2: '0x' is no number"},
                 {header + "0,-1" + row.substr(5) + "\n", ":2: '-1' is no stream flag"}});
  ExpectRefused(
      ReadScript,
      {{"0 quit\n\nsoon quit", ":3: 'soon' is no cycle from 0 to 2147483647"},
       {"1", ":1: an action is missing"},
       {"1 state arm0", ":1: state takes 2 arguments, not 1"},
       {"1 stop head", ":1: group head plays no trajectories"},
       {"1 traj arm0 /no.csv", ":1: /no.csv: cannot be read"},
       {"1 set cfgconfig 0 u8 1", ":1: no area cfgconfig: sysinfo, mac and udp can be set"},
       {"1 set udp 4093 u32 1", ":1: '4093' is no offset from 0 to 4092"},
       {"1 set udp 0 i16 -32769", ":1: '-32769' is no number from -32768 to 32767"},
       {"1 set udp 0 f32 1e39", ":1: '1e39' does not fit"}});
}

TEST(Requests, OnlyTheTrajectoryByteThatAllowsItIsChanged) {
  const struct {
    std::uint8_t byte, after_start, after_stop;
  } cases[] = {{0, 3, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 9},
               {4, 4, 9}, {8, 8, 9}, {9, 9, 9}, {255, 255, 255}};
  constexpr std::size_t kByte = 2671;
  for (const auto& c : cases) {
    std::vector<unsigned char> udp(AREA_UDP_SIZE);
    udp[kByte] = c.byte;
    EXPECT_EQ(StartTrajectory(udp.data(), kArm1), c.byte != c.after_start) << int{c.byte};
    EXPECT_EQ(udp[kByte], c.after_start) << int{c.byte};
    udp[kByte] = c.byte;
    EXPECT_EQ(StopTrajectory(udp.data(), kArm1), c.byte != c.after_stop) << int{c.byte};
    EXPECT_EQ(udp[kByte], c.after_stop) << int{c.byte};
  }
}

TEST(ConfigImage, NamesWhatIsMissing) {
  std::string text = ReadFile(std::string(VEK_SOURCE_DIR) + "/config/robot.ini");
  text.erase(text.find("VelMax", text.find("[R.A1.L3.BASIC]")), 6);
  const TempFile broken(text);
  EXPECT_EQ(UsageMessage([&] { ReadConfigImage(broken.path()); }),
            "status 1: " + broken.path() + ": [R.A1.L3.BASIC] lacks VelMax");
}

}  // namespace
