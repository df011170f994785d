#include "app/vek_task.h"

#include <gtest/gtest.h>

#include <tuple>

TEST(JudgeCycle, NamesWhoWasTooSlow) {
  constexpr std::int64_t kHuge = 18446744073709551;  // stamps out of order
  constexpr std::tuple<std::int64_t, std::int64_t, CycleVerdict> kCases[] = {
      {0, 0, CycleVerdict::Good},        {500, 800, CycleVerdict::Good},
      {501, 800, CycleVerdict::RunAway}, {600, 100, CycleVerdict::RunAway},
      {500, 801, CycleVerdict::Warning}, {600, 801, CycleVerdict::Warning},
      {0, 9999, CycleVerdict::Warning},  {9999, 9999, CycleVerdict::Warning},
      {0, 10000, CycleVerdict::RunAway}, {0, kHuge, CycleVerdict::RunAway},
      {kHuge, 0, CycleVerdict::RunAway}, {kHuge, 900, CycleVerdict::Warning},
  };
  for (const auto& [vek, dru, verdict] : kCases) {
    EXPECT_EQ(JudgeCycle(vek, dru), verdict) << vek << ", " << dru;
  }
}
