// Tasks, their periods and what they do without privileges.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cfloat>
#include <csignal>
#include <string>
#include <vector>

#include "platform/rt_task.h"
#include "platform/standalone/task_period.h"
#include "tests/support/child_process.h"
#include "tests/support/log_lines.h"

namespace {

constexpr RTIME kMs = 1'000'000;
constexpr int kMode = T_FPU | T_CPU(1);

// Runs `body` in a task and waits until it has returned.
template <class Body>
void InTask(Body body, int mode = kMode) {
  RT_TASK task;
  struct Run {
    Body body;
    std::atomic<bool> done{false};
  } run{body};
  ASSERT_EQ(rt_task_create(&task, "TEST", 0, 95, mode), 0);
  const auto entry = [](void* cookie) {
    static_cast<Run*>(cookie)->body();
    static_cast<Run*>(cookie)->done = true;
  };
  ASSERT_EQ(rt_task_start(&task, entry, &run), 0);
  EXPECT_TRUE(WaitUntil([&] { return run.done.load(); }));
  EXPECT_EQ(rt_task_delete(&task), 0);
}

TEST(TaskPeriod, SkipsAndCountsMissedReleasesAndKeepsThePhase) {
  struct {
    RTIME late;
    unsigned long overruns;
    RTIME next;
  } const cases[] = {{0, 0, 1100}, {99, 0, 1100}, {100, 1, 1200}, {250, 2, 1300}};
  for (const auto& [late, overruns, next] : cases) {
    const real_time::Release release = real_time::take_release(1000 + late, 1000, 100);
    EXPECT_EQ(release.overruns, overruns) << late;
    EXPECT_EQ(release.next, next) << late;
  }
}

TEST(TaskPeriod, RecoversFromAStallOf200MsWithoutABurst) {
  RTIME clock = 5 * kMs;
  RTIME expected = clock + kMs;
  std::vector<unsigned long> overruns;
  for (int beat = 0; beat < 1000; ++beat) {
    clock = std::max(clock, expected);
    const real_time::Release release = real_time::take_release(clock, expected, kMs);
    expected = release.next;
    if (release.overruns > 0) overruns.push_back(release.overruns);
    EXPECT_GT(expected, clock);
    EXPECT_EQ(expected % kMs, 0U);
    clock += beat == 500 ? 200 * kMs + 300'000 : 300'000;  // what the work takes
  }
  EXPECT_EQ(overruns, std::vector<unsigned long>{199});
}

TEST(RtTask, AnswersMisuseWithItsResults) {
  unsigned long overruns = 77;
  const auto nothing = [](void*) {};
  RT_TASK task;
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(rt_task_start(&task, nothing, nullptr), -EIDRM);
  EXPECT_EQ(rt_task_create(&task, "T", 0, 100, 0), -EINVAL);
  EXPECT_EQ(rt_task_create(&task, "T", -1, 1, 0), -EINVAL);
  EXPECT_EQ(rt_task_create(nullptr, "T", 0, 1, 0), -EINVAL);
  EXPECT_EQ(rt_task_create(&task, "a name longer than the system takes", 0, 0, 0), 0);
  EXPECT_EQ(rt_task_create(&task, "T", 0, 0, 0), -EEXIST);
  EXPECT_EQ(rt_task_start(&task, nullptr, nullptr), -EINVAL);
  EXPECT_EQ(rt_task_start(&task, nothing, nullptr), 0);
  EXPECT_EQ(rt_task_start(&task, nothing, nullptr), -EBUSY);
  EXPECT_EQ(rt_task_set_periodic(&task, TM_NOW, kMs), -EPERM);
  EXPECT_EQ(rt_task_set_periodic(nullptr, TM_NOW, kMs), -EPERM);
  EXPECT_EQ(rt_task_wait_period(&overruns), -EPERM);
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(rt_task_start(&task, nothing, nullptr), -EIDRM);
  EXPECT_EQ(rt_task_create(&task, "never started", 0, 0, 0), 0);
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(overruns, 77U);
}

TEST(RtTask, NeverReleasesEarlyAndCountsEveryRelease) {
  InTask([] {
    unsigned long overruns = 0;
    EXPECT_EQ(rt_task_wait_period(&overruns), -EWOULDBLOCK);
    EXPECT_EQ(rt_task_set_periodic(nullptr, TM_NOW, 0), -EINVAL);
    const RTIME start = rt_timer_read();
    ASSERT_EQ(rt_task_set_periodic(nullptr, TM_NOW, kMs), 0);
    RTIME releases = 0;
    for (int cycle = 0; cycle < 50; ++cycle) {
      overruns = 0;
      const int result = rt_task_wait_period(&overruns);
      EXPECT_EQ(result, overruns > 0 ? -ETIMEDOUT : 0);
      releases += 1 + overruns;
      EXPECT_GE(rt_timer_read(), start + releases * kMs);
      if (cycle == 25) usleep(5000);
    }
    EXPECT_GT(releases, 50U) << "the pause made no overrun";
  });
}

TEST(RtTask, DeleteEndsATaskThatWaits) {
  RT_TASK task;
  std::atomic<int> result{1};
  ASSERT_EQ(rt_task_create(&task, "WAITS", 0, 95, kMode), 0);
  ASSERT_EQ(rt_task_set_periodic(&task, TM_NOW, 3600 * 1000 * kMs), 0);
  const auto wait = [](void* cookie) {
    auto& outcome = *static_cast<std::atomic<int>*>(cookie);
    outcome = 0;
    outcome = rt_task_wait_period(nullptr);
  };
  ASSERT_EQ(rt_task_start(&task, wait, &result), 0);
  EXPECT_TRUE(WaitUntil([&] { return result.load() == 0; }));
  EXPECT_EQ(rt_task_delete(&task), 0);
  EXPECT_EQ(result.load(), -EINTR);
  EXPECT_EQ(task.task, nullptr);
}

TEST(RtTask, PreparesItsThread) {
  volatile double smallest = DBL_MIN;  // volatile: computed when it runs
  InTask([&] {
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGINT), 1);
    EXPECT_EQ(smallest / 2, 0.0) << "denormal numbers are not flushed";
  });
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGINT), 0);
  EXPECT_GT(smallest / 2, 0.0) << "the main thread computes as ever";
}

TEST(RtTask, RunsOnTheProcessorsThatAreThere) {
  StartTestLog();
  cpu_set_t before;
  ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
  for (int cpu = 0; cpu < 8; ++cpu) {
    cpu_set_t expected = before;
    if (CPU_ISSET(cpu, &before)) {
      CPU_ZERO(&expected);
      CPU_SET(cpu, &expected);
    }
    cpu_set_t own;
    InTask([&own] { ASSERT_EQ(sched_getaffinity(0, sizeof own, &own), 0); }, T_CPU(cpu));
    EXPECT_TRUE(CPU_EQUAL(&own, &expected)) << cpu;
  }
  EXPECT_EQ(LogLines("not bound").size(), 0U);
}

TEST(RtTask, WarnsOnceForEachMissingPrivilege) {
  StartTestLog();
  for (const auto resource : {RLIMIT_RTPRIO, RLIMIT_MEMLOCK}) {
    rlimit limit{};
    getrlimit(resource, &limit);
    limit.rlim_cur = 0;
    setrlimit(resource, &limit);
  }
  const uid_t user = geteuid();
  ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
  int runs = 0;
  InTask([&] { ++runs; });
  ASSERT_TRUE(user != 0 || seteuid(0) == 0);
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(LogLines("TEST runs without real-time priority 95").size(), 1U);
  EXPECT_EQ(LogLines("/dev/cpu_dma_latency is not held").size(), 1U);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_EQ(LogLines("memory is not locked").size(), 1U);
#endif
  EXPECT_EQ(LogLines("WARN  platform: ").size(), LogLines().size());
  InTask([&] { ++runs; });
  EXPECT_LE(LogLines("not locked").size() + LogLines("not held").size(), 2U);
}

}  // namespace
