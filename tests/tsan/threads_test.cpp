// Everything that runs at the same time, over the same areas: the plain loop, the real-time task,
// the servo task, a front end, a client of the mailbox, the log's drain and the recorder. A race
// between any two makes the test fail, whatever it asserts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <thread>

#include "app/vek_task.h"
#include "platform/rt_task.h"
#include "platform/task_timing.h"
#include "tests/support/child_process.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"
#include "tools/drusim/simulation.h"
#include "tools/gpio_levels.h"
#include "tools/mailbox.h"
#include "tools/requests.h"
#include "vek/operation_table.h"
#include "vek/vek.h"

namespace {

// What a UDP front end does, in every group.
class FrontEnd {
 public:
  void Run() {
    ReachAll(GROUP_STATE_POSITION);
    for (const GroupRow& group : kGroups) {
      SendPercent(udp_.get(), group, SetValue::Speed, 100);
      SendPercent(udp_.get(), group, SetValue::Acceleration, 100);
    }
    StartRuns();
    AwaitAll([this](const GroupRow& g) {
      return !g.plays_trajectories() || TrajState(udp_, g) == TRAJ_IDLE;
    });
    for (const GroupRow& group : kGroups) SendJointCommand(udp_.get(), group, {0.05F});
    AwaitAll([this](const GroupRow& g) { return DistanceFrom(sys_, g, {0.05}, 1) < kArrived; });
    StartRuns();
    for (const GroupRow& group : kGroups) StopTrajectory(udp_.get(), group);
    for (const int state : {GROUP_STATE_TORQUE, GROUP_STATE_RELEASE, GROUP_STATE_IDLE}) {
      ReachAll(state);
    }
  }

 private:
  template <class Condition>
  void AwaitAll(Condition condition) {
    for (const GroupRow& group : kGroups) {
      EXPECT_TRUE(WaitUntil([&] { return condition(group); })) << group.name;
    }
  }
  // Asks again and again: a moving group or a brake held unlocked may be in the way for a while.
  void ReachAll(int state) {
    AwaitAll([&](const GroupRow& group) {
      RequestState(udp_.get(), group, state);
      return GroupState(sys_, group) == state;
    });
  }
  void StartRuns() {
    for (const GroupRow& group : kGroups) {
      if (!group.plays_trajectories()) continue;
      Waypoints waypoints;
      for (int k = 0; k < 20; ++k) {
        const auto q = static_cast<float>(0.01 * (1 - std::cos(0.3 * k)));
        waypoints.points.push_back({.joint = {q, q}});
      }
      WriteTrajectory(trajbuf_.get(), group, waypoints);
      EXPECT_TRUE(StartTrajectory(udp_.get(), group)) << group.name;
    }
  }

  AreaView sys_{kSysInfoArea}, udp_{kUdpArea}, trajbuf_{kTrajBufArea};
};

// Every operation but the reboot, which would only wait.
void AskForEverything() {
  Mailbox mailbox;
  for (const Operation& operation : AllOperations()) {
    const OperationKind kind = operation.row->kind;
    if (kind == OperationKind::Reboot) continue;
    const std::string text = kind == OperationKind::SetTime ? "2026-11-21 12:00:00"
                             : kind == OperationKind::SetIp ? "192.168.0.2"
                                                            : "R.A1.L0.BASIC.VelMax";
    EXPECT_TRUE(mailbox.Ask({operation.Code(), text, 1, 0.5F}, 30).status) << operation.Command();
    if (kind != OperationKind::BrakeUnlock) continue;
    // It would keep the front end from POSITION. The code before locks the brake again.
    EXPECT_EQ(mailbox.Ask({operation.Code() - 1, "", 1, 0}, 30).status, OP_DONE);
  }
}

// Reads the task's timing and begins it anew, again and again.
void WatchTiming(const std::atomic<bool>& stop) {
  KShm file;
  EXPECT_TRUE(file.OnOpen("/var/RTVEK.timing", sizeof(task_timing::Record)));
  task_timing::Record record{};
  for (std::uint32_t request = 1; !stop; ++request) {
    EXPECT_TRUE(WaitUntil([&] { return task_timing::ReadWhole(file.OnGetAddr(), record); }));
    shared::store_release(file.OnGetAddr(), SHARED_FIELD(task_timing::Record, reset_request),
                          request);
    for (int k = 0; k < 100; ++k) PollPause();
  }
  EXPECT_GT(record.resets_done, 0U);
}

// A root with everything that the plain loop watches.
struct Root : TempRoot {
  Root() {
    MakeAreas();
    CopySampleIni();
    const std::string path = "/home/QUARLE/Config/cfg/robot.ini";
    std::string ini = Read(path);
    for (const std::string key : {"\nGyroType=", "\nUseEMG="}) {
      ini.replace(ini.find(key) + key.size(), 1, "1");
    }
    Write(path, ini);
  }
};

// Passes of the plain loop, with the stop input set in some.
void RunLoop(Vek& vek, const std::atomic<int>& clients) {
  for (int pass = 0; clients > 0; ++pass) {
    PollPause();
    SetGpioLevel(6, pass % 1000 == 0 ? 1 : 0);
    vek.OnProcessGpio();
    vek.OnProcessGyro();
    vek.OnProcessOp();
    vek.OnProcessSystemTime();
  }
}

TEST(Threads, ShareVekAndTheAreasWithoutARace) {
  const Root root;
  StartTestLog();
  SimulationOptions options;
  options.record = root.Path("/frames.csv");
  options.robot.gyro = true;
  for (const GroupRow& group : kGroups) options.record_groups.push_back(&group);
  Simulation servo_task(options);
  std::atomic<bool> stop{false};
  std::thread dru([&] { EXPECT_TRUE(servo_task.Run(stop)); });

  KShm sys, cfg;
  EXPECT_TRUE(sys.OnOpen("/dev/ZQSysInfo", AREA_SYSINFO_SIZE));
  EXPECT_TRUE(cfg.OnOpen("/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE));
  g_sysinfo_ptr = static_cast<SysInfo*>(sys.OnGetAddr());
  g_cfg_ptr = static_cast<CfgConfig*>(cfg.OnGetAddr());
  Vek vek;
  EXPECT_TRUE(vek.OnInit(g_sysinfo_ptr, g_cfg_ptr));
  RT_TASK task;
  EXPECT_EQ(rt_task_create(&task, "RTVEK", 0, 95, T_FPU | T_CPU(1)), 0);
  EXPECT_EQ(rt_task_start(&task, VekTask, &vek), 0);

  std::atomic<int> clients{2};
  std::thread front([&] { FrontEnd().Run(), --clients; });
  std::thread mailbox([&] { AskForEverything(), --clients; });
  std::thread watch([&] { WatchTiming(stop); });
  RunLoop(vek, clients);
  g_exit = true;
  EXPECT_EQ(rt_task_delete(&task), 0);
  stop = true;
  for (std::thread* thread : {&front, &mailbox, &watch, &dru}) thread->join();

  for (const std::string group : {"Arm0", "Arm1", "Body", "Lift"}) {
    EXPECT_FALSE(LogLines(group + ": Run traj plan finish at {").empty()) << group;
    EXPECT_FALSE(LogLines(group + ": Run traj plan stop at {").empty()) << group;
  }
  EXPECT_EQ(LogLines("RTVEK: RTVEK exit").size(), 1U);
}

// Lest the test above has nothing to find, because an area is mapped twice.
TEST(Threads, APlainAccessIsARace) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto race = [] {
    const Root root;
    const AreaView one(kUdpArea), other(kUdpArea);
    std::thread plain([&] { *static_cast<volatile unsigned char*>(one.get()) = 1; });
    std::thread proper([&] { shared::store<std::uint8_t>(other.get(), 2); });
    plain.join();
    proper.join();
    std::exit(0);
  };
  EXPECT_EXIT(race(), testing::ExitedWithCode(66), "ThreadSanitizer: data race");
}

}  // namespace
