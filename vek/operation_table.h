// The operations of the mailbox as data: one row for each kind, from which the dispatcher finds its
// handler, vekctl its commands and docs/operations.md its page.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vek/groups.h"

// What is added to op_seq in the reply.
enum OperationStatus : int {
  OP_DONE = 0,
  OP_INVALID_CODE = 99,
  OP_REJECTED = 100,     // before anything was done
  OP_FAILED = 200,       // executed, and failed
  OP_STAGE_FAILED = 300  // the first stage of the lift's reset; the last one of setting the time
};

enum class OperationKind {
  SetInt32,
  SetFloat,
  GetInt32,
  GetFloat,
  GetString,
  SaveRobotIni,
  SetUpdateFlag,
  Reboot,
  GetVersion,
  CheckVersion,
  SetCycleTime,
  GetCycleTime,
  SetTime,
  GetTime,
  SetIp,
  GetIp,
  Reset,
  LiftReset,
  DisableSoftLimit,
  BrakeLock,
  BrakeUnlock,
  ResetSingleTurn,
  ClearEncoderError,
  ResetMultiTurn,
  SetSensorOffset,
  ResetLiftOffset,
  GetErrorCode,
  GetFirmwareVersion,
  GetSensorVersion,
  GetSensorSerial,
  GetPhysicState,
  GetConfigVersion,
};

enum class OperationFamily { Parameter, System, Group };
// What op_value means to an operation.
enum class OperationValue { None, Number, AxisMask, Index };
// Where an operation leaves its result.
enum class OperationResult { None, Value, Float, Text };

struct OperationRow {
  OperationKind kind{};
  OperationFamily family{};
  int code = 0;                // that of a group's operation counts from the group's base
  int count = 1;               // consecutive codes: 8 for the sensors
  unsigned groups = 0;         // bit g: group g has it; 0: no group's operation
  const char* name = nullptr;  // behind "OPINS_" and the group: "BRAKE_LOCK"; null: it has none
  // Its word at a shell where there is no name ("disable-soft-limit"), else null.
  const char* command = nullptr;
  OperationValue value = OperationValue::None;
  const char* text = nullptr;  // what op_text holds, as vekctl and the page call it; null: nothing
  bool takes_float = false;    // op_float is an argument
  OperationResult result = OperationResult::None;
};

// One of the 96 codes.
struct Operation {
  const OperationRow* row;
  const GroupRow* group;  // null: no group's
  int sensor;             // 0..7, 0 when the row counts no sensors

  int Code() const;
  // "OPINS_ARM0_BRAKE_LOCK"; empty when it has no name.
  std::string Name() const;
  // "arm0-brake-lock", "system-reboot": the name, in the shell's manner.
  std::string Command() const;
};

// The operation of a code, if there is one.
std::optional<Operation> FindOperation(int code);
// All operations of a command: none, one, or one for each sensor.
std::vector<Operation> FindOperations(std::string_view command);
// All of them, by ascending code.
std::vector<Operation> AllOperations();
