#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

#include "tests/support/gyro_frames.h"
#include "tests/vek/vek_rig.h"

namespace {

using Requests = std::array<int, kGroupCount>;
using Lines = std::vector<std::string>;

constexpr Requests kStopped = {101, 101, 101, 101, 0};
constexpr Requests kFrozen = {115, 115, 115, 115, 115};
const std::string kStopLine = "WARN  [user 21]";
const std::string kFrozenLine = "ERROR [user 6]";

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

  void SetLevels(int input4, int input6) const {
    std::array<std::int32_t, 16> levels{};
    levels[4] = input4;
    levels[6] = input6;
    root.Write("/dev/qlm_gpio", {reinterpret_cast<const char*>(levels.data()), sizeof levels});
  }
  void Send(int z, int rate) const {
    const Bytes frame = GyroFrame(GyroVector(0x10, {1, 2, z}) + GyroVector(0x20, {3, 4, rate}));
    EXPECT_EQ(write(line, frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  }
  Requests GroupRequests() const {
    Requests requests;
    for (const GroupRow& group : kGroups) {
      requests[group.index] = shared::load(sys, group.sys.group_state_request);
    }
    return requests;
  }
  void ClearRequests() {
    for (const GroupRow& group : kGroups) shared::store(sys, group.sys.group_state_request, 0);
  }
  // The messages of one pass, cut to their code.
  Lines Codes() {
    Lines lines = TakeLog();
    for (std::string& text : lines) text.resize(text.find(']') + 1);
    return lines;
  }
  Lines GyroPasses(int count) {
    while (count-- > 0) vek.OnProcessGyro();
    return Codes();
  }
  double GyroValue(std::size_t k) const {
    return shared::load(sys, SHARED_FIELD(SysInfo, gyro_values), k);
  }

  int line = posix_openpt(O_RDWR | O_NOCTTY);
};

TEST(StopInput, IsTheLevelOneOfInput6OrAFailedRead) {
  PeripheralRig rig;
  constexpr int kBeyond = 1000;
  const struct {
    int input4, input6;
    bool stops;
  } cases[] = {{0, 0, false}, {1, 0, false}, {0, 1, true},
               {1, 1, true},  {0, 2, false}, {1, -1, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.input4 << " " << c.input6);
    rig.ClearRequests();
    rig.SetLevels(c.input4, c.input6);
    for (int pass = 0; pass < 3; ++pass) rig.vek.OnProcessGpio();
    EXPECT_EQ(rig.GroupRequests(), c.stops ? kStopped : Requests{});
    EXPECT_EQ(rig.Codes(), c.stops ? Lines{kStopLine} : Lines{});
  }
  // Inputs that cannot be read: 6 alone, then both.
  for (const std::size_t bytes : {24U, 0U}) {
    rig.ClearRequests();
    rig.root.Write("/dev/qlm_gpio", std::string(bytes, '\0'));
    rig.vek.OnProcessGpio();
    EXPECT_EQ(rig.GroupRequests(), kStopped) << bytes;
    int level = 7;
    EXPECT_FALSE(rig.vek.GetGpio(6, level) || rig.vek.GetGpio(kBeyond, level) ||
                 rig.vek.GetGpio(INT_MIN, level));
    EXPECT_EQ(level, 7);
  }
}

TEST(Gyro, PublishesFramesAndIsFrozenAfter50PassesWithoutChange) {
  PeripheralRig rig;
  rig.Send(9806650, -250000);
  EXPECT_EQ(rig.GyroPasses(1), Lines());
  EXPECT_EQ(rig.GyroValue(2), 9.80665);
  EXPECT_EQ(rig.GyroValue(5), -0.25);
  for (const std::size_t g : {0U, 1U, 2U, 3U, 4U}) {
    EXPECT_EQ(shared::load<std::uint32_t>(rig.sys, {4228 + 4000 * g}),
              g == 0 || g == 1 || g == 3 ? 1U : 0U);
  }
  // The change shows in the next pass; 50 without one follow.
  EXPECT_EQ(rig.GyroPasses(1 + 49), Lines());
  rig.Send(9806650 + 99, 0);  // too little, and seen one pass later
  EXPECT_EQ(rig.GyroPasses(1), Lines{kFrozenLine});
  EXPECT_EQ(rig.GroupRequests(), kFrozen);
  EXPECT_EQ(rig.GyroPasses(100), Lines()) << "asked for already";
  // Both at once alternate, each with its message, until the gyro thaws.
  rig.SetLevels(0, 1);
  for (int pass = 0; pass < 2; ++pass) {
    rig.vek.OnProcessGpio();
    EXPECT_EQ(rig.GroupRequests(), (Requests{101, 101, 101, 101, 115}));
    EXPECT_EQ(rig.GyroPasses(1), (Lines{kStopLine, kFrozenLine}));
  }
  rig.ClearRequests();
  rig.Send(9806650 - 200, 0);
  EXPECT_EQ(rig.GyroPasses(1), Lines{kFrozenLine}) << "judged before the bytes are read";
  rig.ClearRequests();
  EXPECT_EQ(rig.GyroPasses(50), Lines());
  close(rig.line);  // the device vanishes: its last value freezes
  EXPECT_EQ(rig.GyroPasses(1), Lines{kFrozenLine});
  EXPECT_EQ(rig.GyroValue(2), 9.80645);
}

TEST(Peripherals, WordsOfAnEarlierRunAreNotTakenForDevices) {
  PeripheralRig rig;
  Vek half;
  rig.root.Remove("/dev/ZQMac");
  ASSERT_FALSE(half.OnInit(rig.sys, rig.cfg));
  EXPECT_EQ(rig.Codes().size(), 1U);
  rig.SetLevels(1, 1);
  for (int pass = 0; pass < 60; ++pass) {
    half.OnProcessGpio();
    half.OnProcessGyro();
  }
  EXPECT_EQ(rig.GroupRequests(), Requests{});
  EXPECT_EQ(rig.Codes(), Lines());
}

TEST(ClockText, IsWrittenOnTheSecondAndThenOnEach500thPass) {
  setenv("TZ", "XXX-5:30", 1);
  VekRig rig;
  ASSERT_TRUE(rig.Init());
  char* text = rig.sys->system_time_text;
  for (int pass = 1; pass <= 1502; ++pass) {
    const time_t before = std::time(nullptr) + 19800;
    text[0] = '\0';
    rig.vek.OnProcessSystemTime();
    ASSERT_EQ(text[0] != '\0', pass % 500 == 2) << pass;
    if (text[0] == '\0') continue;
    tm shown{};
    ASSERT_EQ(strptime(text, "%Y-%m-%d %H:%M:%S", &shown), text + 19);
    EXPECT_EQ(text[19], '\0');
    EXPECT_TRUE(timegm(&shown) - before >= 0 && timegm(&shown) - before < 60) << text;
  }
}

TEST(Shell, TellsOutcomeAndFirstLine) {
  VekRig rig;
  testing::internal::CaptureStdout();
  EXPECT_TRUE(rig.vek.RunShell("mount -o remount rw /"));
  setenv("VEK_FAIL", "mount,popen", 1);
  EXPECT_FALSE(rig.vek.RunShell("mount -o remount r /"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Failed to execute shell: mount -o remount r /\n");
  char line[] = "abcdefgh";
  EXPECT_FALSE(rig.vek.RunShellWithReturn("hostname -I", line, sizeof line));
  setenv("VEK_FAIL", "", 1);
  EXPECT_FALSE(rig.vek.RunShellWithReturn("date", line, sizeof line)) << "says nothing";
  for (const unsigned size : {0U, 1U}) {
    EXPECT_FALSE(rig.vek.RunShellWithReturn("hostname -I", line, size));
  }
  EXPECT_STREQ(line, "abcdefgh");
  ASSERT_TRUE(rig.vek.RunShellWithReturn("hostname -I", line, 5));
  EXPECT_LE(std::string(line).size(), 3U);
  EXPECT_EQ(line[4], '\0');
  EXPECT_EQ(std::string(line + 5), "fgh") << "beyond the size";
}

}  // namespace
