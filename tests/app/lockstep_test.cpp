// Vek in simulated time. The test itself is the servo task: nothing happens between its ticks.
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include "platform/shared_memory.h"
#include "platform/simulated_time.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"
#include "vek/groups.h"

namespace {

constexpr RTIME kMs = 1'000'000;
constexpr auto kVersion = SHARED_FIELD(SysInfo, version_word);

class Lockstep : public testing::Test {
 protected:
  Lockstep() {
    root_.MakeAreas();
    root_.CopySampleIni();
    setenv("VEK_CLOCK", "lockstep", 1);
    setenv("TZ", "XYZ-05:30", 1);
    EXPECT_TRUE(sys_.OnOpen("/dev/ZQSysInfo", AREA_SYSINFO_SIZE));
  }

  RTIME Stamp(shared::Field<std::uint64_t> field) const {
    return shared::load(sys_.OnGetAddr(), field);
  }
  RTIME CycleStart() const { return Stamp(SHARED_FIELD(SysInfo, vek_cycle_start_ns)); }

  void Tick() { simulated_time::sleep_until(rt_timer_read() + kMs, stop_); }
  void ExpectStep() {
    Tick();
    EXPECT_EQ(CycleStart(), rt_timer_read());
  }
  void Interrupt(ChildProcess& vek) const {
    vek.Signal(SIGINT);
    EXPECT_EQ(vek.Wait(), 0);
    EXPECT_EQ(vek.Stdout(), "VEK exit\n");
  }

  TempRoot root_;
  KShm sys_;
  std::atomic<bool> stop_{false};
};

TEST_F(Lockstep, AStallOf200MsCosts199BeatsAndNoMore) {
  KShm mac;
  KShm udp;
  KShm vek2dru;
  ASSERT_TRUE(mac.OnOpen("/dev/ZQMac", AREA_MAC_SIZE));
  ASSERT_TRUE(udp.OnOpen("/dev/ZQUdp", AREA_UDP_SIZE));
  ASSERT_TRUE(vek2dru.OnOpen("/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE));
  const GroupRow& arm1 = kGroups[1];
  KACBReader ring;
  ASSERT_TRUE(ring.OnAttach(static_cast<char*>(vek2dru.OnGetAddr()) + arm1.ring, AREA_RING_SIZE));
  ChildProcess vek("vek");
  ASSERT_TRUE(simulated_time::join_as_servo(stop_));
  shared::store(mac.OnGetAddr(), arm1.axes, 7);
  shared::store(sys_.OnGetAddr(), arm1.sys.group_state, GROUP_STATE_POSITION);

  long stored = 0;
  long most = 0;
  for (RTIME tick = 1; tick <= 1000; ++tick) {
    Tick();
    ASSERT_EQ(rt_timer_read(), tick * kMs);
    const bool stalled = tick > 500 && tick < 700;
    ASSERT_EQ(CycleStart(), stalled ? 500 * kMs : tick * kMs);
    ASSERT_EQ(Stamp(SHARED_FIELD(SysInfo, vek_cycle_end_ns)), CycleStart());
    most = std::max(most, ring.OnGetStoreLength() - stored);
    PvtFrame frame;
    EXPECT_EQ(ring.OnRead(&frame, sizeof frame), tick < 510 || !stalled) << tick;
    stored = ring.OnGetStoreLength();
    if (tick == 500) simulated_time::hold_controller(200 * kMs);
  }
  EXPECT_EQ(most, 3L * AREA_FRAME_SIZE);
  simulated_time::leave();
  Interrupt(vek);
  const std::string log = vek.Stderr();
  EXPECT_EQ(Count(log,
                  "2026-01-01 05:30:00.700000 WARN  RTVEK: rt_task_wait_period error: -110, "
                  "error count: 1, overruns: 199\n"),
            1)
      << log;
  EXPECT_EQ(Count(log, "WARN"), 1) << log;
}

TEST_F(Lockstep, TimeStandsStillWhileVekIsMissingAndGoesOnWithTheNext) {
  root_.Write("/var/lockstep", std::string(2000, '\x03'));  // of a run that was killed
  std::optional<ChildProcess> vek("vek");
  ASSERT_TRUE(simulated_time::join_as_servo(stop_));
  EXPECT_EQ(rt_timer_read(), 0U);
  for (int k = 0; k < 5; ++k) ExpectStep();
  vek->Signal(SIGKILL);
  EXPECT_EQ(vek->Wait(), 1000 + SIGKILL);

  std::thread stopper([this] {
    for (int k = 0; k < 50; ++k) PollPause();
    stop_ = true;
  });
  Tick();
  stopper.join();
  EXPECT_EQ(rt_timer_read(), 6 * kMs) << "the tick of Vek that never came";

  stop_ = false;
  vek.emplace("vek");
  for (int k = 0; k < 5; ++k) ExpectStep();
  ChildProcess second("vek");
  EXPECT_TRUE(second.WaitForText("Vek is running..."));
  const std::string warning = "platform: time is real: /var/lockstep: another process plays this";
  EXPECT_EQ(Count(second.Stderr(), warning), 1) << second.Stderr();
  Interrupt(second);
  simulated_time::leave();
  Interrupt(*vek);
}

TEST_F(Lockstep, SigintEndsVekWhetherTimeGoesOnOrNot) {
  for (int k = 0; k < 20; ++k) {
    shared::store(sys_.OnGetAddr(), kVersion, 0U);
    ChildProcess vek("vek");
    std::thread operator_thread([&] {
      WaitUntil([&] { return shared::load(sys_.OnGetAddr(), kVersion) != 0; });
      for (int pause = 0; pause < 2 * k; ++pause) PollPause();
      Interrupt(vek);
      stop_ = true;
    });
    if (k >= 10) simulated_time::join_as_servo(stop_);
    while (k >= 10 && !stop_) Tick();
    operator_thread.join();
    EXPECT_EQ(Count(vek.Stderr(), "error"), 0) << vek.Stderr();
    stop_ = false;
  }
}

}  // namespace
