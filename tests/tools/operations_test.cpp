// Every operation of the mailbox, asked for by this process of a Vek and a servo task of their own:
// done, rejected and failed wherever it can be.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/mailbox.h"
#include "vek/operation_table.h"

namespace {

using enum OperationKind;

constexpr double kTimeout_s = 60;
constexpr std::int32_t kFault = 77;
const std::string kIni = "/home/QUARLE/Config/cfg/robot.ini";
const std::string kNetwork = "/etc/network/interfaces";

struct Request {
  const char* text = "";
  std::int32_t value = 0;
  float real = 0;
};

// What to ask an operation for so that it is done, rejected (status 100) and failed.
struct Row {
  OperationKind kind;
  Request good = {};
  std::optional<Request> rejected = {};
  std::optional<Request> failed = {};
  int failure = OP_FAILED;
};

constexpr Request Name(const char* name) {
  return {.text = name};
}
constexpr Request kAxis0{.value = 1};
constexpr Request kServo0{.value = 0};
constexpr Request kNoServo{.value = 8};

constexpr Row kRows[] = {
    {SetInt32, {.text = "R.A0.BASIC.Dof", .value = 7}, Name("Dof"), Name("R.A2.BASIC.Dof")},
    {SetFloat, {.text = "R.A0.L0.BASIC.VelMax", .real = 2.5F}, Name(""), Name("R.NONE.X")},
    {GetInt32, Name("R.BASIC.BusFreq"), Name("BusFreq"), Name(".BusFreq")},
    {GetFloat, Name("R.A0.L0.BASIC.VelMax"), Name("VelMax"), Name("VelMax.")},
    {GetString, Name("R.BASIC.Name"), Name("Name"), Name("R.Name")},
    {SaveRobotIni, {}, {}, Request{}, OP_REJECTED},
    {SetUpdateFlag},
    {Reboot},
    {GetVersion},
    {CheckVersion, {.value = 0x40512}},
    {SetCycleTime, {.value = 25}},
    {GetCycleTime},
    {SetTime, Name("2026-11-21 12:00:00"), Name("noon"), Name("2026-11-21 12:00:00")},
    {GetTime},
    {SetIp, Name("10.0.0.5"), Name("10.0.0.256"), Name("10.0.0.5")},
    {GetIp, {}, {}, Request{}, OP_REJECTED},
    {Reset, {}, Request{}, Request{}},
    {LiftReset, {}, Request{}, Request{}, OP_STAGE_FAILED},
    {DisableSoftLimit, {.value = 0x41}, kAxis0},
    {BrakeLock, kAxis0, kAxis0, kAxis0},
    {BrakeUnlock, kAxis0, kAxis0, kAxis0},
    {ResetSingleTurn, kAxis0, kAxis0, kAxis0},
    {ClearEncoderError, kAxis0, kAxis0, kAxis0},
    {ResetMultiTurn, kAxis0, kAxis0, kAxis0},
    {SetSensorOffset, {.value = -5}, kAxis0, kAxis0},
    {ResetLiftOffset, {.value = 3}, Request{.value = 0x80}, Request{.value = 3}},
    {GetErrorCode, kServo0, kNoServo},
    {GetFirmwareVersion, kServo0, kNoServo},
    {GetSensorVersion, kServo0, kNoServo},
    {GetSensorSerial, kServo0, Request{.value = -1}},
    {GetPhysicState},
    {GetConfigVersion, kServo0, kNoServo},
};

// A root, a servo task with eight axes everywhere, and a Vek.
class Operations : public testing::Test {
 protected:
  Operations() {
    setenv("TZ", "UTC", 1);
    root_.MakeAreas();
    root_.CopySampleIni();
    // A text that runs over the reply, and a section that the lift's last axis then lacks.
    std::string ini = root_.Read(kIni);
    ini.insert(ini.find("\nName="), "\nLong=0123456789012345678901234567890123456789abcd");
    const std::size_t begin = ini.find("[R.L.L7]");
    root_.Write(kIni, ini.erase(begin, ini.find('[', begin + 1) - begin));
    drusim_.emplace("drusim",
                    std::vector<std::string>{"--control", root_.Path("/control"), "--servo-delay",
                                             "1", "--axes", "arm0=8,arm1=8,head=8,body=8,lift=8"});
    StartVek();
    mailbox_.emplace();
    sys_.emplace(kSysInfoArea);
  }
  ~Operations() override { EXPECT_EQ(drusim_->Stderr().find("control:"), std::string::npos); }

  void StartVek() {
    vek_.emplace("vek");
    EXPECT_TRUE(vek_->WaitForText("Vek is running...")) << vek_->Stderr();
  }

  // Lets drusim act and waits until it has.
  void Act(const std::string& lines) {
    constexpr shared::Field<std::uint32_t> kMark{24000};
    const std::string mark = std::to_string(++marks_);
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(root_.Path("/control")); }));
    std::ofstream(root_.Path("/control")) << lines + "\nset sysinfo 24000 u32 " + mark + "\n"
                                          << std::flush;
    ASSERT_TRUE(WaitUntil([&] { return shared::load(sys_->get(), kMark) == marks_; }));
  }
  void ActOnAll(const std::string& action, const std::string& rest) {
    for (const GroupRow& group : kGroups) {
      for (int axis = 0; axis < AREA_AXES; ++axis) {
        Act(Text(action, ' ', group.key, ' ', axis, ' ', rest));
      }
    }
  }
  void MakeBusy(int word) {
    for (const GroupRow& group : kGroups) shared::store(sys_->get(), group.sys.servo_cmd, word, 7);
  }

  OperationReply Ask(int code, const Request& request) {
    const auto& [text, value, real] = request;
    return mailbox_->Ask({.code = code, .text = text, .value = value, .real = real}, kTimeout_s);
  }
  // Asks all operations for what `request` gives of their rows.
  int AskAll(const std::function<std::optional<Request>(const Row&)>& request,
             const std::function<int(const Row&)>& status) {
    int asked = 0;
    for (const Operation& operation : AllOperations()) {
      const Row& row = kRows[static_cast<std::size_t>(operation.row->kind)];
      EXPECT_EQ(row.kind, operation.row->kind);
      const std::optional<Request> wanted = request(row);
      if (!wanted) continue;
      const OperationReply reply = Ask(operation.Code(), *wanted);
      EXPECT_EQ(reply.status, status(row)) << operation.Command() << ": " << reply.trouble;
      ++asked;
    }
    return asked;
  }

  TempRoot root_;
  std::optional<ChildProcess> drusim_, vek_;
  std::optional<Mailbox> mailbox_;
  std::optional<AreaView> sys_;
  std::uint32_t marks_ = 0;
};

TEST_F(Operations, AreDoneRejectedAndFailed) {
  EXPECT_EQ(AskAll([](const Row& row) { return std::optional(row.good); },
                   [](const Row&) { return OP_DONE; }),
            96);
  EXPECT_EQ(Ask(3, Name("R.A0.BASIC.Dof")).value, 7);
  EXPECT_EQ(Ask(4, Name("R.A0.L0.BASIC.VelMax")).real, 2.5F);
  EXPECT_EQ(Ask(5, Name("R.A0.L0.BASIC.VelMax")).text, "2.5");
  EXPECT_EQ(Ask(13, {.value = 0x40600}).value, 0);
  EXPECT_EQ(Ask(15, {}).value, 20);
  EXPECT_NE(root_.Read(kIni).find("VelMax=2.5\n"), std::string::npos);
  EXPECT_NE(root_.Read(kNetwork).find("address 10.0.0.5\n"), std::string::npos);
  EXPECT_EQ(root_.Read("/var/commands.log"),
            "touch /home/QUARLE/Tmp/UpdateFlag && sync\nsync && reboot\n"
            "settimeofday 1795262400\nmount -o remount rw /\nmount -o remount r /\n");

  // All groups in ERROR, with a servo that has not answered.
  ActOnAll("fault", std::to_string(kFault));
  Act("answer off");
  MakeBusy(3);
  EXPECT_EQ(
      AskAll([](const Row& row) { return row.rejected; }, [](const Row&) { return OP_REJECTED; }),
      82);
  EXPECT_EQ(Ask(550, {.value = 1}).value, kFault);
  EXPECT_EQ(Ask(550, {.value = 2}).status, OP_REJECTED) << "the lift has two servos";

  // Servos that fail, and a host that does.
  MakeBusy(0);
  ActOnAll("fail", "on");
  Act("answer on");
  vek_->Signal(SIGINT);
  EXPECT_EQ(vek_->Wait(), 0);
  setenv("VEK_FAIL", "settimeofday,popen", 1);
  StartVek();
  std::filesystem::rename(root_.Path(kIni), root_.Path("/ini"));
  root_.Write(kIni + "/folder", "");
  root_.Remove(kNetwork);
  mkfifo(root_.Path(kNetwork).c_str(), 0600);
  EXPECT_EQ(
      AskAll([](const Row& row) { return row.failed; }, [](const Row& row) { return row.failure; }),
      60);
}

TEST_F(Operations, OtherCodesAreInvalid) {
  int invalid = 0;
  for (int code = 1; code <= 700; ++code) {
    if (FindOperation(code)) continue;
    ASSERT_EQ(Ask(code, {}).status, OP_INVALID_CODE) << code;
    ++invalid;
  }
  EXPECT_EQ(invalid, 604);
}

// What vekctl says and how it ends.
TEST_F(Operations, AreToldInWordsAndAsJson) {
  const auto run = [](const char* command) {
    const auto words = Words(command);
    return RunProgram("vekctl", {words.begin(), words.end()});
  };
  const struct {
    int status;
    const char* command;
    const char* said;
  } cases[] = {
      {1, "version 0x40600 --json",
       R"({"code":13,"name":"system-check-version","status":0,"outcome":"not accepted","value":0})"},
      {0, "version", "0x00040500"},
      {1, "ip set 127.0.0.1", "vekctl: address: rejected (Vek's log tells why)"},
      {0, "param get R.BASIC.Long",
       "0123456789012345678901234567890123456789??cd\nvekctl: warning: characters 41 and 42 are "
       "unknown (?\?): the reply lies there; a value of 40 or 41 characters ends there"},
      {0, "gpio set 6 0x80000000", "input 6: level -2147483648"},
      {2, "--host gpio get 6", "vekctl: gpio plays the levels of a root: never on the real paths"},
      {2, "param set R.A0.BASIC.Dof 1 --type float", "vekctl: R.A0.BASIC.Dof: is of type int"},
      {2, "param set R.BASIC.Name x",
       "vekctl: R.BASIC.Name: is a text, and no operation sets texts"},
      {1, "param set R.B.BASIC.No 5",
       "vekctl: R.B.BASIC.No: nothing changed: its section has no such key"},
      {0, "param set R.B.CTRL.ISFrequency 1.2345678",
       "R.B.CTRL.ISFrequency: set to 1.23457, which is how robot.ini will hold 1.2345678"},
      {0, "param diff", "R.B.CTRL.ISFrequency  0 -> 1.23457"},
      {0, "param save", "robot.ini: saved"},
      {0, "param diff --json", "[]"},
      {0, "param set R.B.CTRL.ISFrequency 0", "R.B.CTRL.ISFrequency: set to 0"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = run(c.command);
    EXPECT_EQ(outcome.status, c.status) << c.command;
    EXPECT_EQ(outcome.out + outcome.err, std::string(c.said) + '\n');
  }
  EXPECT_EQ(run("state body POSITION").status, 0);
  const Outcome refused = run("param set R.B.CTRL.ISFrequency 8");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find(": not from 0 while the body streams"), std::string::npos);
  EXPECT_EQ(run("param set R.B.CTRL.ISFrequency 8 --force").status, 0);
  root_.Remove(kIni);
  EXPECT_EQ(run("param diff").err, "vekctl: " + kIni + ": cannot be read\n");
}

}  // namespace
