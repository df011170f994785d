#include <climits>
#include <cstdlib>
#include <filesystem>

#include "tests/vek/operation_rig.h"

namespace {

struct Operations : testing::Test {
  OperationRig rig;
};

TEST_F(Operations, OtherCodesAreLeftAloneAndTheReplyWraps) {
  Vek().OnProcessOp();  // no areas
  rig.Start();
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
  rig.Check(99, {"WARN  OnProcessOp: Invalid opertaion 32767"}, SHRT_MAX);
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
  const std::string offset = "R.L.L1.EncOffset", vel = "R.A0.L1.BASIC.VelMax";
  const std::string int32 = " ZQ_INT32 param ", real = " ZQ_FLOAT param ";
  const Row rows[] = {
      {1, 12, 0, offset, 0, "R.L.L1", done("Set" + int32 + offset + " = 12 success")},
      {3, 0, 0, offset, 0, "R.L.L1", done("Get" + int32 + offset + " = 12 success"), 12},
      {2, 7, 0.1F, vel, 0, "R.A0.L1.BASIC", done("Set" + real + vel + " = 0.100000 success")},
      {4, 7, 0, vel, 0, "R.A0.L1.BASIC", done("Get" + real + vel + " = 0.100000 success"), 7, 0.1F},
      {3, 1, 0, long_name, 0, "X", done("Get" + int32 + long_name + " = 5 success"), 5},
      // No dot: the text is as it was.
      {1, 1, 0, "NoDot", 100, "NoDot", {User("WARN  ", 7, "NoDot")}},
      {3, 1, 0, no_dot, 100, no_dot, {User("WARN  ", 9, no_dot.c_str())}},
      // No key: nothing changes, and nothing is wrong.
      {1, 1, 0, "X.Other", 0, "X", done("Set" + int32 + "X.Other = 1 success")},
      {4, 1, 2, "X.", 0, "X", done("Get" + real + "X. = 0.000000 success"), 1, 0},
      {5, 1, 0, "X.Other", 0, "", done("Get ZQ_STRING param X.Other =  success")},
      // No section.
      {2, 1, 2, ".A", 200, "", {User("WARN  ", 8, "", "A")}},
      {5, 1, 0, "..A", 200, ".", {User("ERROR ", 2, ".", "A"), User("WARN  ", 10, ".", "A")}},
  };
  rig.Start("[X]\n" + long_key + "=5\n");
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
  rig.Check(0, done("Save robot.ini success"), 6);
  EXPECT_NE(rig.Ini().find("\nVelMax=0.1\n"), std::string::npos);
}

TEST_F(Operations, LongTextsRunOnToTheEndOfTheArea) {
  std::string text;
  for (int k = 0; text.size() < 1200; ++k) text += std::to_string(k) + ' ';
  rig.Start("[X]\nA=" + text.substr(0, 45) + "\nB=" + text + "\n");
  for (const auto& [name, stored] :
       {std::pair("X.A", text.substr(0, 45) + '\0'), std::pair("X.B", text.substr(0, 996))}) {
    EXPECT_EQ(rig.Run(5, 0, name), 0);
    std::string expected = stored;
    expected.replace(40, 2, stored, 38, 2);  // the reply, from the op_seq that the text wrote
    EXPECT_EQ(std::string(&Word<char>(rig.udp, rig.kText), stored.size()), expected);
    EXPECT_EQ(rig.TakeLog().size(), 1U);
  }
}

TEST_F(Operations, ADocumentThatWasNeverReadIsNotSaved) {
  rig.root.Remove("/home/QUARLE/Config/cfg/robot.ini");
  rig.Init();
  rig.root.CopySampleIni();
  rig.TakeLog();
  const std::string file = rig.Ini();
  rig.Check(100, {User("WARN  ", 11)}, 6);
  const std::string start = "INFO  OnProcessOp: Lift enc reset offset ...";
  rig.Check(200, {start, "WARN  OnProcessOp: Failed to save robot.ini"}, 504);
  rig.Check(100, {start, "WARN  OnProcessOp: Lift[1] enc reset offset failed"}, 504, 0b10);
  EXPECT_EQ(rig.Ini(), file);
}

// --- The system ---

struct SystemOperations : Operations {
  SystemOperations() {
    setenv("TZ", "UTC", 1);
    rig.Start();
  }
  // As of the rig; `commands` is what reaches the host.
  void Check(int status, const std::string& commands, const Lines& lines, int code,
             const std::string& text = "") {
    rig.root.Write("/var/commands.log", "");
    rig.Check(status, lines, code, 0, text);
    EXPECT_EQ(rig.root.Read("/var/commands.log"), commands) << text;
  }
  static std::string Success(const std::string& text) {
    return "INFO  OnProcessOp: OPINS_SYSTEM_" + text;
  }
};

TEST_F(SystemOperations, VersionsCycleTimeAndTheTimeThatIsTooLong) {
  const struct {
    int code, value, result;
    std::string line;
  } rows[] = {
      {13, 0x405ff, 1, Success("CHECK_VERSION pass, sdk version is 0x000405ff")},
      {13, INT_MIN + 0x40500, 0, User("WARN  ", 13, 0x40500, INT_MIN + 0x40500)},
      {14, INT_MIN, INT_MIN, Success("SET_PD_CMD_CYCLE_TIME success, PD_CYCLE_TIME = 0")},
  };
  shared::store(rig.sys, SHARED_FIELD(SysInfo, version_word), 0x40500U);
  for (const auto& row : rows) {
    rig.Check(0, {row.line}, row.code, row.value);
    EXPECT_EQ(rig.Get<int>(rig.kValue), row.result);
  }
  std::memset(&Word<char>(rig.sys, 140992), 't', 512);
  EXPECT_EQ(rig.Run(17), 0);
  EXPECT_EQ(rig.Text(), std::string(29, 't'));
}

TEST_F(SystemOperations, SetTime) {
  const std::pair<std::string, const char*> accepted[] = {
      {"2026-02-30 00:00:00", "1772409600"},
      {" 2026-11-21  12:0:0 and so on ", "1795262400"},
      {"12026-01-01 00:00:00", "317336745600"},
      {"2147483647-12-31 23:59:59", "67767976233532799"},
  };
  for (const auto& [text, seconds] : accepted) {
    Check(0, std::string("settimeofday ") + seconds + "\n",
          {Success("SET_TIME success, time is " + text)}, 16, text);
  }
  for (const char* text : {"2026-11-21 12:00", "", "1969-12-31 23:59:59", "99999999999-1-1 0:0:0",
                           "-2147483648-1-1 0:0:0", "2026--2147483648-1 0:0:0",
                           "2026-1-1 4294967296:0:0", "2026-1-1 0:0:99999999999999999"}) {
    Check(100, "", {User("WARN  ", 14, text)}, 16, text);
  }
  rig.root.Remove("/dev/rtc0");
  Check(300, "settimeofday 0\n", {User("WARN  ", 15)}, 16, "1970-1-1 0:0:0");
}

constexpr char kNetworkFile[] = "/etc/network/interfaces";
constexpr char kRemounts[] = "mount -o remount rw /\nmount -o remount r /\n";

TEST_F(SystemOperations, SetAddress) {
  const struct {
    const char* typed;
    std::string written, gateway;
  } accepted[] = {
      {"0.1.2.3", "0.1.2.3", "0.1.2.1"},
      {"010.0.0.5", "010.0.0.5", "10.0.0.1"},
      {"1.2.3.4.5", "1.2.3.4.5", "1.2.3.1"},
      {" 10.+0.0.5", "10.0.0.5", "10.0.0.1"},
      {"10.0.0.5\nup reboot", "10.0.0.5", "10.0.0.1"},
      {"1.2.3.000000000000099999999999", "1.2.3.0000000000000", "1.2.3.1"},  // 19 characters count
  };
  for (const auto& [typed, written, gateway] : accepted) {
    Check(0, kRemounts, {Success("SET_IP success, " + written)}, 18, typed);
    EXPECT_EQ(rig.root.Read(kNetworkFile),
              "auto lo\niface lo inet loopback\nauto eth3\niface eth3 inet static\naddress " +
                  written + "\nnetmask 255.255.255.0\ngateway " + gateway +
                  "\ndns-nameservers 8.8.8.8\n");
  }
  rig.root.Write(kNetworkFile, "before");
  for (const char* typed :
       {"10.0.0.", "", "10.0.0.256", "10.0.-1.1", "0.0.0.0", "127.1.2.3", "255.255.255.255",
        "4294967306.0.0.1", "10.0.0.99999999999999999999999"}) {
    Check(100, "", {User("WARN  ", 14, typed)}, 18, typed);
  }
  EXPECT_EQ(rig.root.Read(kNetworkFile), "before");
}

TEST_F(SystemOperations, ANetworkFileThatCannotBeWritten) {
  setenv("VEK_FAIL", "mount", 1);  // no matter
  std::filesystem::create_symlink("/dev/full", rig.root.Path(kNetworkFile));
  Check(200, kRemounts, {User("WARN  ", 17, kNetworkFile)}, 18, "10.0.0.5");
}

TEST_F(SystemOperations, GetAddress) {
  EXPECT_EQ(rig.Run(19, 0, std::string(30, 'x')), 0);
  EXPECT_LE(rig.Text().size(), 28U);
  EXPECT_EQ(rig.Text().find('x'), std::string::npos);
}

}  // namespace
