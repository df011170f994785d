// The rows of the parameters' and the system's operations.
#include "vek/operation_rows.h"

namespace operation_rows {
namespace {

using enum OperationKind;
using enum OperationFamily;
using enum OperationEvent;

constexpr OperationMessage BadName(int user_code) {
  return {Rejected, OP_REJECTED, "`op_text` holds no dot", WarnUser(user_code, "TEXT")};
}
constexpr OperationMessage NoSection(int user_code) {
  return {Failed, OP_FAILED, "the section is absent", WarnUser(user_code, "SECTION KEY")};
}

constexpr OperationMessage kSetInt32[] = {
    BadName(7),
    NoSection(8),
    Success(Info("%s: Set ZQ_INT32 param %s.%s = %d success", "SECTION KEY VALUE")),
};
constexpr OperationMessage kSetFloat[] = {
    BadName(7),
    NoSection(8),
    Success(Info("%s: Set ZQ_FLOAT param %s.%s = %f success", "SECTION KEY VALUE")),
};
constexpr OperationMessage kGetInt32[] = {
    BadName(9),
    NoSection(10),
    Success(Info("%s: Get ZQ_INT32 param %s.%s = %d success", "SECTION KEY VALUE")),
};
constexpr OperationMessage kGetFloat[] = {
    BadName(9),
    NoSection(10),
    Success(Info("%s: Get ZQ_FLOAT param %s.%s = %f success", "SECTION KEY VALUE")),
};
constexpr OperationMessage kGetString[] = {
    BadName(9),
    NoSection(10),
    Success(Info("%s: Get ZQ_STRING param %s.%s = %s success", "SECTION KEY VALUE")),
};
constexpr OperationMessage kSaveRobotIni[] = {
    {Failed, OP_REJECTED, "saving fails, or robot.ini was never loaded", WarnUser(11)},
    Success(Info("%s: Save robot.ini success")),
};

constexpr OperationRow kParameterRows[] = {
    {.kind = SetInt32,
     .family = Parameter,
     .code = 1,
     .name = "SET_PARAM_INT32",
     .about = "Sets a parameter and the configuration word bound to it to an integer.",
     .value = OperationValue::Number,
     .value_meaning = "the value",
     .text = "parameter",
     .messages = kSetInt32},
    {.kind = SetFloat,
     .family = Parameter,
     .code = 2,
     .name = "SET_PARAM_FLOAT",
     .about = "Sets a parameter and the configuration word bound to it to a real number.",
     .text = "parameter",
     .takes_float = true,
     .messages = kSetFloat},
    {.kind = GetInt32,
     .family = Parameter,
     .code = 3,
     .name = "GET_PARAM_INT32",
     .about = "Reads a parameter as an integer.",
     .text = "parameter",
     .result = OperationResult::Value,
     .result_meaning = "the value",
     .messages = kGetInt32},
    {.kind = GetFloat,
     .family = Parameter,
     .code = 4,
     .name = "GET_PARAM_FLOAT",
     .about = "Reads a parameter as a real number.",
     .text = "parameter",
     .result = OperationResult::Float,
     .result_meaning = "the value",
     .messages = kGetFloat},
    {.kind = GetString,
     .family = Parameter,
     .code = 5,
     .name = "GET_PARAM_STRING",
     .about = "Reads a parameter's text.",
     .text = "parameter",
     .result = OperationResult::Text,
     .result_meaning = "the text, which may run on over the fields behind `op_text`",
     .messages = kGetString},
    {.kind = SaveRobotIni,
     .family = Parameter,
     .code = 6,
     .name = "SAVE_ROBOT_INI",
     .about = "Writes the parameters as they are now to robot.ini.",
     .messages = kSaveRobotIni},
};

constexpr OperationMessage kSetUpdateFlag[] = {Success(Info("%s: Set update flag success"))};
constexpr OperationMessage kReboot[] = {
    Start(WarnUser(12)),
    {Failed, OP_FAILED, "the process is told to end within the three seconds", {}},
};
constexpr OperationMessage kGetVersion[] = {Start(Info("%s: OPINS_SYSTEM_GET_VERSION"))};
constexpr OperationMessage kCheckVersion[] = {
    {Failed, OP_DONE, "no accepted version matches", WarnUser(13, "VERSION VALUE")},
    Success(Info("%s: OPINS_SYSTEM_CHECK_VERSION pass, sdk version is 0x%08x", "VALUE")),
};
constexpr OperationMessage kSetCycleTime[] = {
    Success(Info("%s: OPINS_SYSTEM_SET_PD_CMD_CYCLE_TIME success, PD_CYCLE_TIME = %d", "VALUE"))};
constexpr OperationMessage kGetCycleTime[] = {
    Success(Info("%s: OPINS_SYSTEM_GET_PD_CMD_CYCLE_TIME success, PD_CYCLE_TIME = %d", "VALUE"))};
constexpr OperationMessage kSetTime[] = {
    {Rejected, OP_REJECTED, "`op_text` is no time", WarnUser(14, "TEXT")},
    {Failed, OP_FAILED, "the system clock cannot be set", WarnUser(15)},
    {StageFailed, OP_STAGE_FAILED, "`/dev/rtc0` cannot be opened", WarnUser(15)},
    Success(Info("%s: OPINS_SYSTEM_SET_TIME success, time is %s", "TEXT")),
};
constexpr OperationMessage kGetTime[] = {
    Success(Info("%s: OPINS_SYSTEM_GET_TIME success, time is %s", "TEXT"))};
constexpr OperationMessage kSetIp[] = {
    {Rejected, OP_REJECTED, "`op_text` is no address, or not an allowed one", WarnUser(14, "TEXT")},
    {Failed, OP_FAILED, "the network file cannot be written", WarnUser(17, "PATH")},
    Success(Info("%s: OPINS_SYSTEM_SET_IP success, %s", "ADDRESS")),
};
constexpr OperationMessage kGetIp[] = {
    {Failed, OP_REJECTED, "the addresses cannot be asked for", WarnUser(18)},
    Success(Info("%s: OPINS_SYSTEM_GET_IP success, %s", "TEXT")),
};

constexpr OperationRow kSystemRows[] = {
    {.kind = SetUpdateFlag,
     .family = System,
     .code = 10,
     .command = "system-set-update-flag",
     .about = "Touches `/home/QUARLE/Tmp/UpdateFlag`.",
     .messages = kSetUpdateFlag},
    {.kind = Reboot,
     .family = System,
     .code = 11,
     .command = "system-reboot",
     .about = "Reboots the controller after three seconds.",
     .messages = kReboot},
    {.kind = GetVersion,
     .family = System,
     .code = 12,
     .name = "SYSTEM_GET_VERSION",
     .about = "Reads the interface version.",
     .result = OperationResult::Value,
     .result_meaning = "`version_word`",
     .messages = kGetVersion},
    {.kind = CheckVersion,
     .family = System,
     .code = 13,
     .name = "SYSTEM_CHECK_VERSION",
     .about = "Compares a client's interface version, but for its lowest 8 bits, with those that "
              "are accepted.",
     .value = OperationValue::Number,
     .value_meaning = "the client's version",
     .result = OperationResult::Value,
     .result_meaning = "1 accepted, 0 not",
     .messages = kCheckVersion},
    {.kind = SetCycleTime,
     .family = System,
     .code = 14,
     .name = "SYSTEM_SET_PD_CMD_CYCLE_TIME",
     .about = "Sets `pd_cmd_cycle_time`.",
     .value = OperationValue::Number,
     .value_meaning = "ms, clamped to 0..20",
     .messages = kSetCycleTime},
    {.kind = GetCycleTime,
     .family = System,
     .code = 15,
     .name = "SYSTEM_GET_PD_CMD_CYCLE_TIME",
     .about = "Reads `pd_cmd_cycle_time`.",
     .result = OperationResult::Value,
     .result_meaning = "ms",
     .messages = kGetCycleTime},
    {.kind = SetTime,
     .family = System,
     .code = 16,
     .name = "SYSTEM_SET_TIME",
     .about = "Sets the system clock; the hardware clock keeps its time.",
     .text = "time",
     .precondition = "local time, `YEAR-MONTH-DAY HOUR:MINUTE:SECOND`",
     .messages = kSetTime},
    {.kind = GetTime,
     .family = System,
     .code = 17,
     .name = "SYSTEM_GET_TIME",
     .about = "Reads the local time.",
     .result = OperationResult::Text,
     .result_meaning = "`YYYY-MM-DD hh:mm:ss`",
     .messages = kGetTime},
    {.kind = SetIp,
     .family = System,
     .code = 18,
     .name = "SYSTEM_SET_IP",
     .about = "Writes `/etc/network/interfaces` for an address in a network of 256, with the "
              "gateway at 1; valid from the next start of networking.",
     .text = "address",
     .precondition = "four numbers 0..255 with dots in at most 19 characters; not 0.0.0.0, "
                     "127.x.x.x or 255.255.255.255",
     .messages = kSetIp},
    {.kind = GetIp,
     .family = System,
     .code = 19,
     .name = "SYSTEM_GET_IP",
     .about = "Asks for the controller's addresses (`hostname -I`).",
     .result = OperationResult::Text,
     .result_meaning = "the first 28 characters of the answer",
     .messages = kGetIp},
};

}  // namespace

constinit const std::span<const OperationRow> kParameter = kParameterRows;
constinit const std::span<const OperationRow> kSystem = kSystemRows;

}  // namespace operation_rows
