// The files that the tools read.
#include <gtest/gtest.h>

#include <limits>

#include "tests/tools/tool_files.h"
#include "tools/drusim/script.h"
#include "tools/frames_csv.h"
#include "tools/waypoints.h"

namespace {

const GroupRow& kArm1 = kGroups[1];
const GroupRow& kLift = kGroups[4];

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
                 {header + "0,-1" + row.substr(5) + "\n", ":2: '-1' is no stream flag"}});
  ExpectRefused(
      ReadScript,
      {{"0 quit\n\nsoon quit", ":3: 'soon' is no cycle from 0 to 2147483647"},
       {"1 state arm0", ":1: expected 'state GROUP NAME'"},
       {"1 stop head", ":1: group head plays no trajectories"},
       {"1 set cfgconfig 0 u8 1", ":1: no area cfgconfig: sysinfo, mac and udp can be set"},
       {"1 move lift 1", ":1: 1 joint positions, lift needs 2"},
       {"1 set udp 4093 u32 1", ":1: '4093' is no offset from 0 to 4092"},
       {"1 set udp 0 i16 -32769", ":1: '-32769' is no number from -32768 to 32767"},
       {"1 set udp 0 f32 1e39", ":1: '1e39' does not fit"}});
}

}  // namespace
