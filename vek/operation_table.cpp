#include "vek/operation_table.h"

#include <algorithm>
#include <cctype>

namespace {

using enum OperationKind;
using enum OperationFamily;

constexpr unsigned kArms = 0b00011;
constexpr unsigned kHead = 0b00100;
constexpr unsigned kBody = 0b01000;
constexpr unsigned kLift = 0b10000;
constexpr unsigned kNotLift = kArms | kHead | kBody;
constexpr unsigned kAllGroups = kNotLift | kLift;
constexpr unsigned kWithSensors = kArms | kBody;

constexpr int kSensors = 8;
constexpr int kGroupCodes = 100;  // group g's codes count from (g + 1) * 100

constexpr OperationRow kRows[] = {
    {.kind = SetInt32,
     .family = Parameter,
     .code = 1,
     .name = "SET_PARAM_INT32",
     .value = OperationValue::Number,
     .text = "parameter"},
    {.kind = SetFloat,
     .family = Parameter,
     .code = 2,
     .name = "SET_PARAM_FLOAT",
     .text = "parameter",
     .takes_float = true},
    {.kind = GetInt32,
     .family = Parameter,
     .code = 3,
     .name = "GET_PARAM_INT32",
     .text = "parameter",
     .result = OperationResult::Value},
    {.kind = GetFloat,
     .family = Parameter,
     .code = 4,
     .name = "GET_PARAM_FLOAT",
     .text = "parameter",
     .result = OperationResult::Float},
    {.kind = GetString,
     .family = Parameter,
     .code = 5,
     .name = "GET_PARAM_STRING",
     .text = "parameter",
     .result = OperationResult::Text},
    {.kind = SaveRobotIni, .family = Parameter, .code = 6, .name = "SAVE_ROBOT_INI"},

    {.kind = SetUpdateFlag, .family = System, .code = 10, .command = "system-set-update-flag"},
    {.kind = Reboot, .family = System, .code = 11, .command = "system-reboot"},
    {.kind = GetVersion,
     .family = System,
     .code = 12,
     .name = "SYSTEM_GET_VERSION",
     .result = OperationResult::Value},
    {.kind = CheckVersion,
     .family = System,
     .code = 13,
     .name = "SYSTEM_CHECK_VERSION",
     .value = OperationValue::Number,
     .result = OperationResult::Value},
    {.kind = SetCycleTime,
     .family = System,
     .code = 14,
     .name = "SYSTEM_SET_PD_CMD_CYCLE_TIME",
     .value = OperationValue::Number},
    {.kind = GetCycleTime,
     .family = System,
     .code = 15,
     .name = "SYSTEM_GET_PD_CMD_CYCLE_TIME",
     .result = OperationResult::Value},
    {.kind = SetTime, .family = System, .code = 16, .name = "SYSTEM_SET_TIME", .text = "time"},
    {.kind = GetTime,
     .family = System,
     .code = 17,
     .name = "SYSTEM_GET_TIME",
     .result = OperationResult::Text},
    {.kind = SetIp, .family = System, .code = 18, .name = "SYSTEM_SET_IP", .text = "address"},
    {.kind = GetIp,
     .family = System,
     .code = 19,
     .name = "SYSTEM_GET_IP",
     .result = OperationResult::Text},

    {.kind = Reset, .family = Group, .code = 0, .groups = kNotLift, .name = "RESET"},
    {.kind = LiftReset, .family = Group, .code = 0, .groups = kLift, .name = "RESET"},
    {.kind = DisableSoftLimit,
     .family = Group,
     .code = 1,
     .groups = kAllGroups,
     .command = "disable-soft-limit",
     .value = OperationValue::AxisMask},
    {.kind = BrakeLock,
     .family = Group,
     .code = 2,
     .groups = kNotLift,
     .name = "BRAKE_LOCK",
     .value = OperationValue::AxisMask},
    {.kind = BrakeUnlock,
     .family = Group,
     .code = 3,
     .groups = kNotLift,
     .name = "BRAKE_UNLOCK",
     .value = OperationValue::AxisMask},
    {.kind = ResetSingleTurn,
     .family = Group,
     .code = 4,
     .groups = kNotLift,
     .name = "ENC_RESET_SINGLE_TURN",
     .value = OperationValue::AxisMask},
    {.kind = ResetLiftOffset,
     .family = Group,
     .code = 4,
     .groups = kLift,
     .command = "enc-reset-offset",
     .value = OperationValue::AxisMask},
    {.kind = ClearEncoderError,
     .family = Group,
     .code = 5,
     .groups = kAllGroups,
     .name = "ENC_CLEAR_ERROR",
     .value = OperationValue::AxisMask},
    {.kind = ResetMultiTurn,
     .family = Group,
     .code = 6,
     .groups = kNotLift,
     .name = "ENC_RESET_MULTI_TURN",
     .value = OperationValue::AxisMask},
    {.kind = SetSensorOffset,
     .family = Group,
     .code = 7,
     .count = kSensors,
     .groups = kWithSensors,
     .name = "SENSORX_SET_OFFSET",
     .value = OperationValue::Number},
    {.kind = GetErrorCode,
     .family = Group,
     .code = 50,
     .groups = kAllGroups,
     .name = "SERVO_GET_ERROR_CODE",
     .value = OperationValue::Index,
     .result = OperationResult::Value},
    {.kind = GetFirmwareVersion,
     .family = Group,
     .code = 51,
     .groups = kNotLift,
     .name = "SERVO_GET_FIRMWARE_VERSION",
     .value = OperationValue::Index,
     .result = OperationResult::Text},
    {.kind = GetSensorVersion,
     .family = Group,
     .code = 52,
     .groups = kWithSensors,
     .name = "SENSOR_GET_VERSION",
     .value = OperationValue::Index,
     .result = OperationResult::Value},
    {.kind = GetSensorSerial,
     .family = Group,
     .code = 53,
     .groups = kWithSensors,
     .name = "SENSOR_GET_SERIAL",
     .value = OperationValue::Index,
     .result = OperationResult::Value},
    {.kind = GetPhysicState,
     .family = Group,
     .code = 54,
     .groups = kAllGroups,
     .name = "GET_PHYSIC_STATE",
     .result = OperationResult::Value},
    {.kind = GetConfigVersion,
     .family = Group,
     .code = 55,
     .groups = kNotLift,
     .name = "SERVO_GET_CONFIG_VERSION",
     .value = OperationValue::Index,
     .result = OperationResult::Value},
};

// Calls visit(operation) for each code of a row.
template <class Visit>
void ForEachOperation(const OperationRow& row, Visit visit) {
  if (row.groups == 0) visit(Operation{&row, nullptr, 0});
  for (const GroupRow& group : kGroups) {
    if ((row.groups >> group.index & 1) == 0) continue;
    for (int sensor = 0; sensor < row.count; ++sensor) visit(Operation{&row, &group, sensor});
  }
}

template <class Visit>
void ForEachOperation(Visit visit) {
  for (const OperationRow& row : kRows) ForEachOperation(row, visit);
}

// In capitals, or in small letters with '-' for '_'.
std::string Capitals(std::string_view text) {
  std::string changed(text);
  for (char& c : changed) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return changed;
}
std::string ShellWord(std::string_view text) {
  std::string changed(text);
  for (char& c : changed) {
    c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return changed;
}

}  // namespace

int Operation::Code() const {
  const int base = group == nullptr ? 0 : (static_cast<int>(group->index) + 1) * kGroupCodes;
  return base + row->code + sensor;
}

std::string Operation::Name() const {
  if (row->name == nullptr) return {};
  std::string name = "OPINS_";
  if (group != nullptr) name += Capitals(group->name) + '_';
  return name + row->name;
}

std::string Operation::Command() const {
  std::string command = group == nullptr ? "" : std::string(group->key) + '-';
  return command + (row->command != nullptr ? row->command : ShellWord(row->name));
}

std::optional<Operation> FindOperation(int code) {
  std::optional<Operation> found;
  ForEachOperation([&](const Operation& operation) {
    if (operation.Code() == code) found = operation;
  });
  return found;
}

std::vector<Operation> FindOperations(std::string_view command) {
  std::vector<Operation> found;
  ForEachOperation([&](const Operation& operation) {
    if (operation.Command() == command) found.push_back(operation);
  });
  return found;
}

std::vector<Operation> AllOperations() {
  std::vector<Operation> all;
  ForEachOperation([&](const Operation& operation) { all.push_back(operation); });
  std::sort(all.begin(), all.end(),
            [](const Operation& a, const Operation& b) { return a.Code() < b.Code(); });
  return all;
}
