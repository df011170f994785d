// Tasks, their periods and what they do without privileges.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cfloat>
#include <csignal>
#include <functional>
#include <vector>

#include "platform/rt_task.h"
#include "platform/standalone/task_period.h"
#include "tests/support/child_process.h"
#include "tests/support/log_lines.h"

namespace {

constexpr RTIME kMs = 1'000'000;
using Body = std::function<void()>;

void Call(void* body) {
  (*static_cast<Body*>(body))();
}

// Runs `body` in a task until it has returned.
void InTask(int mode, const Body& body) {
  std::atomic<bool> done{false};
  Body run = [&] {
    body();
    done = true;
  };
  RT_TASK task;
  ASSERT_EQ(rt_task_create(&task, "TEST", 0, 95, mode), 0);
  ASSERT_EQ(rt_task_start(&task, Call, &run), 0);
  EXPECT_TRUE(WaitUntil([&] { return done.load(); }));
  EXPECT_EQ(rt_task_delete(&task), 0);
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

TEST(RtTask, NeverReleasesEarlyAndCountsEveryRelease) {
  InTask(T_FPU | T_CPU(1), [] {
    unsigned long overruns = 0;
    EXPECT_EQ(rt_task_wait_period(&overruns), -EWOULDBLOCK);
    const RTIME start = rt_timer_read();
    ASSERT_EQ(rt_task_set_periodic(nullptr, TM_NOW, kMs), 0);
    RTIME releases = 0;
    for (int cycle = 0; cycle < 50; ++cycle) {
      const int result = rt_task_wait_period(&overruns);
      EXPECT_EQ(result, overruns > 0 ? -ETIMEDOUT : 0);
      releases += 1 + overruns;
      EXPECT_GE(rt_timer_read(), start + releases * kMs);
      if (cycle == 25) usleep(5000);
    }
    EXPECT_GT(releases, 50U) << "the pause made no overrun";
  });
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

TEST(RtTask, PreparesItsThreadsAndWarnsOnceForEachMissingPrivilege) {
  StartTestLog();
  const rlimit none{};
  for (const auto resource : {RLIMIT_RTPRIO, RLIMIT_MEMLOCK}) setrlimit(resource, &none);
  const uid_t user = geteuid();
  ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
  const volatile double smallest = DBL_MIN;  // volatile: computed when it runs
  cpu_set_t there, own;
  ASSERT_EQ(sched_getaffinity(0, sizeof there, &there), 0);
  for (int cpu = 0; cpu < 8; ++cpu) {
    InTask(T_CPU(cpu), [&] {
      sigset_t blocked;
      pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
      EXPECT_EQ(sigismember(&blocked, SIGINT), 1);
      EXPECT_EQ(smallest / 2, 0.0) << "denormal numbers are not flushed";
      ASSERT_EQ(sched_getaffinity(0, sizeof own, &own), 0);
    });
    EXPECT_EQ(CPU_COUNT(&own), CPU_ISSET(cpu, &there) ? 1 : CPU_COUNT(&there));
    EXPECT_EQ(CPU_ISSET(cpu, &own), CPU_ISSET(cpu, &there));
  }
  ASSERT_TRUE(user != 0 || seteuid(0) == 0);
  EXPECT_EQ(LogLines("TEST runs without real-time priority 95").size(), 8U);
  EXPECT_EQ(LogLines("/dev/cpu_dma_latency is not held").size(), 1U);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_EQ(LogLines("memory is not locked").size(), 1U);
#endif
  EXPECT_EQ(LogLines("WARN  platform: ").size(), LogLines().size());
}

}  // namespace
