// The rows of the groups' operations.
#include "vek/operation_rows.h"

namespace operation_rows {
namespace {

using enum OperationKind;
using enum OperationEvent;
using enum ServoTarget;

constexpr unsigned kArm0 = 0b00001;
constexpr unsigned kArms = 0b00011;
constexpr unsigned kHead = 0b00100;
constexpr unsigned kBody = 0b01000;
constexpr unsigned kLift = 0b10000;
constexpr unsigned kNotLift = kArms | kHead | kBody;
static_assert(kAllGroups == (kNotLift | kLift));
constexpr unsigned kWithSensors = kArms | kBody;

constexpr int kSlots = 8;      // servos and sensors that a query knows
constexpr int kLiftSlots = 2;  // those of the lift

// --- The groups' actions ---

constexpr OperationMessage kBusy{Busy, OP_REJECTED, "a servo is busy", WarnUser(19, "GROUP NAME")};
constexpr OperationMessage kServoFailed{Failed, OP_FAILED, "a servo fails",
                                        WarnUser(20, "GROUP NAME"), kNotLift};
// The lift's failures name the body, deliberately.
constexpr OperationMessage LiftFailed(OperationEvent event, OperationStatus status,
                                      const char* when, const char* name_suffix) {
  return {event, status, when, WarnUser(20, "GROUP NAME"), kLift, "Body", name_suffix};
}
constexpr OperationMessage kNoError{Ignored, OP_DONE, "the state is another",
                                    Warn("%s: Reset %s ignored, no error", "GROUP")};

constexpr OperationMessage kReset[] = {
    kNoError,
    kBusy,
    Start(Info("%s: Reset %s ...", "GROUP"), kNotLift & ~kArm0),  // Arm0 logs none
    kServoFailed,
    Success(InfoUser(22, "GROUP")),
};
constexpr OperationMessage kLiftReset[] = {
    kNoError,
    kBusy,
    LiftFailed(StageFailed, OP_STAGE_FAILED, "a servo fails in the first stage", "(CSP)"),
    LiftFailed(Failed, OP_FAILED, "a servo fails in the second stage", "(REST)"),
    Success(InfoUser(22, "GROUP")),
};
constexpr OperationMessage kDisableSoftLimit[] = {
    {Rejected, OP_REJECTED, "the state is another",
     Warn("%s: %s is not in idle, ignore disable soft limit command", "GROUP")},
    Success(InfoUser(23, "GROUP VALUE")),
};
constexpr OperationText kIgnoreLock =
    Warn("%s: %s.L%d is enabled, ignore brake lock command", "GROUP AXIS");
constexpr OperationText kIgnoreUnlock =
    Warn("%s: %s.L%d is enabled, ignore brake unlock command", "GROUP AXIS");
constexpr char kAxisEnabled[] = "for each axis that is enabled, addressed or not";
constexpr OperationMessage kBrakeLock[] = {
    kBusy,
    Start(Info("%s: %s brake lock, axis_mask = 0x%08x", "GROUP MASK")),
    {Skipped, OP_DONE, kAxisEnabled, kIgnoreLock},
    kServoFailed,
    Success(InfoUser(24, "GROUP MASK")),
};
constexpr OperationMessage kBrakeUnlock[] = {
    kBusy,
    Start(Info("%s: %s brake unlock, axis_mask = 0x%08x", "GROUP MASK")),
    {Skipped, OP_DONE, kAxisEnabled, kIgnoreUnlock, kArm0},
    // The other groups warn with the text of the lock, deliberately.
    {Skipped, OP_DONE, kAxisEnabled, kIgnoreLock, kNotLift & ~kArm0},
    kServoFailed,
    Success(InfoUser(25, "GROUP MASK")),
};
constexpr OperationMessage kResetSingleTurn[] = {
    kBusy,
    Start(Info("%s: %s enc reset single-turn ...", "GROUP")),
    kServoFailed,
    Success(InfoUser(26, "GROUP MASK")),
};
constexpr OperationMessage kResetLiftOffset[] = {
    Start(Info("%s: %s enc reset offset ...", "GROUP")),
    {Rejected, OP_REJECTED, "an axis has no section in robot.ini",
     Warn("%s: %s[%d] enc reset offset failed", "GROUP AXIS")},
    {Failed, OP_FAILED, "saving fails, or robot.ini was never loaded",
     Warn("%s: Failed to save robot.ini")},
    Success(InfoUser(28, "GROUP MASK")),
};
constexpr OperationMessage kClearEncoderError[] = {
    kBusy,
    Start(Info("%s: %s enc clear error ...", "GROUP")),
    kServoFailed,
    LiftFailed(Failed, OP_FAILED, "a servo fails", ""),
    Success(InfoUser(29, "GROUP MASK")),
};
constexpr OperationMessage kResetMultiTurn[] = {
    kBusy,
    Start(Info("%s: %s enc reset multi-turn ...", "GROUP")),
    kServoFailed,
    Success(InfoUser(27, "GROUP MASK")),
};
constexpr OperationMessage kSetSensorOffset[] = {
    kBusy,
    Start(Info("%s: %s sensor%d set offset ...", "GROUP SENSOR")),
    kServoFailed,
    Success(InfoUser(30, "GROUP SENSOR")),
};

constexpr OperationRow ServoAction(OperationRow row, ServoTarget target, std::int32_t command) {
  row.family = OperationFamily::Group;
  row.target = target;
  row.stages[0] = {command};
  return row;
}

// Its argument is an axis mask.
constexpr OperationRow AxesAction(OperationRow row, ServoTarget target, std::int32_t command) {
  row.value = OperationValue::AxisMask;
  row.value_meaning = "axes";
  return ServoAction(row, target, command);
}

// --- The groups' queries ---

constexpr OperationMessage kAsked = Start(Info("%s: %s", "NAME"));
constexpr OperationMessage NoIndex(const char* format) {
  return {Rejected, OP_REJECTED, "the index is out of range", Warn(format, "GROUP INDEX")};
}
constexpr OperationMessage kGetErrorCode[] = {kAsked,
                                              NoIndex("%s: %s get servo%d error code failed")};
constexpr OperationMessage kGetFirmwareVersion[] = {
    kAsked, NoIndex("%s: %s get servo%d firmware version failed")};
constexpr OperationMessage kGetSensorVersion[] = {kAsked,
                                                  NoIndex("%s: %s get sensor%d version failed")};
constexpr OperationMessage kGetSensorSerial[] = {kAsked,
                                                 NoIndex("%s: %s get sensor%d serial failed")};
constexpr OperationMessage kGetPhysicState[] = {kAsked};
constexpr OperationMessage kGetConfigVersion[] = {
    kAsked, NoIndex("%s: %s get servo%d config version failed")};

constexpr OperationRow IndexQuery(OperationRow row, const char* index, int limit) {
  row.family = OperationFamily::Group;
  row.value = OperationValue::Index;
  row.value_meaning = index;
  row.index_limit = limit;
  row.result = row.word == nullptr ? OperationResult::Text : OperationResult::Value;
  return row;
}

constexpr OperationRow kGroupRows[] = {
    ServoAction({.kind = Reset,
                 .code = 0,
                 .groups = kNotLift,
                 .name = "RESET",
                 .about = "Clears `state_cmd`, resets all servos, then clears the error codes and "
                          "`group_state_request`.",
                 .required_state = GROUP_STATE_ERROR,
                 .messages = kReset},
                AllAxes, SERVO_CMD_RESET),
    {.kind = LiftReset,
     .family = OperationFamily::Group,
     .code = 0,
     .groups = kLift,
     .name = "RESET",
     .about = "As that of the other groups, in two stages.",
     .required_state = GROUP_STATE_ERROR,
     .stages = {{{SERVO_CMD_RESET_CSP, StageFailed}, {SERVO_CMD_RESET, Failed}}},
     .target = AllAxes,
     .messages = kLiftReset},
    {.kind = DisableSoftLimit,
     .family = OperationFamily::Group,
     .code = 1,
     .groups = kAllGroups,
     .command = "disable-soft-limit",
     .about = "Sets `soft_limit_disable`: targets of these axes are not clamped to their limits. "
              "Bit 6 also lifts the coupling limit of an arm. 0 puts all limits back.",
     .value = OperationValue::AxisMask,
     .value_meaning = "axes without limits",
     .required_state = GROUP_STATE_IDLE,
     .messages = kDisableSoftLimit},
    AxesAction({.kind = BrakeLock,
                .code = 2,
                .groups = kNotLift,
                .name = "BRAKE_LOCK",
                .about = "Locks the brakes of axes that are not enabled.",
                .messages = kBrakeLock},
               MaskedIdleAxes, SERVO_CMD_BRAKE_LOCK),
    AxesAction({.kind = BrakeUnlock,
                .code = 3,
                .groups = kNotLift,
                .name = "BRAKE_UNLOCK",
                .about = "Holds the brakes of axes that are not enabled unlocked.",
                .messages = kBrakeUnlock},
               MaskedIdleAxes, SERVO_CMD_BRAKE_UNLOCK),
    AxesAction({.kind = ResetSingleTurn,
                .code = 4,
                .groups = kNotLift,
                .name = "ENC_RESET_SINGLE_TURN",
                .about = "Resets the encoders' values within a turn.",
                .messages = kResetSingleTurn},
               MaskedAxes, SERVO_CMD_RESET_SINGLE_TURN),
    {.kind = ResetLiftOffset,
     .family = OperationFamily::Group,
     .code = 4,
     .groups = kLift,
     .command = "enc-reset-offset",
     .about = "Takes the axes' present encoder offsets into the configuration and saves robot.ini.",
     .value = OperationValue::AxisMask,
     .value_meaning = "axes",
     .messages = kResetLiftOffset},
    AxesAction({.kind = ClearEncoderError,
                .code = 5,
                .groups = kAllGroups,
                .name = "ENC_CLEAR_ERROR",
                .about = "Clears the encoders' errors.",
                .messages = kClearEncoderError},
               MaskedAxes, SERVO_CMD_CLEAR_ENCODER_ERROR),
    AxesAction({.kind = ResetMultiTurn,
                .code = 6,
                .groups = kNotLift,
                .name = "ENC_RESET_MULTI_TURN",
                .about = "Resets the encoders' counts of turns.",
                .messages = kResetMultiTurn},
               MaskedAxes, SERVO_CMD_RESET_MULTI_TURN),
    ServoAction({.kind = SetSensorOffset,
                 .code = 7,
                 .count = kSlots,
                 .groups = kWithSensors,
                 .name = "SENSORX_SET_OFFSET",
                 .about = "Sets the offset of the sensor that the code stands for, the first code "
                          "for sensor 0.",
                 .value = OperationValue::Number,
                 .value_meaning = "the offset",
                 .messages = kSetSensorOffset},
                AddressedSensor, SERVO_CMD_SET_SENSOR_OFFSET),

    IndexQuery({.kind = GetErrorCode,
                .code = 50,
                .groups = kNotLift,
                .name = "SERVO_GET_ERROR_CODE",
                .about = "Reads a servo's last error code.",
                .result_meaning = "the error code",
                .word = &GroupSysFields::servo_error_code,
                .messages = kGetErrorCode},
               "servo", kSlots),
    IndexQuery({.kind = GetErrorCode,
                .code = 50,
                .groups = kLift,
                .name = "SERVO_GET_ERROR_CODE",
                .about = "As that of the other groups, for the lift's two servos.",
                .result_meaning = "the error code",
                .word = &GroupSysFields::servo_error_code,
                .messages = kGetErrorCode},
               "servo", kLiftSlots),
    IndexQuery({.kind = GetFirmwareVersion,
                .code = 51,
                .groups = kNotLift,
                .name = "SERVO_GET_FIRMWARE_VERSION",
                .about = "Reads a servo's firmware version.",
                .result_meaning = "the version, at most 29 characters",
                .messages = kGetFirmwareVersion},
               "servo", kSlots),
    IndexQuery({.kind = GetSensorVersion,
                .code = 52,
                .groups = kWithSensors,
                .name = "SENSOR_GET_VERSION",
                .about = "Reads a sensor's version.",
                .result_meaning = "the version",
                .word = &GroupSysFields::sensor_version,
                .messages = kGetSensorVersion},
               "sensor", kSlots),
    IndexQuery({.kind = GetSensorSerial,
                .code = 53,
                .groups = kWithSensors,
                .name = "SENSOR_GET_SERIAL",
                .about = "Reads a sensor's serial number.",
                .result_meaning = "the number",
                .word = &GroupSysFields::sensor_serial,
                .messages = kGetSensorSerial},
               "sensor", kSlots),
    {.kind = GetPhysicState,
     .family = OperationFamily::Group,
     .code = 54,
     .groups = kAllGroups,
     .name = "GET_PHYSIC_STATE",
     .about = "Reads the group's physical state.",
     .result = OperationResult::Value,
     .result_meaning = "`group_physic_state`",
     .word = &GroupSysFields::physic_state,
     .messages = kGetPhysicState},
    IndexQuery({.kind = GetConfigVersion,
                .code = 55,
                .groups = kNotLift,
                .name = "SERVO_GET_CONFIG_VERSION",
                .about = "Reads the version of a servo's configuration.",
                .result_meaning = "the version",
                .word = &GroupSysFields::servo_config_version,
                .messages = kGetConfigVersion},
               "servo", kSlots),
};

}  // namespace

constinit const std::span<const OperationRow> kGroup = kGroupRows;

}  // namespace operation_rows
