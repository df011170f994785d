// Vek and the simulated servo task together, operated by vekctl and by scripts.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "tests/support/temp_root.h"
#include "tests/tools/played_script.h"
#include "tools/area_view.h"
#include "vek/groups.h"

namespace {

const std::string kMotions = std::string(VEK_SOURCE_DIR) + "/config/motions/";
const std::string kWave = kMotions + "arm0_wave.csv";
const std::string kEight = kMotions + "arm1_eight.csv";
const std::string kBow = kMotions + "body_bow.csv";

using Arguments = std::vector<std::string>;

// What vekctl says to the arguments, on either output, and how it ends.
void Expect(const Arguments& arguments, int status, const std::string& words) {
  const Outcome outcome = RunProgram("vekctl", arguments);
  EXPECT_EQ(outcome.status, status) << words;
  EXPECT_NE((outcome.out + outcome.err).find(words), std::string::npos)
      << words << ": " << outcome.out << outcome.err;
}

// A fresh root; its robot.ini shapes the body's frames.
class EndToEnd : public testing::Test {
 protected:
  EndToEnd() {
    Expect({"init"}, 0, "");
    ChangeIni("ISFrequency=0", "ISFrequency=8");
    setenv("VEK_LOG", root_.Path("/var/vek.log").c_str(), 1);
  }

  void ChangeIni(const std::string& from, const std::string& to) const {
    const std::string path = "/home/QUARLE/Config/cfg/robot.ini";
    std::string ini = root_.Read(path);
    root_.Write(path, ini.replace(ini.find(from + '\n'), from.size(), to));
  }

  static bool DruRuns() {
    return WaitUntil([] {
      return RunProgram("vekctl", {"status"}).out.find("dru  running") != std::string::npos;
    });
  }

  TempRoot root_;
};

// Model and Vek agree on plain and shaped frames and on a joint command, whatever the servo side's
// pace.
TEST_F(EndToEnd, TheRecordingOfAScriptIsRight) {
  const std::string script =
      "0 state arm0 POSITION\n0 state arm1 POSITION\n0 state body POSITION\n" +
      Text("400 traj arm0 ", kWave, "\n400 traj arm1 ", kEight, "\n400 traj body ", kBow) +
      "\n2000 pause arm1 on\n2500 pause arm1 off\n3000 stall 20\n5000 stall-vek 8\n" +
      "0 state head POSITION\n1000 move head .3,-.2,.1\n11000 quit\n";
  const Played played = PlayScript(root_, script, {"--groups", "arm0,arm1,body,head"});
  EXPECT_NE(played.summary.find("missed periods 20\n"), std::string::npos) << played.summary;
  EXPECT_NE(played.log.find(" 00:00:03.021000 ERROR Error CycleTime: Vek = 0, Dru = 20000, DRU RT"),
            std::string::npos)
      << played.log;
  EXPECT_NE(played.log.find("error count: 1, overruns: 7\n"), std::string::npos) << played.log;
  Arguments verify{"verify", root_.Path("/frames.csv"), "--log", root_.Path("/var/vek.log")};
  for (const std::string& run : {"arm0=" + kWave, "arm1=" + kEight, "body=" + kBow}) {
    verify.push_back("--traj=" + run);
  }
  verify.push_back("--move=head=.3,-.2,.1");
  Expect(verify, 0, "verify ok");
  verify.back() = "--move=head=.3,-.2,.11";
  Expect(verify, 1, "verify FAILED");
}

TEST_F(EndToEnd, CommandsTellWhatBecameOfThem) {
  Expect({"move", "lift", "0", "0"}, 1, "lift: Vek's cycle does not run");
  Expect({"state", "lift", "TORQUE", "--timeout", "0.2"}, 1, "Vek's cycle stands still");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  Expect({"traj", "arm0", kWave}, 1, "arm0: is in IDLE, trajectories play in POSITION\n");
  Expect({"state", "arm1", "POSITION", "--timeout", "0.5"}, 1, "servo side is still in IDLE");
  const TempFile script("0 set sysinfo 16004 i32 2\n0 set sysinfo 16148 i32 0\n");
  ChildProcess drusim("drusim", {"--script", script.path()});
  ASSERT_TRUE(DruRuns());
  EXPECT_EQ(RunProgram("drusim", {"--record", script.path()}).status, 1);  // a second one
  EXPECT_NE(ReadFile(script.path()), "");
  Expect({"state", "body", "POSITION"}, 1, "POSITION rejected by Vek: the group is moving\n");

  for (const char* to : {"0.01", "0"}) {  // the lift stands at 0
    Expect({"move", "lift", to, "0"}, 1, "taken over, but the state is IDLE: it does not move");
  }
  shared::store(AreaView(kUdpArea).get(), kGroups[3].udp.traj_state, 77);
  Expect({"stop", "body"}, 1, "body: its trajectory byte 77 means nothing to Vek");
  Expect({"why", "lift"}, 1, "lift: it is in IDLE, not in POSITION");
  Expect({"state", "lift", "POSITION"}, 0, "POSITION reached");
  Expect({"why", "lift"}, 0, "lift: nothing keeps it from moving");
  Expect({"speed", "lift", "100", "--acc", "500"}, 0, "acceleration 100 % taken over");
  Expect({"speed", "lift", "0.5"}, 0, "speed 0.5 % counts as 1 % now");
  Expect({"move", "lift", "0.1", "0", "--timeout", "0.2"}, 1, "lift: timed out at 0.");
  Expect({"speed", "lift", "100"}, 0, "speed 100 % taken over");
  Expect({"move", "lift", "0.05", "0.01"}, 0, "lift: reached 0.05 0.01 m after ");
  Expect({"move", "lift", "0.05", "-0.9"}, 1, "stands at 0.05 -0.4 m: clamped");

  Expect({"brake-free", "arm0", "on"}, 0, "held unlocked");
  Expect({"state", "arm0", "POSITION"}, 1, "rejected by Vek: a brake is held unlocked\n");
  Expect({"brake-free", "arm0", "off"}, 0, "locked");
  Expect({"state", "arm0", "POSITION"}, 0, "POSITION reached");
  Expect({"speed", "arm0", "100", "--acc", "100"}, 0, "taken over");
  Expect({"traj", "arm0", kWave, "--no-wait"}, 0, "started");
  Expect({"move", "arm0", "0", "0", "0", "0", "0", "1.5", "2.3"}, 1,
         "stands at 0 0 0 0 0 1.5 2.2575 rad: joint 7 is held back by joint 6");
  Expect({"stop", "arm0"}, 0, "arm0: no run to stop");
  Expect({"state", "arm0", "TORQUE"}, 0, "TORQUE reached");
  const Arguments command{"move", "arm0", "0", "0", "0", "0", "0", "0", "0"};
  Expect(command, 1, "the joint command is pending: the state is TORQUE");
  Expect(command, 1, "arm0: the joint command is pending already");
}

// Stop input and gyro as drusim gives them, driven by hand through its pipe.
TEST_F(EndToEnd, StopInputAndFrozenGyroAskTheGroups) {
  ChangeIni("UseEMG=0", "UseEMG=1");
  ChangeIni("GyroType=0", "GyroType=1");
  const std::string pipe = root_.Path("/control");
  std::filesystem::create_symlink("/dev/pts/99999", root_.Path("/dev/ttyUSB0"));  // of a killed run
  ChildProcess drusim("drusim", {"--gyro", "--control", pipe});
  ASSERT_TRUE(DruRuns());
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  const AreaView sys(kSysInfoArea);
  // The requests that come anew once they were cleared; a busy machine may hold up the gyro's
  // frames a few times.
  const auto asks = [&](const std::vector<int>& expected) {
    const auto settled = [&] {
      std::vector<int> requests;
      for (const GroupRow& g : kGroups) shared::store(sys.get(), g.sys.group_state_request, 0);
      for (int k = 0; k < 200; ++k) PollPause();
      for (const GroupRow& g : kGroups) {
        requests.push_back(shared::load(sys.get(), g.sys.group_state_request));
      }
      return requests == expected;
    };
    return WaitUntil(settled, 0.1);  // a hundred tries
  };
  const auto act = [&](const std::string& line) { std::ofstream(pipe) << line << std::endl; };
  EXPECT_TRUE(asks({0, 0, 0, 0, 0}));
  act("gpio 6 1");
  EXPECT_TRUE(asks({101, 101, 101, 101, 0}));
  act("gpio 6 0\ndance # told and ignored\ngyro freeze on");
  EXPECT_TRUE(asks({115, 115, 115, 115, 115}));
  act("gyro freeze off");
  EXPECT_TRUE(asks({0, 0, 0, 0, 0}));
  EXPECT_TRUE(vek.WaitForText("WARN  [user 21]") && vek.WaitForText("ERROR [user 6]"));
  act("quit");
  EXPECT_EQ(drusim.Wait(), 0);
  EXPECT_EQ(drusim.Stderr(), "drusim: control: no action dance\n");
  EXPECT_FALSE(std::filesystem::exists(pipe));
}

TEST(Init, MakesARoot) {
  const TempRoot parent;
  unsetenv("VEK_ROOT");
  const std::string root = parent.Path("/new/root");
  const Outcome outcome = RunProgram("vekctl", {"--root", root, "init"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(parent.Read("/new/root/home/QUARLE/Config/cfg/robot.ini"),
            ReadFile(std::string(VEK_SOURCE_DIR) + "/config/robot.ini"));
}

}  // namespace
