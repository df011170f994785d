// Vek and the simulated servo task together, operated by vekctl and by scripts.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "vek/groups.h"

namespace {

const std::string kMotions = std::string(VEK_SOURCE_DIR) + "/config/motions/";

// A fresh root and a Vek that runs in it.
class EndToEnd : public testing::Test {
 protected:
  EndToEnd() {
    root_.MakeAreas();
    root_.CopySampleIni();
    EXPECT_EQ(RunProgram("vekctl", {"init"}).status, 0);
    setenv("VEK_LOG", root_.Path("/var/vek.log").c_str(), 1);
  }

  static Outcome Ctl(const std::vector<std::string>& arguments) {
    return RunProgram("vekctl", arguments);
  }
  // The status report once the servo task runs.
  static Outcome StatusWithDru() {
    Outcome now;
    WaitUntil([&] { return (now = Ctl({"status"})).out.find("dru  running") != now.out.npos; });
    return now;
  }

  TempRoot root_;
};

TEST_F(EndToEnd, AScriptPlaysBothArmsAndTheRecordingIsRight) {
  const TempFile script("0 state arm0 POSITION\n0 state arm1 POSITION\n300 traj arm0 " + kMotions +
                        "arm0_wave.csv\n300 traj arm1 " + kMotions +
                        "arm1_eight.csv\n2000 pause arm1 on\n2500 pause arm1 off\n"
                        "3000 stall 20\n11000 quit\n");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  const std::string frames = root_.Path("/frames.csv");
  ChildProcess drusim("drusim",
                      {"--script", script.path(), "--record", frames, "--groups", "arm0,arm1"});
  ASSERT_EQ(drusim.Wait(100), 0) << drusim.Stderr();
  EXPECT_NE(drusim.Stdout().find("arm0 frames "), std::string::npos) << drusim.Stdout();
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  const Outcome verify =
      Ctl({"verify", frames, "--traj", "arm0=" + kMotions + "arm0_wave.csv", "--traj",
           "arm1=" + kMotions + "arm1_eight.csv", "--log", root_.Path("/var/vek.log")});
  EXPECT_EQ(verify.status, 0) << verify.out << verify.err;
}

TEST_F(EndToEnd, VekctlTellsWhatVekAnswers) {
  const Outcome dead = Ctl({"state", "arm0", "POSITION"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_EQ(dead.err, "vekctl: arm0: Vek is not running (its cycle stamp stands still)\n");

  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  const Outcome early = Ctl({"traj", "arm0", kMotions + "arm0_wave.csv"});
  EXPECT_EQ(early.status, 1);
  EXPECT_EQ(early.err, "vekctl: arm0: is in IDLE, trajectories play in POSITION\n");
  const Outcome unserved = Ctl({"state", "arm1", "POSITION", "--timeout", "0.5"});
  EXPECT_EQ(unserved.status, 1);
  EXPECT_NE(unserved.err.find("the servo side is still in IDLE"), std::string::npos);

  ChildProcess drusim("drusim");
  const Outcome status = StatusWithDru();
  EXPECT_NE(status.out.find("vek  running"), std::string::npos) << status.out;
  EXPECT_NE(status.out.find("robot.ini loaded"), std::string::npos) << status.out;

  for (const char* group : {"arm0", "arm1", "head", "body", "lift"}) {
    const Outcome reached = Ctl({"state", group, "POSITION"});
    EXPECT_EQ(reached.status, 0) << reached.err;
    EXPECT_NE(reached.out.find("POSITION reached after"), std::string::npos) << reached.out;
  }
  const Outcome free = Ctl({"stop", "arm1"});
  EXPECT_EQ(free.status, 0);
  EXPECT_EQ(free.out, "arm1: no run to stop\n");

  ChildProcess run("vekctl", {"traj", "arm1", kMotions + "arm1_eight.csv"});
  ASSERT_TRUE(run.WaitForText("waypoint 1")) << run.Stderr();
  const Outcome second = Ctl({"traj", "arm1", kMotions + "arm1_eight.csv"});
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(second.err, "vekctl: arm1: has a trajectory already (playing)\n");
  EXPECT_EQ(Ctl({"stop", "arm1"}).out, "arm1: stopped\n");
  EXPECT_EQ(run.Wait(), 1);
  EXPECT_NE(run.Stderr().find(" at waypoint "), std::string::npos) << run.Stderr();

  for (ChildProcess* child : {&drusim, &vek}) {
    child->Signal(SIGINT);
    EXPECT_EQ(child->Wait(), 0);
  }
}

// Model and Vek agree on shaped frames and on a joint command, and vekctl tells how commands end.
TEST_F(EndToEnd, TheShapedBodyAndAMovedHeadAreRight) {
  const std::string ini = "/home/QUARLE/Config/cfg/robot.ini";
  std::string text = root_.Read(ini);
  const std::string off = "ISFrequency=0\n";
  ASSERT_NE(text.find(off), std::string::npos);
  root_.Write(ini, text.replace(text.find(off), off.size(), "ISFrequency=8\n"));
  const TempFile script("0 state body POSITION\n400 traj body " + kMotions +
                        "body_bow.csv\n7000 quit\n");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  const std::string frames = root_.Path("/frames.csv");
  ChildProcess drusim("drusim", {"--script", script.path(), "--record", frames});
  StatusWithDru();
  ASSERT_EQ(Ctl({"state", "head", "POSITION"}).status, 0);
  const Outcome moved = Ctl({"move", "head", "0.3", "-0.2", "0.1"});
  EXPECT_EQ(moved.out.rfind("head: reached 0.3 -0.2 0.1 rad after ", 0), 0U) << moved.err;
  ASSERT_EQ(drusim.Wait(60), 0) << drusim.Stderr();
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  const Outcome verify = Ctl({"verify", frames, "--traj", "body=" + kMotions + "body_bow.csv",
                              "--move", "head=.3,-.2,.1"});
  EXPECT_EQ(verify.status, 0) << verify.out << verify.err;
  EXPECT_EQ(Ctl({"verify", frames, "--move", "head=.3,-.2,.11"}).status, 1);
}

TEST_F(EndToEnd, CommandsTellWhatBecameOfThem) {
  const auto expect = [](const std::vector<std::string>& arguments, int status,
                         const std::string& words) {
    const Outcome outcome = Ctl(arguments);
    EXPECT_EQ(outcome.status, status) << words;
    EXPECT_NE((outcome.out + outcome.err).find(words), std::string::npos)
        << outcome.out << outcome.err;
  };
  expect({"move", "lift", "0", "0"}, 1, "lift: Vek is not running");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  ChildProcess drusim("drusim");
  StatusWithDru();

  expect({"move", "lift", "0.01", "0"}, 1, "taken over, but the state is IDLE: it does not move");
  expect({"why", "lift"}, 1, "lift: it is in IDLE, not in POSITION");
  expect({"state", "lift", "POSITION"}, 0, "POSITION reached");
  expect({"why", "lift"}, 0, "lift: nothing keeps it from moving");
  expect({"speed", "lift", "100", "--acc", "500"}, 0, "acceleration 100 % taken over");
  expect({"speed", "lift", "0.5"}, 0, "speed 0.5 % counts as 1 % now");
  expect({"move", "lift", "0.1", "0", "--timeout", "0.2"}, 1, "lift: timed out at 0.");
  expect({"speed", "lift", "100"}, 0, "speed 100 % taken over");
  expect({"move", "lift", "0.05", "-0.9"}, 1, "stands at 0.05 -0.4 m: clamped");

  expect({"state", "arm0", "POSITION"}, 0, "POSITION reached");
  expect({"speed", "arm0", "100", "--acc", "100"}, 0, "taken over");
  expect({"traj", "arm0", kMotions + "arm0_wave.csv", "--no-wait"}, 0, "started");
  expect({"move", "arm0", "0", "0", "0", "0", "0", "1.5", "2.3"}, 1,
         "stands at 0 0 0 0 0 1.5 2.2575 rad: joint 7 is held back by joint 6");
  expect({"stop", "arm0"}, 0, "arm0: no run to stop");
  expect({"brake-free", "arm0", "on"}, 0, "held unlocked");
  expect({"why", "arm0"}, 1, "arm0: a brake is held unlocked");
  expect({"brake-free", "arm0", "off"}, 0, "locked");
  expect({"state", "arm0", "TORQUE"}, 0, "TORQUE reached");
  const std::vector<std::string> command{"move", "arm0", "0", "0", "0", "0", "0", "0", "0"};
  expect(command, 1, "the joint command is pending: the state is TORQUE");
  expect(command, 1, "arm0: the joint command is pending already");
}

TEST_F(EndToEnd, ARejectionNamesItsReason) {
  const TempFile script("0 brake arm1 on\n0 set sysinfo 16004 i32 2\n0 set sysinfo 16148 i32 0\n");
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  ChildProcess drusim("drusim", {"--script", script.path()});
  ASSERT_TRUE(WaitUntil([&] { return Ctl({"status"}).out.find("unlocked") != std::string::npos; }));
  const Outcome brake = Ctl({"state", "arm1", "POSITION"});
  EXPECT_EQ(brake.status, 1);
  EXPECT_EQ(brake.err, "vekctl: arm1: POSITION rejected by Vek: a brake is held unlocked\n");
  const Outcome moving = Ctl({"state", "body", "POSITION"});
  EXPECT_EQ(moving.status, 1);
  EXPECT_EQ(moving.err, "vekctl: body: POSITION rejected by Vek: the group is moving\n");
}

TEST_F(EndToEnd, ARunGoesOnAfterAStateChange) {
  const TempFile waypoints(Ramp(100, 7));
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("Vek is running..."));
  ChildProcess drusim("drusim");
  ASSERT_EQ(Ctl({"state", "arm1", "POSITION"}).status, 0);
  ChildProcess run("vekctl", {"traj", "arm1", waypoints.path()});
  ASSERT_TRUE(run.WaitForText("waypoint")) << run.Stderr();
  ASSERT_EQ(Ctl({"state", "arm1", "IDLE"}).status, 0);
  ASSERT_TRUE(run.WaitForText("arm1: left POSITION, the run continues when it is back"));
  EXPECT_TRUE(run.Running());
  ASSERT_EQ(Ctl({"state", "arm1", "POSITION"}).status, 0);
  EXPECT_EQ(run.Wait(60), 0) << run.Stderr();
  EXPECT_NE(run.Stdout().find("arm1: finished, 100 waypoints\n"), std::string::npos);
}

TEST_F(EndToEnd, DrusimTellsWhatItCouldNotDo) {
  const TempFile script("1 state arm0 POSITION\n5 stop arm1\n60 quit\n");
  const Outcome stop = RunProgram("drusim", {"--script", script.path()});
  EXPECT_EQ(stop.status, 1);
  EXPECT_EQ(stop.err, "drusim: " + script.path() + ":2: arm1 has no run to stop\n");
  EXPECT_EQ(stop.out.rfind("cycles 61\n", 0), 0U) << stop.out;
  const Outcome full = RunProgram("drusim", {"--cycles", "9", "--record", "/dev/full"});
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "drusim: /dev/full: the recording could not be written\n");
}

}  // namespace
