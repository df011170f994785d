#include <gtest/gtest.h>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

using Lines = std::vector<std::string>;

}  // namespace

TEST(Init, ClearsTheTrajectoryBlocks) {
  VekRig rig;
  constexpr std::size_t kKept = sizeof(TrajBuf::group);
  auto* bytes = static_cast<unsigned char*>(rig.trajbuf);
  bytes[0] = bytes[kKept - 1] = bytes[kKept] = bytes[AREA_TRAJBUF_SIZE - 1] = 0xA5;
  ASSERT_TRUE(rig.Init());
  EXPECT_EQ(bytes[0] + bytes[kKept - 1], 0) << "the blocks are cleared";
  EXPECT_EQ(bytes[kKept] + bytes[AREA_TRAJBUF_SIZE - 1], 2 * 0xA5) << "what lies behind is not";
  EXPECT_EQ(shared::load(rig.sys, SHARED_FIELD(SysInfo, trajbuf_ready)), 1U);
}

TEST(Init, FailsOnWhatIsMissing) {
  VekRig rig;
  EXPECT_FALSE(Vek().OnInit(nullptr, rig.cfg));
  EXPECT_FALSE(Vek().OnInit(rig.sys, nullptr));
  for (const std::string missing :
       {"/dev/ZQMac", "/dev/ZQUdp", "/dev/ZQSysDbg", "/dev/ZQVek2Dru", "/home/QUARLE/Tags"}) {
    SCOPED_TRACE(missing);
    const std::string path = rig.root.Path(missing);
    ASSERT_EQ(std::rename(path.c_str(), (path + ".away").c_str()), 0);
    Vek vek;
    EXPECT_FALSE(vek.OnInit(rig.sys, rig.cfg));
    // The trajectory file alone is told on standard output.
    const bool device = missing.starts_with("/dev");
    EXPECT_EQ(rig.TakeLog(), device ? Lines{"ERROR Failed to map " + missing} : Lines());
    EXPECT_EQ(shared::load(rig.sys, SHARED_FIELD(SysInfo, trajbuf_ready)), 0U);
    // Half-way initialised, all operations are harmless.
    vek.OnProcessUdpSet();
    vek.OnProcessRtUdpState();
    vek.OnProcessPosCtrlArm0();
    vek.OnProcessGpio();
    vek.OnProcessGyro();
    vek.OnProcessOp();
    vek.OnProcessSystemTime();
    ASSERT_EQ(std::rename((path + ".away").c_str(), path.c_str()), 0);
  }
}

TEST(Init, PositionControlRefusesWhatItCannotServe) {
  const struct {
    const char *section, *key;
    int value;
    std::string before;  // logged before the last line
  } cases[] = {{"R.BASIC", "BusFreq", 0, "INFO  Load robot.ini success"},
               {"R.A1.BASIC", "Dof", 2147483647, "ERROR Failed to init pos_filt_[1]"},
               {"R.L.BASIC", "Dof", 9, "ERROR Failed to init pos_filt_[4]"}};
  VekRig rig;
  for (const auto& [section, key, value, before] : cases) {
    rig.root.CopySampleIni();
    rig.SetIni(section, key, value);
    EXPECT_FALSE(Vek().OnInit(rig.sys, rig.cfg));
    const Lines lines = rig.TakeLog();
    EXPECT_EQ(lines.back(), "ERROR Failed to init position ctrl");
    EXPECT_EQ(lines[lines.size() - 2], before) << section << "." << key;
  }
}

TEST(Init, AGroupWithoutAxesRunsAllTheSame) {
  VekRig rig;
  rig.SetIni("R.A0.BASIC", "Dof", -3);
  rig.SetIni("R.L.BASIC", "Dof", 0);
  ASSERT_TRUE(rig.Init());
  for (const GroupRow& group : {kGroups[0], kGroups[4]}) {
    rig.SetJointPos(group, {1, 2});
    rig.SetState(group, GROUP_STATE_POSITION);
    rig.LoadWaypoints(group, 5);
    rig.SetTrajState(group, TRAJ_START);
    EXPECT_EQ(rig.Play(group, 40).back().pos, Axes{});
    EXPECT_EQ(rig.TrajState(group), TRAJ_IDLE);
  }
}

TEST(Init, OpensThePeripheralsThatAreConfigured) {
  constexpr struct {
    int gyro_type, use_emg;
    bool gyro_there, gpio_there, good;
    const char* message;
    unsigned gyro_used, gpio_used;  // 7: not written
  } kCases[] = {
      {0, 0, false, false, true, "INFO  Gpio is not used", 0, 0},
      {1, 0, true, false, true, "INFO  Gpio is not used", 1, 0},
      {1, 1, false, true, false, "/dev/ttyUSB3", 0, 7},
      {2, 1, true, true, false, "ERROR [user 4]", 0, 7},
      {0, 1, true, false, false, "/dev/qlm_gpio", 0, 0},
  };
  VekRig rig;
  rig.SetIni("R.BASIC", "GyroId", 3);
  constexpr auto kGyroUsed = SHARED_FIELD(SysInfo, gyro_used);
  constexpr auto kGpioUsed = SHARED_FIELD(SysInfo, gpio_used);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.message);
    rig.SetIni("R.BASIC", "GyroType", c.gyro_type);
    rig.SetIni("R.BASIC", "UseEMG", c.use_emg);
    for (const char* device : {"/dev/ttyUSB3", "/dev/qlm_gpio"}) rig.root.Remove(device);
    if (c.gyro_there) rig.root.Write("/dev/ttyUSB3", "");
    if (c.gpio_there) rig.root.Write("/dev/qlm_gpio", std::string(64, '\0'));
    shared::store(rig.sys, kGyroUsed, 7);
    shared::store(rig.sys, kGpioUsed, 7);
    EXPECT_EQ(Vek().OnInit(rig.sys, rig.cfg), c.good);
    const Lines lines = rig.TakeLog();
    EXPECT_NE(lines[lines.size() - (c.good ? 2 : 1)].find(c.message), std::string::npos);
    EXPECT_EQ(shared::load(rig.sys, kGyroUsed), c.gyro_used);
    EXPECT_EQ(shared::load(rig.sys, kGpioUsed), c.gpio_used);
  }
}
