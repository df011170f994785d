// The operations of the mailbox as data: one row for each kind (two where the lift differs), from
// which the dispatcher finds its handler, its checks and its messages, vekctl its commands and
// docs/operations.md its page.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
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

// When an operation logs a message.
enum class OperationEvent {
  Started,
  Ignored,      // there is nothing to do
  Busy,         // a servo has not answered an earlier command
  Rejected,     // an argument or the group's state does not allow it
  Skipped,      // one axis is left out
  StageFailed,  // a stage that has a status of its own
  Failed,
  Done,
};

// What every free text begins with: it fills the format's first "%s".
inline constexpr char kOperationLogPrefix[] = "OnProcessOp";
// Logged beside the operation's own messages, without that prefix.
inline constexpr char kServoBusyText[] = "Servo %d is busy";
inline constexpr char kServosFailedText[] = "%d servos failed to process cmd";

struct OperationText {
  enum class Level { None, Info, Warn } level = Level::None;
  const char* format = nullptr;  // a free text; null: the user message of the code
  int user_code = 0;
  // What the page calls the arguments (behind the prefix), one word each: GROUP and NAME are the
  // operation's, others stand as they are.
  const char* arguments = "";
};

struct OperationMessage {
  OperationEvent event;
  OperationStatus status;  // that the operation ends with, if the event ends it
  const char* when;        // the event in words
  OperationText text;
  unsigned groups = ~0U;             // those that log it
  const char* group_name = nullptr;  // said in place of the group's own
  const char* name_suffix = "";      // said behind the operation's name
};

// The axes whose command words an operation writes.
enum class ServoTarget {
  None,
  AllAxes,
  MaskedAxes,       // bit j of op_value: axis j
  MaskedIdleAxes,   // the same without enabled axes
  AddressedSensor,  // the word of the sensor's number, with op_value as the argument
};

// A command that is written and waited for.
struct ServoStage {
  std::int32_t command = 0;  // SERVO_CMD_…; 0: no stage
  OperationEvent failure = OperationEvent::Failed;
};

inline constexpr int kAnyState = -1;

struct OperationRow {
  OperationKind kind{};
  OperationFamily family{};
  int code = 0;                // that of a group's operation counts from the group's base
  int count = 1;               // consecutive codes: 8 for the sensors
  unsigned groups = 0;         // bit g: group g has it; 0: no group's operation
  const char* name = nullptr;  // behind "OPINS_" and the group: "BRAKE_LOCK"; null: it has none
  // Its word at a shell where there is no name ("disable-soft-limit"), else null.
  const char* command = nullptr;
  const char* about = "";  // what it does, a sentence
  OperationValue value = OperationValue::None;
  int index_limit = 0;  // an Index is below
  const char* value_meaning = "";
  const char* text = nullptr;  // what op_text holds, as vekctl and the page call it; null: nothing
  bool takes_float = false;    // op_float is an argument
  OperationResult result = OperationResult::None;
  const char* result_meaning = "";
  const char* precondition = "";   // beside the group's state, idle servos and the index
  int required_state = kAnyState;  // group_state, looked at before anything else
  std::array<ServoStage, 2> stages{};
  ServoTarget target = ServoTarget::None;
  shared::Field<std::uint32_t> GroupSysFields::*word = nullptr;  // that a query reads
  std::span<const OperationMessage> messages;
};

// The rows of a family, by ascending code but for those of the lift.
std::span<const OperationRow> OperationRows(OperationFamily family);

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
