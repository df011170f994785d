// Tasks and their periods.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <vector>

#include "platform/rt_task.h"
#include "platform/standalone/task_period.h"
#include "tests/support/child_process.h"

namespace {

constexpr RTIME kMs = 1'000'000;
using Body = std::function<void()>;

void Call(void* body) {
  (*static_cast<Body*>(body))();
}

TEST(TaskPeriod, CountsAStallOf200MsAndKeepsThePhase) {
  RTIME clock = 5 * kMs;
  RTIME expected = clock + kMs;
  std::vector<unsigned long> overruns;
  for (int beat = 0; beat < 1000; ++beat) {
    clock = std::max(clock, expected);
    const real_time::Release release = real_time::take_release(clock, expected, kMs);
    expected = release.next;
    if (release.overruns > 0) overruns.push_back(release.overruns);
    EXPECT_TRUE(expected > clock && expected % kMs == 0);
    clock += beat == 500 ? 200 * kMs + 300'000 : 300'000;  // what the work takes
    clock += beat == 700 ? 1'700'000 : beat == 800 ? 1'699'999 : 0;
  }
  EXPECT_EQ(overruns, (std::vector<unsigned long>{199, 1}));
}

TEST(RtTask, DeleteEndsATaskThatWaitsAndMisuseIsRefused) {
  RT_TASK task;
  std::atomic<int> result{1};
  Body wait = [&] {
    result = 0;
    result = rt_task_wait_period(nullptr);
  };
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(rt_task_start(&task, Call, &wait), -EIDRM);
  EXPECT_EQ(rt_task_create(&task, "T", 0, 100, 0), -EINVAL);
  ASSERT_EQ(rt_task_create(&task, "a name longer than the system takes", 0, 95, 0), 0);
  EXPECT_EQ(rt_task_create(&task, "T", 0, 95, 0), -EEXIST);
  ASSERT_EQ(rt_task_set_periodic(&task, TM_NOW, 3600 * 1000 * kMs), 0);
  ASSERT_EQ(rt_task_start(&task, Call, &wait), 0);
  EXPECT_EQ(rt_task_start(&task, Call, &wait), -EBUSY);
  EXPECT_EQ(rt_task_wait_period(nullptr), -EPERM);
  EXPECT_TRUE(WaitUntil([&] { return result.load() == 0; }));
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(result.load(), -EINTR);
}

}  // namespace
