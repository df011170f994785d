#include <climits>
#include <cstdlib>
#include <filesystem>

#include "tests/vek/operation_rig.h"

namespace {

struct Operations : testing::Test {
  OperationRig rig;

  // A controller whose robot.ini has a section more.
  void Start(const std::string& section = "") {
    rig.root.Write("/home/QUARLE/Config/cfg/robot.ini", rig.Ini() + section);
    rig.Init();
    rig.TakeLog();
  }
};

TEST_F(Operations, NinetySixCodesAreValidAndAllAreAnswered) {
  Start();
  g_exit = true;  // nothing waits
  const std::pair<int, int> valid[] = {{1, 6},     {10, 19},   {100, 114}, {150, 155}, {200, 214},
                                       {250, 255}, {300, 306}, {350, 351}, {354, 355}, {400, 414},
                                       {450, 455}, {500, 501}, {504, 505}, {550, 550}, {554, 554}};
  int count = 0;
  for (int code = 1; code <= 700; ++code) {
    const bool is_valid = std::ranges::any_of(
        valid, [=](auto range) { return code >= range.first && code <= range.second; });
    EXPECT_EQ(rig.Run(code) != 99, is_valid) << code;
    count += is_valid;
  }
  EXPECT_EQ(count, 96);
  rig.TakeLog();
  EXPECT_EQ(rig.Run(SHRT_MAX), 99);
  EXPECT_EQ(rig.TakeLog(), Lines{"WARN  OnProcessOp: Invalid opertaion 32767"});
}

TEST_F(Operations, OtherCodesAreLeftAloneAndTheReplyWraps) {
  Vek().OnProcessOp();  // no areas
  Start();
  EXPECT_EQ(rig.Run(1), 100);
  EXPECT_EQ(rig.Get<std::uint16_t>(rig.kReply), 64);
  rig.TakeLog();
  for (const std::int16_t code : std::initializer_list<std::int16_t>{0, -5, SHRT_MIN}) {
    shared::store<std::int16_t>(rig.udp, {rig.kCode}, code);
    rig.vek.OnProcessOp();
    EXPECT_EQ(rig.Get<std::int16_t>(rig.kCode), code);
    EXPECT_EQ(rig.Get<std::uint16_t>(rig.kReply), 64);
  }
  EXPECT_TRUE(rig.TakeLog().empty());
}

// --- Parameters ---

TEST_F(Operations, ParametersAreReadAndSet) {
  struct Row {
    int code, value;
    float number;
    std::string text;
    int status;
    std::string text_then;
    Lines lines;
    int value_then = value;
    float number_then = number;
  };
  const std::string long_name = "X.Aaaaaaaaaaaaaaaaaaaaaaaaaaaa";  // 30 characters
  const std::string long_key = long_name.substr(2), no_dot(30, 'x');
  const auto done = [](const std::string& text) { return Lines{"INFO  OnProcessOp: " + text}; };
  const auto bad = [](int code, const std::string& name) {
    return Lines{User("WARN  ", code, name.c_str())};
  };
  const auto unset = [](auto... names) { return Lines{User("WARN  ", 8, names...)}; };
  const auto absent = [](auto... names) {
    return Lines{User("ERROR ", 2, names...), User("WARN  ", 10, names...)};
  };
  const std::string offset = "R.L.L1.EncOffset", vel = "R.A0.L1.BASIC.VelMax";
  const std::string int32 = " ZQ_INT32 param ", real = " ZQ_FLOAT param ";
  const Row rows[] = {
      {1, 12, 0, offset, 0, "R.L.L1", done("Set" + int32 + offset + " = 12 success")},
      {3, 0, 0, offset, 0, "R.L.L1", done("Get" + int32 + offset + " = 12 success"), 12},
      {2, 7, 0.1F, vel, 0, "R.A0.L1.BASIC", done("Set" + real + vel + " = 0.100000 success")},
      {4, 7, 0, vel, 0, "R.A0.L1.BASIC", done("Get" + real + vel + " = 0.100000 success"), 7, 0.1F},
      {5, 7, 0, vel, 0, "0.1", done("Get ZQ_STRING param " + vel + " = 0.1 success")},
      {3, 1, 0, long_name, 0, "X", done("Get" + int32 + long_name + " = 5 success"), 5},
      // No dot: the text is as it was.
      {1, 1, 0, "NoDot", 100, "NoDot", bad(7, "NoDot")},
      {2, 1, 0, "", 100, "", bad(7, "")},
      {3, 1, 0, no_dot, 100, no_dot, bad(9, no_dot)},
      // No key: nothing changes, and nothing is wrong.
      {1, 1, 0, "X.Other", 0, "X", done("Set" + int32 + "X.Other = 1 success")},
      {3, 1, 0, "X.Other", 0, "X", done("Get" + int32 + "X.Other = 0 success"), 0},
      {4, 1, 2, "X.", 0, "X", done("Get" + real + "X. = 0.000000 success"), 1, 0},
      {5, 1, 0, "X.Other", 0, "", done("Get ZQ_STRING param X.Other =  success")},
      // No section.
      {1, 1, 0, "Y.A", 200, "Y", unset("Y", "A")},
      {2, 1, 2, ".A", 200, "", unset("", "A")},
      {3, 1, 0, "Y.A", 200, "Y", absent("Y", "A")},
      {4, 1, 2, "Y.A", 200, "Y", absent("Y", "A")},
      {5, 1, 0, "..A", 200, ".", absent(".", "A")},
  };
  Start("[X]\n" + long_key + "=5\n");
  const std::string file = rig.Ini();
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.code) + " " + row.text);
    EXPECT_EQ(rig.Run(row.code, row.value, row.text, row.number), row.status);
    EXPECT_EQ(rig.Get<int>(rig.kValue), row.value_then);
    EXPECT_EQ(rig.Get<float>(rig.kFloat), row.number_then);
    EXPECT_EQ(rig.Text(), row.text_then);
    EXPECT_EQ(rig.TakeLog(), row.lines);
  }
  EXPECT_EQ(shared::load(rig.cfg, SHARED_FIELD(CfgConfig, arm[0].joint[1].VelMax)), 0.1F);
  EXPECT_EQ(rig.Ini(), file);  // until it is saved
  EXPECT_EQ(rig.Run(6), 0);
  EXPECT_EQ(rig.TakeLog(), done("Save robot.ini success"));
  EXPECT_NE(rig.Ini().find("\nVelMax=0.1\n"), std::string::npos);
}

TEST_F(Operations, LongTextsRunOnToTheEndOfTheArea) {
  std::string text;
  for (int k = 0; text.size() < 1200; ++k) text += std::to_string(k) + ' ';
  Start("[X]\nA=" + text.substr(0, 45) + "\nB=" + text + "\n");
  for (const auto& [name, stored] :
       {std::pair("X.A", text.substr(0, 45) + '\0'), std::pair("X.B", text.substr(0, 996))}) {
    EXPECT_EQ(rig.Run(5, 0, name), 0);
    std::string expected = stored;
    expected.replace(40, 2, stored, 38, 2);  // the reply, from the op_seq that the text wrote
    EXPECT_EQ(rig.Bytes(rig.kText, stored.size()), expected);
    EXPECT_EQ(rig.TakeLog().size(), 1U);
  }
}

TEST_F(Operations, ADocumentThatWasNeverReadIsNotSaved) {
  rig.root.Remove("/home/QUARLE/Config/cfg/robot.ini");
  rig.Init();
  rig.root.CopySampleIni();
  rig.TakeLog();
  const std::string file = rig.Ini();
  EXPECT_EQ(rig.Run(6), 100);
  EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 11)});
  EXPECT_EQ(rig.Run(504, 0), 200);
  EXPECT_EQ(rig.TakeLog()[1], "WARN  OnProcessOp: Failed to save robot.ini");
  EXPECT_EQ(rig.Ini(), file);
}

// --- The system ---

struct SystemOperations : Operations {
  SystemOperations() {
    setenv("TZ", "UTC", 1);
    Start();
  }
  // The host's commands since the last call.
  std::string TakeCommands() {
    const std::string all = rig.root.Read("/var/commands.log");
    std::string fresh = all.substr(taken_);
    taken_ = all.size();
    return fresh;
  }

 private:
  std::size_t taken_ = 0;
};

TEST_F(SystemOperations, VersionsAndCycleTime) {
  shared::store(rig.sys, SHARED_FIELD(SysInfo, version_word), 0x40500U);
  const std::string cycle_time = "_PD_CMD_CYCLE_TIME success, PD_CYCLE_TIME = ";
  const auto line = [](const std::string& text) {
    return "INFO  OnProcessOp: OPINS_SYSTEM_" + text;
  };
  const struct {
    int code, value, result;
    std::string line;
  } rows[] = {
      {12, 3, 0x40500, line("GET_VERSION")},
      {13, 0x405ff, 1, line("CHECK_VERSION pass, sdk version is 0x000405ff")},
      {13, 0x40600, 0, User("WARN  ", 13, 0x40500, 0x40600)},
      {13, INT_MIN + 0x40500, 0, User("WARN  ", 13, 0x40500, INT_MIN + 0x40500)},
      {14, 25, 25, line("SET" + cycle_time + "20")},
      {15, 1, 20, line("GET" + cycle_time + "20")},
      {14, INT_MIN, INT_MIN, line("SET" + cycle_time + "0")},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(rig.Run(row.code, row.value), 0);
    EXPECT_EQ(rig.Get<int>(rig.kValue), row.result);
    EXPECT_EQ(rig.TakeLog(), Lines{row.line});
  }
  EXPECT_EQ(Word<int>(rig.sys, 876), 0);
}

TEST_F(SystemOperations, SetTime) {
  const std::string success = "INFO  OnProcessOp: OPINS_SYSTEM_SET_TIME success, time is ";
  const std::pair<std::string, const char*> accepted[] = {
      {"2026-11-21 12:00:00", "1795262400"},
      {"2026-02-30 00:00:00", "1772409600"},
      {" 2026-11-21  12:0:0 and so on ", "1795262400"},
      {"12026-01-01 00:00:00", "317336745600"},
      {"2147483647-12-31 23:59:59", "67767976233532799"},
  };
  for (const auto& [text, seconds] : accepted) {
    EXPECT_EQ(rig.Run(16, 0, text), 0);
    EXPECT_EQ(TakeCommands(), std::string("settimeofday ") + seconds + "\n");
    EXPECT_EQ(rig.TakeLog(), Lines{success + text});
  }
  for (const char* text : {"2026-11-21 12:00", "", "1969-12-31 23:59:59", "99999999999-1-1 0:0:0",
                           "-2147483648-1-1 0:0:0", "2026--2147483648-1 0:0:0",
                           "2026-1-1 4294967296:0:0", "2026-1-1 0:0:99999999999999999"}) {
    EXPECT_EQ(rig.Run(16, 0, text), 100);
    EXPECT_EQ(TakeCommands(), "");
    EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 14, text)});
  }
  rig.root.Remove("/dev/rtc0");
  EXPECT_EQ(rig.Run(16, 0, accepted[0].first), 300);
  EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 15)});
  setenv("VEK_FAIL", "settimeofday", 1);
  EXPECT_EQ(rig.Run(16, 0, accepted[0].first), 200);
  EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 15)});
}

TEST_F(SystemOperations, GetTimeIsBounded) {
  std::memset(&Word<char>(rig.sys, 140992), 't', 512);
  EXPECT_EQ(rig.Run(17), 0);
  EXPECT_EQ(rig.Text(), std::string(29, 't'));
  EXPECT_EQ(rig.TakeLog(), Lines{"INFO  OnProcessOp: OPINS_SYSTEM_GET_TIME success, time is " +
                                 std::string(29, 't')});
}

TEST_F(SystemOperations, SetAddress) {
  const char* const path = "/etc/network/interfaces";
  const struct {
    const char *typed, *written, *gateway;
  } accepted[] = {
      {"192.168.1.20", "192.168.1.20", "192.168.1.1"},
      {"0.1.2.3", "0.1.2.3", "0.1.2.1"},
      {"010.0.0.5", "010.0.0.5", "10.0.0.1"},
      {"1.2.3.4.5", "1.2.3.4.5", "1.2.3.1"},
      {" 10.+0.0.5", "10.0.0.5", "10.0.0.1"},
      {"10.0.0.5\nup reboot", "10.0.0.5", "10.0.0.1"},
      {"1.2.3.000000000000099999999999", "1.2.3.0000000000000", "1.2.3.1"},  // 19 characters count
  };
  for (const auto& [typed, written, gateway] : accepted) {
    EXPECT_EQ(rig.Run(18, 0, typed), 0);
    EXPECT_EQ(TakeCommands(), "mount -o remount rw /\nmount -o remount r /\n");
    EXPECT_EQ(rig.root.Read(path),
              std::string("auto lo\niface lo inet loopback\nauto eth3\niface eth3 inet static\n") +
                  "address " + written + "\nnetmask 255.255.255.0\ngateway " + gateway +
                  "\ndns-nameservers 8.8.8.8\n");
    EXPECT_EQ(rig.TakeLog(),
              Lines{std::string("INFO  OnProcessOp: OPINS_SYSTEM_SET_IP success, ") + written});
  }
  rig.root.Write(path, "before");
  for (const char* typed :
       {"10.0.0", "10.0.0.", "", "10.0.0.256", "10.0.-1.1", "0.0.0.0", "127.1.2.3",
        "255.255.255.255", "4294967306.0.0.1", "10.0.0.99999999999999999999999"}) {
    EXPECT_EQ(rig.Run(18, 0, typed), 100);
    EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 14, typed)});
  }
  EXPECT_EQ(TakeCommands(), "");
  EXPECT_EQ(rig.root.Read(path), "before");
}

TEST_F(SystemOperations, ANetworkFileThatCannotBeWritten) {
  const std::filesystem::path file = rig.root.Path("/etc/network/interfaces");
  setenv("VEK_FAIL", "mount", 1);  // no matter
  std::filesystem::create_directory(file);
  EXPECT_EQ(rig.Run(18, 0, "10.0.0.5"), 200);
  EXPECT_EQ(TakeCommands(), "mount -o remount rw /\n");
  std::filesystem::remove(file);
  std::filesystem::create_symlink("/dev/full", file);
  EXPECT_EQ(rig.Run(18, 0, "10.0.0.5"), 200);
  EXPECT_EQ(TakeCommands(), "mount -o remount rw /\nmount -o remount r /\n");
  const std::string line = User("WARN  ", 17, "/etc/network/interfaces");
  EXPECT_EQ(rig.TakeLog(), (Lines{line, line}));
}

TEST_F(SystemOperations, GetAddress) {
  EXPECT_EQ(rig.Run(19, 0, std::string(30, 'x')), 0);
  EXPECT_LE(rig.Text().size(), 28U);
  EXPECT_EQ(rig.Text().find('x'), std::string::npos);
  EXPECT_EQ(rig.TakeLog().size(), 1U);
  for (const char* call : {"hostname", "popen"}) {
    rig.TakeLog();
    setenv("VEK_FAIL", call, 1);
    EXPECT_EQ(rig.Run(19, 0, "as it was"), 100);
    EXPECT_EQ(rig.Text(), "as it was");
    EXPECT_EQ(rig.TakeLog(), Lines{User("WARN  ", 18)});
  }
  EXPECT_EQ(TakeCommands(), "");
}

TEST_F(SystemOperations, UpdateFlagAndReboot) {
  EXPECT_EQ(rig.Run(10), 0);
  EXPECT_TRUE(std::filesystem::exists(rig.root.Path("/home/QUARLE/Tmp/UpdateFlag")));
  EXPECT_EQ(TakeCommands(), "touch /home/QUARLE/Tmp/UpdateFlag && sync\n");
  EXPECT_EQ(rig.TakeLog(), Lines{"INFO  OnProcessOp: Set update flag success"});
  EXPECT_EQ(rig.Run(11), 0);
  EXPECT_EQ(TakeCommands(), "sync && reboot\n");
  std::jthread quit([] {
    usleep(50'000);
    g_exit = true;
  });
  EXPECT_EQ(rig.Run(11), 200);
  EXPECT_EQ(TakeCommands(), "");
  EXPECT_EQ(rig.TakeLog(), (Lines{User("WARN  ", 12), User("WARN  ", 12)}));
}

}  // namespace
