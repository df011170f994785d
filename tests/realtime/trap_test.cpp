#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <mutex>

#include "platform/debug_log.h"
#include "platform/standalone/timing_recorder.h"
#include "platform/task_timing.h"
#include "tests/realtime/trap.h"
#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kStates[] = {0, 1, 2, 3, 100, 101, 102, 103, 109, 50, -1};

class Trapped : public testing::Test {
 protected:
  void SetUp() override {
    if (!PrepareTrap()) GTEST_SKIP() << "the kernel has no Syscall User Dispatch";
    std::timespec now;
    if (!Caught([&] { clock_gettime(CLOCK_REALTIME, &now); }).empty()) {
      GTEST_SKIP() << "reading this machine's clock is a system call";
    }
  }
};

// A rig whose cycles are trapped.
class TrappedCycle : public Trapped {
 protected:
  void SetUp() override {
    Trapped::SetUp();
    if (IsSkipped()) return;
    ASSERT_TRUE(rig_.Init());
    for (const GroupRow& group : kGroups) {
      if (group.plays_trajectories()) rig_.LoadWaypoints(group, 12);
      shared::store(rig_.udp, group.udp.joint_cmd_enable, 1);
      shared::store(rig_.udp, group.udp.vel_enable, 1);
      shared::store(rig_.udp, group.udp.acc_enable, 1);
    }
  }

  void Cycle(int count = 1) {
    while (count-- > 0) ASSERT_EQ(Caught([this] { rig_.Cycle(); }), "");
  }
  // Cycles with a servo task that takes whatever is there.
  void Stream(int count) {
    while (count-- > 0) {
      ASSERT_NO_FATAL_FAILURE(Cycle());
      for (const GroupRow& group : kGroups) rig_.TakeFrames(group);
    }
  }
  void SetStates(int state) {
    for (const GroupRow& group : kGroups) rig_.SetState(group, state);
  }
  void SetRuns(int state) {
    for (const GroupRow& group : kGroups) {
      if (group.plays_trajectories()) rig_.SetTrajState(group, state);
    }
  }
  // Enters POSITION with the body's shaper set to a frequency.
  void Enter(double frequency_hz) {
    SetStates(GROUP_STATE_IDLE);
    Stream(1);
    shared::store(rig_.cfg, SHARED_FIELD(CfgConfig, body.ISFrequency), frequency_hz);
    SetStates(GROUP_STATE_POSITION);
  }
  // Joint commands and percents for all groups.
  void Command(float q, float percent) {
    for (const GroupRow& group : kGroups) {
      for (std::size_t j = 0; j < group.udp.joint_cmd_axes; ++j) {
        shared::store(rig_.udp, group.udp.joint_cmd, q, j);
      }
      shared::store(rig_.udp, group.udp.vel_percent, percent);
      shared::store(rig_.udp, group.udp.acc_percent, percent);
      for (const auto fresh : {group.udp.joint_cmd_new, group.udp.vel_new, group.udp.acc_new}) {
        shared::store(rig_.udp, fresh, 1);
      }
    }
  }

  VekRig rig_;
};

}  // namespace

TEST_F(Trapped, TheTrapCatchesHeapLocksAndSystemCalls) {
  void* volatile block = std::malloc(8);
  std::mutex mutex;
  const std::pair<std::function<void()>, std::string> kCases[] = {
      {[] {}, ""},
      {[&] { block = std::realloc(block, 16); }, "realloc"},
      {[&] { std::free(block); }, "free"},
      {[&] { block = std::malloc(8); }, "malloc"},
      {[&] { block = std::calloc(1, 8); }, "calloc"},
      {[&] { block = operator new(8); }, "malloc"},
      {[&] { block = operator new (64, std::align_val_t{64}); }, "aligned_alloc"},
      {[&] { mutex.lock(); }, "pthread_mutex_lock"},
      {[] { getppid(); }, std::string("system call ") + std::to_string(SYS_getppid)},
      {[] { usleep(1); }, std::string("system call ") + std::to_string(SYS_clock_nanosleep)},
  };
  for (const auto& [work, caught] : kCases) EXPECT_EQ(Caught(work), caught);
}

TEST_F(TrappedCycle, EveryTransitionOfEveryGroup) {
  for (const int from : kStates) {
    for (const int to : kStates) {
      const bool still = (from + to) % 2 == 0;
      for (const GroupRow& group : kGroups) {
        shared::store(rig_.sys, group.sys.standstill, still ? 1 : 0);
        shared::store(rig_.sys, group.sys.brake_unlock, from == GROUP_STATE_RELEASE ? 4 : 0);
        shared::store(rig_.udp, group.udp.state_cmd, static_cast<std::uint16_t>(to));
      }
      SetStates(from);
      Command(0.3F, 30);
      ASSERT_NO_FATAL_FAILURE(Stream(3));
      SetStates(to);
      ASSERT_NO_FATAL_FAILURE(Cycle(6));  // fills a ring
    }
    LogLines();  // makes room in the log's queue
  }
  for (const GroupRow& group : kGroups) {
    const std::string name = group.name;
    EXPECT_FALSE(LogLines(name + ": OnProcessPosCtrl: go to sub state 1").empty());
    const bool judged = group.request_check != RequestCheck::None;
    EXPECT_NE(LogLines(name + ": Failed to transfer to POSITION, some axes's").empty(), judged);
    const bool full = group.request_check == RequestCheck::BrakeAndMotion;
    EXPECT_NE(LogLines(name + ": Failed to transfer to POSITION, robot is").empty(), full);
  }
}

TEST_F(TrappedCycle, RunsThatEndStopAbortAndFail) {
  struct Case {
    double shaper_hz;  // 10: a delay of 100 frames; 2.5: more than its ring holds; 1000: none
    int start, later;  // trajectory-run state at first and after 30 cycles; 0: none
    int cycles;
  };
  constexpr int kCommand = -1;  // a joint command in its place
  constexpr Case kCases[] = {{0, TRAJ_NEXT_POINT, 0, 10},    {0, TRAJ_END, 0, 10},
                             {0, TRAJ_PLAY_MID, 127, 10},    {0, TRAJ_START, 0, 150},
                             {10, TRAJ_START, 0, 150},       {10, TRAJ_START, TRAJ_STOP, 60},
                             {2.5, TRAJ_START, 0, 150},      {10, TRAJ_START, TRAJ_START, 60},
                             {10, TRAJ_START, kCommand, 60}, {1000, TRAJ_START, 0, 20}};
  for (const Case& c : kCases) {
    Enter(c.shaper_hz);
    Stream(2);
    SetRuns(c.start);
    ASSERT_NO_FATAL_FAILURE(Stream(30));
    if (c.later > 0) SetRuns(c.later);
    if (c.later == kCommand) Command(0.1F, 50);
    ASSERT_NO_FATAL_FAILURE(Cycle(10));  // nobody takes frames
    ASSERT_NO_FATAL_FAILURE(Stream(c.cycles));
    LogLines();  // makes room in the log's queue
  }
  for (const GroupRow& group : kGroups) {
    for (const char* text :
         {": Run traj plan finish at {", ": Run traj plan stop at {",
          ": Failed to plan traj mid, OnCutPoint(P", ": Failed to plan traj end, OnCutStop(P"}) {
      EXPECT_NE(LogLines(std::string(group.name) + text).empty(), group.plays_trajectories())
          << group.name << text;
    }
    EXPECT_NE(LogLines(std::string(group.name) + ": UDP_ARM").empty(), group.is_arm);
  }
  EXPECT_FALSE(LogLines("Body: OnProcessPosCtrl: EI write acb faile").empty());
  EXPECT_FALSE(LogLines("Body: OnProcessPosCtrl: EI peek acb_T/2 faile").empty());
}

TEST_F(TrappedCycle, GarbageInTheAreas) {
  Enter(10);
  SetRuns(TRAJ_START);
  ASSERT_NO_FATAL_FAILURE(Stream(5));
  for (const GroupRow& group : kGroups) {
    rig_.SetJointPos(group, {kNaN});
    shared::store(rig_.cfg, group.cfg.vel_max, kNaN);
    shared::store(rig_.vek2dru, shared::Field<int>{group.ring}, -1);
    if (group.plays_trajectories()) shared::store(rig_.trajbuf, group.traj.next_point, -1);
  }
  Command(kNaN, kNaN);
  ASSERT_NO_FATAL_FAILURE(Stream(60));
  Enter(kNaN);
  ASSERT_NO_FATAL_FAILURE(Stream(10));
  EXPECT_FALSE(LogLines("Lift: Failed to set start position").empty());
}

TEST_F(TrappedCycle, ALogThatOutrunsItsWriter) {
  ASSERT_EQ(Caught([] {
              for (int k = 0; k < 20000; ++k) g_log_clt.WARN_LOG("%s %d", "flood", k);
            }),
            "");
  EXPECT_FALSE(LogLines("messages lost").empty());
}

TEST_F(Trapped, ATimingRecordAndItsReset) {
  const TempRoot root;
  root.MakeAreas();
  real_time::TimingRecorder recorder;
  recorder.Open("T");
  KShm file;
  ASSERT_TRUE(file.OnOpen("/var/T.timing", sizeof(task_timing::Record)));
  shared::store(file.OnGetAddr(), SHARED_FIELD(task_timing::Record, reset_request), 1);
  EXPECT_EQ(Caught([&] {
              recorder.BeginCycle({1'000'000, 0, 5'000, true, 0});
              recorder.EndCycle(9'000'000);
            }),
            "");
  EXPECT_EQ(shared::load(file.OnGetAddr(), SHARED_FIELD(task_timing::Record, resets_done)), 1U);
}
