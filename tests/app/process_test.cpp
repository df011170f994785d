// The program as a whole, as a process of its own.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>

#include "platform/shared_memory.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"
#include "vek/groups.h"

namespace {

struct Controller {
  Controller() {
    root.MakeAreas();
    root.CopySampleIni();
    EXPECT_TRUE(map.OnOpen("/dev/ZQSysInfo", AREA_SYSINFO_SIZE));
  }
  template <class T>
  T Load(shared::Field<T> field) const {
    return shared::load(map.OnGetAddr(), field);
  }

  TempRoot root;
  KShm map;
};

constexpr auto kVersion = SHARED_FIELD(SysInfo, version_word);
constexpr auto kCycleStart = SHARED_FIELD(SysInfo, vek_cycle_start_ns);

}  // namespace

TEST(Process, RunsStampsItsCyclesAndEndsOnSigint) {
  Controller controller;
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  const auto cycle = [&] { return controller.Load(SHARED_FIELD(SysInfo, vek_cycle_end_ns)); };
  const std::uint64_t first = cycle();
  EXPECT_TRUE(WaitUntil([&] { return cycle() > first + 20'000'000; }));
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  EXPECT_EQ(vek.Stdout(), "VEK exit\n");
  const std::string log = vek.Stderr();
  EXPECT_EQ(Count(log, "error: -4"), 0) << "its end is no failed wait";
  const char* const order =
      "*INFO  Orlynd system version is 0x00040500\n*INFO  Load robot.ini success\n*INFO  VEK init "
      "finish\n*INFO  RTVEK: VekTask is working\n*INFO  RTVEK: RTVEK exit*";
  EXPECT_EQ(fnmatch(order, log.c_str(), 0), 0) << log;
}

TEST(Process, AStallCostsItsBeatsOnceAndInOneReport) {
  Controller controller;
  ChildProcess vek("vek");
  ASSERT_TRUE(WaitUntil([&] { return controller.Load(kCycleStart) != 0; }));
  vek.Signal(SIGSTOP);
  for (int k = 0; k < 200; ++k) PollPause();
  const std::uint64_t before = controller.Load(kCycleStart);
  vek.Signal(SIGCONT);
  EXPECT_TRUE(WaitUntil([&] { return controller.Load(kCycleStart) > before + 200'000'000; }));
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  const std::string log = vek.Stderr();
  const std::string report = ", overruns: ";
  long most = 0;
  for (std::size_t at = 0; (at = log.find(report, at)) != log.npos; at += report.size()) {
    most = std::max(most, std::atol(log.c_str() + at + report.size()));
  }
  EXPECT_GE(most, 150) << log;
}

TEST(Process, SigintAtAnyMomentEndsItCleanly) {
  Controller controller;
  for (int k = 0; k < 100; ++k) {
    SCOPED_TRACE(k);
    shared::store(controller.map.OnGetAddr(), kVersion, 0U);
    ChildProcess vek("vek");
    ASSERT_TRUE(WaitUntil([&] { return controller.Load(kVersion) == AREA_INTERFACE_VERSION; }));
    // From the first instruction after the version word to well inside the running loop.
    for (int pause = 0; pause < k / 2; ++pause) PollPause();
    vek.Signal(SIGINT);
    if (k % 3 == 0) vek.Signal(SIGINT);
    ASSERT_EQ(vek.Wait(), 0) << vek.Stderr();
    ASSERT_EQ(vek.Stdout(), "VEK exit\n");
  }
}

TEST(Process, SaysWhatIsMissingAndEnds) {
  const std::tuple<std::string, std::string, unsigned> cases[] = {
      {"/log", "Failed to init DebugLogSrv\nVEK exit\n", AREA_INTERFACE_VERSION},
      {"/dev/ZQCfgConfig", "Failed to map /dev/ZQCfgConfig\nVEK exit\n", AREA_INTERFACE_VERSION},
      {"/dev/ZQSysInfo", "Failed to map /dev/ZQSysInfo\nVEK exit\n", 0}};
  Controller controller;
  setenv("VEK_LOG", controller.root.Path("/log/file").c_str(), 1);  // its folder is missing
  for (const auto& [missing, printed, version] : cases) {
    controller.root.Remove(missing);
    shared::store(controller.map.OnGetAddr(), kVersion, 0U);
    ChildProcess vek("vek");
    EXPECT_EQ(vek.Wait(), 0);
    EXPECT_EQ(vek.Stdout(), printed);
    EXPECT_EQ(controller.Load(kVersion), version);
  }
}

TEST(Process, AFailedInitLeavesTheLoopRunning) {
  Controller controller;
  controller.root.Remove("/home/QUARLE/Tags");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("ERROR Failed to init Vek"));
  EXPECT_EQ(vek.Wait(0.1), -1) << "the loop serves on";
  EXPECT_EQ(controller.Load(kCycleStart), 0U) << "without a task";
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  EXPECT_EQ(vek.Stdout(), "Failed to init TrajBuf.shm\nVEK exit\n");
  EXPECT_EQ(Count(vek.Stderr(), "is running"), 0);
}

TEST(Process, WarnsOfASlowServoTaskEveryCycleAndOfARunAwayOnce) {
  Controller controller;
  const auto set_dru = [&](std::uint64_t us) {
    shared::store(controller.map.OnGetAddr(), SHARED_FIELD(SysInfo, dru_cycle_end_ns), us * 1000);
  };
  set_dru(10000);
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("DRU RT task is run away!"));
  set_dru(801);
  const auto warnings = [&] { return Count(vek.Stderr(), "WARN  Warning CycleTime: Vek = "); };
  ASSERT_TRUE(WaitUntil([&] { return warnings() > 5; }));
  set_dru(20000);
  for (int k = 0; k < 50; ++k) PollPause();
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  EXPECT_EQ(Count(vek.Stderr(), "ERROR Error CycleTime: Vek = "), 1);
  EXPECT_GT(Count(vek.Stderr(), ", Dru = 801"), 5);
}
