// The program as a whole, as a process of its own.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "platform/host.h"
#include "platform/rt_task.h"
#include "platform/shared_memory.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"
#include "vek/groups.h"

namespace {

int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

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
  std::size_t at = 0;
  for (const char* text :
       {"INFO  Orlynd system version is 0x00040500", "INFO  Load robot.ini success",
        "INFO  VEK init finish", "INFO  RTVEK: VekTask is working", "INFO  RTVEK: RTVEK exit"}) {
    at = log.find(text, at);
    EXPECT_NE(at, std::string::npos) << text << " in its place in\n" << log;
  }
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
  struct Case {
    const char* missing;
    const char* printed;
    unsigned version;
  };
  constexpr Case kCases[] = {
      {"/dev/ZQSysInfo", "Failed to map /dev/ZQSysInfo\nVEK exit\n", 0},
      {"/dev/ZQCfgConfig", "Failed to map /dev/ZQCfgConfig\nVEK exit\n", AREA_INTERFACE_VERSION},
  };
  Controller controller;
  for (const Case& c : kCases) {
    const std::string path = controller.root.Path(c.missing);
    ASSERT_EQ(std::rename(path.c_str(), (path + ".away").c_str()), 0);
    ChildProcess vek("vek");
    EXPECT_EQ(vek.Wait(), 0);
    EXPECT_EQ(vek.Stdout(), c.printed);
    EXPECT_EQ(controller.Load(kVersion), c.version);
    ASSERT_EQ(std::rename((path + ".away").c_str(), path.c_str()), 0);
  }
}

TEST(Process, ALogThatCannotBeOpenedEndsIt) {
  Controller controller;
  setenv("VEK_LOG", controller.root.Path("/dev").c_str(), 1);
  ChildProcess vek("vek");
  EXPECT_EQ(vek.Wait(), 0);
  EXPECT_EQ(vek.Stdout(), "Failed to init DebugLogSrv\nVEK exit\n");
}

TEST(Process, AFailedInitLeavesTheLoopRunning) {
  Controller controller;
  controller.root.Remove("/home/QUARLE/Tags");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("ERROR Failed to init Vek"));
  EXPECT_EQ(vek.Wait(0.1), -1) << "the loop serves on";
  EXPECT_EQ(controller.Load(SHARED_FIELD(SysInfo, vek_cycle_start_ns)), 0U) << "without a task";
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
  ASSERT_TRUE(
      WaitUntil([&] { return Count(vek.Stderr(), "WARN  Warning CycleTime: Vek = ") > 5; }));
  set_dru(20000);
  for (int k = 0; k < 50; ++k) PollPause();
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  EXPECT_EQ(Count(vek.Stderr(), "ERROR Error CycleTime: Vek = "), 1);
  EXPECT_GT(Count(vek.Stderr(), ", Dru = 801"), 5);
}
