#include <gtest/gtest.h>

#include <functional>

#include "platform/host.h"
#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

constexpr char kRobotIni[] = "/home/QUARLE/Config/cfg/robot.ini";

// Changes one number of the root's robot.ini.
void SetIni(const VekRig& rig, const char* section, const char* key, int value) {
  IniParser ini;
  const std::string path = rig.root.Path(kRobotIni);
  ASSERT_TRUE(ini.OnLoad(path.c_str()));
  ASSERT_TRUE(ini.OnSetValue(section, key, value));
  ASSERT_TRUE(ini.OnSave(path.c_str()));
}

}  // namespace

TEST(Init, SetsUpEverythingOfACompleteController) {
  VekRig rig;
  constexpr std::size_t kKept = sizeof(TrajBuf::group);
  auto* bytes = static_cast<unsigned char*>(rig.trajbuf);
  for (const std::size_t at :
       {std::size_t{0}, kKept - 1, kKept, std::size_t{AREA_TRAJBUF_SIZE - 1}}) {
    bytes[at] = 0xA5;
  }
  ASSERT_TRUE(rig.Init());
  EXPECT_EQ(bytes[0] + bytes[kKept - 1], 0) << "the blocks are cleared";
  EXPECT_EQ(bytes[kKept], 0xA5) << "what lies behind them is not";
  EXPECT_EQ(bytes[AREA_TRAJBUF_SIZE - 1], 0xA5);
  EXPECT_EQ(shared::load(rig.sys, SHARED_FIELD(SysInfo, trajbuf_ready)), 1U);
  const std::vector<std::string> expected{"INFO  Load robot.ini success", "INFO  Gyro is not used",
                                          "INFO  Gpio is not used", "INFO  VEK init finish"};
  EXPECT_EQ(LogLines(), expected);
}

TEST(Init, FailsOnWhatIsMissing) {
  struct Case {
    const char* missing;
    const char* message;  // null: standard output only
  };
  constexpr Case kCases[] = {
      {"/dev/ZQMac", "ERROR Failed to map /dev/ZQMac"},
      {"/dev/ZQUdp", "ERROR Failed to map /dev/ZQUdp"},
      {"/dev/ZQSysDbg", "ERROR Failed to map /dev/ZQSysDbg"},
      {"/dev/ZQVek2Dru", "ERROR Failed to map /dev/ZQVek2Dru"},
      {"/home/QUARLE/Tags", nullptr},
  };
  VekRig rig;
  EXPECT_FALSE(Vek().OnInit(nullptr, rig.cfg));
  EXPECT_FALSE(Vek().OnInit(rig.sys, nullptr));
  EXPECT_TRUE(LogLines().empty());
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.missing);
    const std::string away = rig.root.Path(c.missing) + ".away";
    ASSERT_EQ(std::rename(rig.root.Path(c.missing).c_str(), away.c_str()), 0);
    const std::size_t logged = LogLines().size();
    shared::store(rig.sys, SHARED_FIELD(SysInfo, trajbuf_ready), 0);
    testing::internal::CaptureStdout();
    Vek vek;
    EXPECT_FALSE(vek.OnInit(rig.sys, rig.cfg));
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::vector<std::string> lines = LogLines();
    if (c.message != nullptr) {
      ASSERT_EQ(lines.size(), logged + 1);
      EXPECT_EQ(lines.back(), c.message);
      EXPECT_EQ(printed, "");
    } else {
      EXPECT_EQ(lines.size(), logged);
      EXPECT_EQ(printed, "Failed to init TrajBuf.shm\n");
    }
    EXPECT_EQ(shared::load(rig.sys, SHARED_FIELD(SysInfo, trajbuf_ready)), 0U);
    // Half-way initialised, all operations are harmless.
    vek.OnProcessUdpSet();
    vek.OnProcessRtUdpState();
    vek.OnProcessPosCtrlArm0();
    vek.OnProcessGpio();
    vek.OnProcessGyro();
    vek.OnProcessOp();
    vek.OnProcessSystemTime();
    ASSERT_EQ(std::rename(away.c_str(), rig.root.Path(c.missing).c_str()), 0);
  }
}

TEST(Init, AFailedLoadIsOnlyLogged) {
  VekRig rig;
  rig.root.Remove(kRobotIni);
  EXPECT_TRUE(rig.Init());
  ASSERT_EQ(LogLines("ERROR").size(), 2U);
  EXPECT_EQ(LogLines("ERROR")[1], "ERROR Failed to load robot.ini");
  EXPECT_EQ(LogLines().back(), "INFO  VEK init finish");
}

TEST(Init, PositionControlRefusesWhatItCannotServe) {
  struct Case {
    const char* section;
    const char* key;
    int value;
    const char* message;  // before "Failed to init position ctrl"; null: none
  };
  constexpr Case kCases[] = {
      {"R.BASIC", "BusFreq", 0, nullptr},
      {"R.BASIC", "BusFreq", -1000, nullptr},
      {"R.A0.BASIC", "Dof", 9, "ERROR Failed to init pos_filt_[0]"},
      {"R.A1.BASIC", "Dof", 2147483647, "ERROR Failed to init pos_filt_[1]"},
      {"R.H.BASIC", "Dof", 9, "ERROR Failed to init pos_filt_[2]"},
      {"R.B.BASIC", "Dof", 100, "ERROR Failed to init pos_filt_[3]"},
      {"R.L.BASIC", "Dof", 9, "ERROR Failed to init pos_filt_[4]"},
  };
  VekRig rig;
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.section) + "." + c.key);
    rig.root.CopySampleIni();
    SetIni(rig, c.section, c.key, c.value);
    const std::size_t logged = LogLines("ERROR").size();
    EXPECT_FALSE(Vek().OnInit(rig.sys, rig.cfg));
    std::vector<std::string> expected;
    if (c.message != nullptr) expected.emplace_back(c.message);
    expected.emplace_back("ERROR Failed to init position ctrl");
    std::vector<std::string> errors = LogLines("ERROR");
    errors.erase(errors.begin(), errors.begin() + static_cast<std::ptrdiff_t>(logged));
    EXPECT_EQ(errors, expected);
  }
}

TEST(Init, AGroupWithoutAxesRunsAllTheSame) {
  VekRig rig;
  SetIni(rig, "R.A0.BASIC", "Dof", 0);
  SetIni(rig, "R.L.BASIC", "Dof", -3);
  ASSERT_TRUE(rig.Init());
  rig.SetJointPos(kGroups[0], {1, 2, 3});
  rig.SetState(kGroups[0], GROUP_STATE_POSITION);
  rig.LoadWaypoints(kGroups[0], 5);
  rig.SetTrajState(kGroups[0], TRAJ_START);
  std::size_t frames = 0;
  for (int k = 0; k < 40; ++k) {
    rig.Cycle();
    for (const Frame& frame : rig.TakeFrames(kGroups[0])) {
      EXPECT_EQ(frame.pos[0], 0);
      ++frames;
    }
  }
  EXPECT_EQ(frames, 1 + 39 * 3U);
  EXPECT_EQ(rig.TrajState(kGroups[0]), TRAJ_IDLE);
  EXPECT_EQ(LogLines("Run traj plan finish").size(), 1U);
}

TEST(Init, OpensThePeripheralsThatAreConfigured) {
  struct Case {
    int gyro_type, use_emg;
    bool gyro_there, gpio_there, good;
    const char* message;
    unsigned gyro_used, gpio_used;  // 7: not written
  };
  constexpr Case kCases[] = {
      {0, 0, false, false, true, "INFO  Gpio is not used", 0, 0},
      {1, 1, true, true, true, "INFO  Gpio is opened", 1, 1},
      {1, 0, true, false, true, "INFO  Gyro YIS100DK is opened", 1, 0},
      {1, 1, false, true, false, "/dev/ttyUSB3", 0, 7},
      {2, 1, true, true, false, "ERROR [user 4]", 0, 7},
      {0, 1, true, false, false, "/dev/qlm_gpio", 0, 0},
  };
  VekRig rig;
  SetIni(rig, "R.BASIC", "GyroId", 3);
  constexpr auto kGyroUsed = SHARED_FIELD(SysInfo, gyro_used);
  constexpr auto kGpioUsed = SHARED_FIELD(SysInfo, gpio_used);
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.message);
    SetIni(rig, "R.BASIC", "GyroType", c.gyro_type);
    SetIni(rig, "R.BASIC", "UseEMG", c.use_emg);
    rig.root.Remove("/dev/ttyUSB3");
    rig.root.Remove("/dev/qlm_gpio");
    if (c.gyro_there) rig.root.Write("/dev/ttyUSB3", "");
    if (c.gpio_there) rig.root.Write("/dev/qlm_gpio", std::string(64, '\0'));
    shared::store(rig.sys, kGyroUsed, 7);
    shared::store(rig.sys, kGpioUsed, 7);
    const std::size_t logged = LogLines(c.message).size();
    EXPECT_EQ(Vek().OnInit(rig.sys, rig.cfg), c.good);
    EXPECT_EQ(LogLines(c.message).size(), logged + 1);
    EXPECT_EQ(shared::load(rig.sys, kGyroUsed), c.gyro_used);
    EXPECT_EQ(shared::load(rig.sys, kGpioUsed), c.gpio_used);
  }
}
