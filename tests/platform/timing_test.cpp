// What the real-time layer records about a task.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cstring>
#include <set>
#include <sstream>

#include "platform/standalone/timing_recorder.h"
#include "platform/task_timing.h"
#include "tests/support/child_process.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using task_timing::Record;

struct Timing : testing::Test {
  Timing() { root.MakeAreas(); }
  Record Read(const std::string& task) const {
    std::string file = root.Read("/var/" + task + ".timing");
    file.resize(sizeof(Record));
    Record record;
    std::memcpy(&record, file.data(), sizeof record);
    return record;
  }

  TempRoot root;
};

// Count, sum, last, min, max, its cycle; then the bins of all times, those beyond them as 1000.
std::string Say(const task_timing::Series& s) {
  std::ostringstream text;
  text << s.count << ' ' << s.sum << ' ' << s.last << ' ' << s.min << ' ' << s.max << " in "
       << s.max_cycle << ':';
  for (std::size_t k = 0; k <= task_timing::kBins; ++k) {
    const bool beyond = k == task_timing::kBins;
    for (std::uint64_t n = beyond ? s.overflow : s.bin[k]; n > 0; --n) text << ' ' << k;
  }
  return text.str();
}

TEST_F(Timing, KeepsWakeUpAndExecutionApartAndBeginsAnewWhenAsked) {
  constexpr RTIME kPeriod = 1'000'000;
  struct Cycle {
    RTIME latency, execution;
    bool waited;
    unsigned long overruns;
  };
  constexpr Cycle kCycles[] = {{5'000, 20'999, true, 0},        // 1
                               {3'999, 3'500'000, true, 0},     // 2: outlasts three periods
                               {2'500'000, 10'000, false, 2},   // 3, without 4 and 5
                               {999'999, 21'000, true, 0},      // 6
                               {1'000'000, 30'000, true, 1},    // 7, without 8
                               {4'000, kPeriod - 1, true, 0}};  // 9
  real_time::TimingRecorder recorder;
  recorder.Open("T");
  KShm reader;
  ASSERT_TRUE(reader.OnOpen("/var/T.timing", sizeof(Record)));
  Record r;
  for (const unsigned round : {0U, 1U}) {
    for (const Cycle& c : kCycles) {
      const RTIME release = 77;
      const RTIME now = release + c.latency;
      recorder.BeginCycle({kPeriod, release, now, c.waited, c.overruns});
      recorder.EndCycle(now + c.execution);
      recorder.EndCycle(now + 99 * kPeriod);  // of no cycle
    }
    ASSERT_TRUE(task_timing::ReadWhole(reader.OnGetAddr(), r));
    EXPECT_EQ(r.period, kPeriod);
    EXPECT_EQ(r.cycles, 9 + 9 * round);
    EXPECT_EQ(r.missed, 3U);
    EXPECT_EQ(r.late, 1U);
    EXPECT_EQ(r.resets_done, 41 * round);
    const std::string cycles[] = {round == 0 ? "7" : "16", round == 0 ? "2" : "11"};
    EXPECT_EQ(Say(r.wake_up), "5 2012998 4000 3999 1000000 in " + cycles[0] + ": 3 4 5 999 1000");
    EXPECT_EQ(Say(r.execution),
              "6 4581998 999999 10000 3500000 in " + cycles[1] + ": 10 20 21 30 999 1000");
    shared::store(reader.OnGetAddr(), SHARED_FIELD(Record, reset_request), 41);
    shared::store(reader.OnGetAddr(), SHARED_FIELD(Record, sequence), 7);  // by whomever
  }
  EXPECT_FALSE(task_timing::ReadWhole(reader.OnGetAddr(), r)) << "written to";
}

// Real-time priority, locked memory and whatever else root may.
bool DropPrivileges() {
  constexpr rlimit kNone{0, 0};
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3]{};
  constexpr sched_param kPriority{95};
  return setrlimit(RLIMIT_RTPRIO, &kNone) == 0 && setrlimit(RLIMIT_MEMLOCK, &kNone) == 0 &&
         syscall(SYS_capset, &header, none) == 0 &&
         sched_setscheduler(0, SCHED_FIFO, &kPriority) != 0;
}

TEST_F(Timing, ATaskWithoutPrivilegesWarnsOnceOfEachAndRunsOn) {
  if (!DropPrivileges()) GTEST_SKIP() << "this process cannot be without real-time priority";
  StartTestLog();
  std::atomic<bool> stalled{false};
  const auto body = [](void* flag) {
    rt_task_set_periodic(nullptr, TM_NOW, 1'000'000);
    while (rt_task_wait_period(nullptr) != -EINTR) {
      if (!static_cast<std::atomic<bool>*>(flag)->exchange(true)) usleep(50'000);
    }
  };
  RT_TASK task, other;
  ASSERT_EQ(rt_task_create(&task, "T", 0, 95, T_FPU | T_CPU(0)), 0);
  ASSERT_EQ(rt_task_start(&task, body, &stalled), 0);
  EXPECT_TRUE(WaitUntil([&] { return Read("T").execution.count > 20; }));
  EXPECT_EQ(Read("T").running, 1U);
  ASSERT_EQ(rt_task_create(&other, "U", 0, 95, 0), 0);
  EXPECT_EQ(rt_task_delete(&task) + rt_task_delete(&other), 0);

  const Record r = Read("T");
  EXPECT_EQ(r.running, 0U);
  EXPECT_GE(r.missed, 49U);
  EXPECT_GE(r.late, 1U);
  EXPECT_GE(r.execution.max, 50'000'000U);
  EXPECT_EQ(r.execution.count, r.wake_up.count + r.late);
  using task_timing::kMemoryNotLocked, task_timing::kNoPriority;
  EXPECT_EQ(r.lacks & (kNoPriority | kMemoryNotLocked), kNoPriority | kMemoryNotLocked);
  const std::vector<std::string> warnings = LogLines("WARN  platform: ");
  EXPECT_EQ(warnings.size(), static_cast<std::size_t>(std::popcount(r.lacks)));
  EXPECT_EQ(std::set(warnings.begin(), warnings.end()).size(), warnings.size());
  EXPECT_EQ(LogLines("platform: T runs without real-time priority 95").size(), 1U);
  EXPECT_EQ(LogLines("platform: memory is not locked: ").size(), 1U);
}

}  // namespace
