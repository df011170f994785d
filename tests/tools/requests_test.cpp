// What the tools write for Vek, byte for byte, and what they read of its configuration.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/tools/tool_files.h"
#include "tools/group_limits.h"
#include "tools/requests.h"

namespace {

const GroupRow& kArm1 = kGroups[1];

template <class Word>
Word At(const std::vector<unsigned char>& area, std::size_t offset) {
  Word word{};
  std::memcpy(&word, area.data() + offset, sizeof word);
  return word;
}

TEST(Requests, ATrajectoryLiesInItsGroupsBlock) {
  std::vector<unsigned char> trajbuf(AREA_TRAJBUF_SIZE, 0xff);
  const TempFile file(Ramp(6, 2));
  WriteTrajectory(trajbuf.data(), kGroups[4], ReadWaypoints(file.path(), kGroups[4]));
  constexpr std::size_t kLift = 4 * 140116;
  EXPECT_EQ(At<std::int32_t>(trajbuf, kLift), 6);
  EXPECT_EQ(At<std::int32_t>(trajbuf, kLift + 12), 0);
  EXPECT_EQ(At<float>(trajbuf, kLift + 116 + 28 * 5 + 4), 0.005F);
  EXPECT_EQ(At<float>(trajbuf, kLift + 116 + 28 * 5 + 8), 0.0F);
  EXPECT_EQ(At<std::uint32_t>(trajbuf, kLift + 116 + 28 * 6), 0xffffffffU) << "beyond the last";
  EXPECT_EQ(At<std::uint32_t>(trajbuf, kLift - 4), 0xffffffffU) << "another group's";
}

TEST(Requests, OnlyTheTrajectoryByteThatAllowsItIsChanged) {
  const struct {
    std::uint8_t byte;
    std::uint8_t after_start;
    std::uint8_t after_stop;
  } cases[] = {{0, 3, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 9}, {4, 4, 9},    {5, 5, 9},
               {6, 6, 9}, {7, 7, 9}, {8, 8, 9}, {9, 9, 9}, {10, 10, 10}, {255, 255, 255}};
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

TEST(ConfigImage, HoldsTheLimitsOfTheSampleAndNamesWhatIsMissing) {
  const std::string sample = std::string(VEK_SOURCE_DIR) + "/config/robot.ini";
  const auto image = ReadConfigImage(sample);
  const std::size_t dof[] = {7, 7, 3, 6, 2};
  for (const GroupRow& group : kGroups) {
    const GroupLimits limits = ReadGroupLimits(image.data(), group);
    EXPECT_EQ(limits.dof, dof[group.index]) << group.key;
    for (std::size_t j = 0; j < limits.dof; ++j) {
      EXPECT_LT(limits.pos_min[j], limits.pos_max[j]) << group.key << j;
      EXPECT_GT(limits.vel_max[j], 0) << group.key << j;
      EXPECT_GT(limits.acc_max[j], limits.vel_max[j]) << group.key << j;
    }
  }
  std::string text = ReadFile(sample);
  const std::size_t section = text.find("[R.A1.L3.BASIC]");
  text.erase(text.find("VelMax", section), 6);
  const TempFile broken(text);
  try {
    ReadConfigImage(broken.path());
    ADD_FAILURE() << "a missing key went unnoticed";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.what(), broken.path() + ": [R.A1.L3.BASIC] lacks VelMax");
  }
}

}  // namespace
