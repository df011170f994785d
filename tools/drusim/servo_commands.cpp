#include "tools/drusim/servo_commands.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;

constexpr unsigned Bit(std::size_t axis) {
  return 1U << axis;
}

constexpr unsigned WithBit(unsigned bits, std::size_t axis, bool set) {
  return set ? bits | Bit(axis) : bits & ~Bit(axis);
}

}  // namespace

ServoCommands::ServoCommands(const GroupRow& group, unsigned char* sys, int delay)
    : group_(group), sys_(sys), delay_(delay) {}

void ServoCommands::OnStart() {
  SetUnlocked(0);
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    shared::store(sys_, group_.sys.servo_error_code, 0, j);
    // Vek may be writing a command at this moment.
    const std::int32_t result = shared::load(sys_, Word(j));
    if (result < 0) shared::replace(sys_, Word(j), result, 0);
  }
}

void ServoCommands::OnCycle() {
  if (!answering_) return;
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    const std::int32_t command = shared::load_acquire(sys_, Word(j));
    if (command <= 0) {
      waited_[j] = 0;
    } else if (++waited_[j] > delay_) {
      waited_[j] = 0;
      const bool done = Execute(command, j);
      shared::store_release(sys_, Word(j), done ? kDone : kFailed);
    }
  }
}

shared::Field<std::int32_t> ServoCommands::Word(std::size_t axis) const {
  return {group_.sys.servo_cmd.offset + axis * sizeof(std::int32_t)};
}

bool ServoCommands::Execute(int command, std::size_t axis) {
  if ((failing_ & Bit(axis)) != 0) return false;
  switch (command) {
    case SERVO_CMD_RESET:
      faults_ = WithBit(faults_, axis, false);
      return true;
    case SERVO_CMD_SET_SENSOR_OFFSET:
      offsets_[axis] = shared::load(sys_, group_.sys.sensor_offset_arg, axis);
      return true;
    case SERVO_CMD_BRAKE_LOCK:
    case SERVO_CMD_BRAKE_UNLOCK:
      SetUnlocked(WithBit(unlocked_, axis, command == SERVO_CMD_BRAKE_UNLOCK));
      return true;
    case SERVO_CMD_CLEAR_ENCODER_ERROR:
    case SERVO_CMD_RESET_MULTI_TURN:
    case SERVO_CMD_RESET_SINGLE_TURN:
    case SERVO_CMD_RESET_CSP:
      return true;  // of these nothing is simulated but the answer
    default:
      return false;
  }
}

void ServoCommands::SetFailing(std::size_t axis, bool failing) {
  failing_ = WithBit(failing_, axis, failing);
}

void ServoCommands::SetFault(std::size_t axis, std::uint32_t code) {
  faults_ = WithBit(faults_, axis, true);
  shared::store(sys_, group_.sys.servo_error_code, code, axis);
}

void ServoCommands::SetUnlocked(unsigned axes) {
  unlocked_ = axes;
  shared::store(sys_, group_.sys.brake_unlock, static_cast<std::int32_t>(axes));
}
