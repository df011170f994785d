#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

#include "tests/support/gyro_frames.h"
#include "tests/vek/vek_rig.h"

namespace {

using Requests = std::vector<int>;
using Lines = std::vector<std::string>;

const Requests kNone(5, 0), kStopped = {101, 101, 101, 101, 0}, kFrozen(5, 115);
const std::string kStopLine = "WARN  [user 21]", kFrozenLine = "ERROR [user 6]";

// A controller with stop input and gyro; the test is the sensor at the other end of a pty.
struct PeripheralRig : VekRig {
  PeripheralRig() {
    grantpt(line);
    unlockpt(line);
    std::filesystem::create_symlink(ptsname(line), root.Path("/dev/ttyUSB0"));
    SetIni("R.BASIC", "UseEMG", 1);
    SetIni("R.BASIC", "GyroType", 1);
    EXPECT_TRUE(Init());
    TakeLog();
  }

  void SetLevels(const std::vector<std::int32_t>& levels) const {
    root.Write("/dev/qlm_gpio", {reinterpret_cast<const char*>(levels.data()), levels.size() * 4});
  }
  void Send(int z) const {
    const Bytes frame = GyroFrame(GyroVector(0x10, {1, 2, z}) + GyroVector(0x20, {3, 4, -250000}));
    EXPECT_EQ(write(line, frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  }
  // The groups' requests; they are cleared.
  Requests TakeRequests() const {
    Requests requests;
    for (const GroupRow& group : kGroups) {
      requests.push_back(shared::load(sys, group.sys.group_state_request));
      shared::store(sys, group.sys.group_state_request, 0);
    }
    return requests;
  }
  // The codes of what some passes log.
  Lines Passes(void (Vek::*pass)(), int count) {
    while (count-- > 0) (vek.*pass)();
    Lines lines = TakeLog();
    for (std::string& text : lines) text.resize(text.find(']') + 1);
    return lines;
  }
  Lines GyroPasses(int count) { return Passes(&Vek::OnProcessGyro, count); }
  Lines GpioPasses(int count) { return Passes(&Vek::OnProcessGpio, count); }
  double GyroValue(std::size_t k) const { return shared::load<double>(sys, {40000 + 8 * k}); }

  int line = posix_openpt(O_RDWR | O_NOCTTY);
};

TEST(StopInput, IsTheLevelOneOfInput6OrAFailedRead) {
  PeripheralRig rig;
  const std::pair<std::vector<std::int32_t>, bool> cases[] = {
      {{1, 1, 1, 1, 1, 1, 0}, false},
      {{0, 0, 0, 0, 0, 0, 1}, true},
      {{0, 0, 0, 0, 0, 0, -1}, false},
      {{0, 0, 0, 0, 0, 0}, true}};  // input 6 cannot be read
  for (const auto& [levels, stops] : cases) {
    rig.SetLevels(levels);
    SCOPED_TRACE(testing::PrintToString(levels));
    EXPECT_EQ(rig.GpioPasses(3), stops ? Lines{kStopLine} : Lines());
    EXPECT_EQ(rig.TakeRequests(), stops ? kStopped : kNone);
  }
  int level = 7;
  EXPECT_FALSE(rig.vek.GetGpio(6, level) || rig.vek.GetGpio(INT_MIN, level));
  EXPECT_EQ(level, 7);
}

TEST(Peripherals, WordsOfAnEarlierRunAreNotTakenForDevices) {
  PeripheralRig rig;
  Vek half;
  rig.root.Remove("/dev/ZQMac");
  ASSERT_FALSE(half.OnInit(rig.sys, rig.cfg));
  rig.SetLevels({});
  half.OnProcessGpio();
  for (int pass = 0; pass < 60; ++pass) half.OnProcessGyro();
  EXPECT_EQ(rig.TakeRequests(), kNone);
}

TEST(Gyro, PublishesFramesAndIsFrozenAfter50PassesWithoutChange) {
  PeripheralRig rig;
  rig.Send(9806650);
  EXPECT_EQ(rig.GyroPasses(1), Lines());
  EXPECT_EQ(rig.GyroValue(2), 9.80665);
  EXPECT_EQ(rig.GyroValue(5), -0.25);
  for (std::size_t g = 0; g < 5; ++g) {
    EXPECT_EQ(shared::load<std::uint32_t>(rig.sys, {4228 + 4000 * g}), g == 2 || g == 4 ? 0U : 1U);
  }
  // The change shows in the next pass; 50 without one follow.
  EXPECT_EQ(rig.GyroPasses(1 + 49), Lines());
  rig.Send(9806650 + 99);  // too little, and seen one pass later
  EXPECT_EQ(rig.GyroPasses(100), Lines{kFrozenLine});
  EXPECT_EQ(rig.TakeRequests(), kFrozen);
  rig.Send(9806650 - 200);
  EXPECT_EQ(rig.GyroPasses(1), Lines{kFrozenLine}) << "judged before the bytes are read";
  rig.TakeRequests();
  EXPECT_EQ(rig.GyroPasses(50), Lines());
  close(rig.line);  // the device vanishes: its last value freezes
  EXPECT_EQ(rig.GyroPasses(1), Lines{kFrozenLine});
  EXPECT_EQ(rig.GyroValue(2), 9.80645);
}

TEST(ClockText, IsWrittenOnTheSecondAndThenOnEach500thPass) {
  setenv("TZ", "XXX-5:30", 1);
  VekRig rig;
  ASSERT_TRUE(rig.Init());
  char* text = rig.sys->system_time_text;
  for (int pass = 1; pass <= 1502; ++pass) {
    text[0] = '\0';
    rig.vek.OnProcessSystemTime();
    ASSERT_EQ(text[0] != '\0', pass % 500 == 2) << pass;
  }
  tm shown{};
  ASSERT_STREQ(strptime(text, "%Y-%m-%d %H:%M:%S", &shown), "");
  EXPECT_NEAR(static_cast<double>(timegm(&shown) - std::time(nullptr)), 19800, 30);
}

}  // namespace
