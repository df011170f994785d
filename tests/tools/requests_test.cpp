// What the tools ask of Vek, and what they read of its configuration.
#include <gtest/gtest.h>

#include "tests/tools/tool_files.h"
#include "tools/group_limits.h"
#include "tools/requests.h"

namespace {

const GroupRow& kArm1 = kGroups[1];

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
