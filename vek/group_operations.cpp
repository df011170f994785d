// The mailbox's operations on the servos of a group: one mechanism for all groups.
#include <string>

#include "platform/host.h"
#include "vek/operation_run.h"

namespace {

constexpr unsigned kServoPoll_us = 10000;

// A servo's word: positive while the servo task has not answered. What it wrote before its answer
// can be read after it.
std::int32_t ServoWord(const int* words, int index) {
  return shared::load_acquire<std::int32_t>(
      words, {static_cast<std::size_t>(index) * sizeof(std::int32_t)});
}

// Index of the first busy one of `count` words; `count` when there is none.
int FirstBusy(int count, const int* words) {
  int i = 0;
  while (i < count && ServoWord(words, i) <= 0) ++i;
  return i;
}

bool IsInMask(std::int32_t mask, std::size_t axis) {
  return (static_cast<std::uint32_t>(mask) >> axis & 1) != 0;
}

}  // namespace

bool Vek::IsServoCmdIdle(int count, int* words) {
  const int busy = FirstBusy(count, words);
  if (busy >= count) return true;
  g_log_clt.WARN_LOG(kServoBusyText, busy);
  return false;
}

bool Vek::WaitServoCmdProcess(int count, int* words) {
  host_usleep(kServoPoll_us);
  while (FirstBusy(count, words) < count) {
    // A servo that never answers must not hold the shutdown up.
    if (g_exit) return false;
    host_usleep(kServoPoll_us);
  }
  int error_count = 0;
  for (int i = 0; i < count; ++i) {
    if (ServoWord(words, i) < 0) ++error_count;
  }
  if (error_count == 0) return true;
  g_log_clt.WARN_LOG(kServosFailedText, error_count);
  return false;
}

template <class... Arguments>
OperationStatus Vek::OperationRun::ReportGroup(OperationEvent event, Arguments... arguments) const {
  const OperationMessage* message = FindMessage(event);
  const bool renamed = message != nullptr && message->group_name != nullptr;
  return Report(event, renamed ? message->group_name : operation_.group->name, arguments...);
}

OperationStatus Vek::OperationRun::ReportServos(OperationEvent event) const {
  const OperationMessage* message = FindMessage(event);
  const char* suffix = message == nullptr ? "" : message->name_suffix;
  return ReportGroup(event, (operation_.Name() + suffix).c_str());
}

bool Vek::OperationRun::IsInRequiredState() const {
  return row_.required_state == kAnyState ||
         shared::load(vek_.sys_, operation_.group->sys.group_state) == row_.required_state;
}

int* Vek::OperationRun::ServoWords() const {
  // Only the address is formed here.
  return reinterpret_cast<int*>(reinterpret_cast<unsigned char*>(vek_.sys_) +
                                operation_.group->sys.servo_cmd.offset);
}

OperationStatus Vek::OperationRun::ActOnServos() {
  if (!IsInRequiredState()) return ReportGroup(OperationEvent::Ignored);
  if (!IsServoCmdIdle(AxisCount(), ServoWords())) return ReportServos(OperationEvent::Busy);
  if (IsResetting()) shared::store(vek_.udp_, operation_.group->udp.state_cmd, 0);
  const bool has_sensor = row_.target == ServoTarget::AddressedSensor;
  const std::int32_t argument = has_sensor ? operation_.sensor : value_;
  ReportGroup(OperationEvent::Started, argument);
  for (const ServoStage& stage : row_.stages) {
    if (stage.command == 0) break;
    CommandServos(stage.command);
    if (!WaitServoCmdProcess(AxisCount(), ServoWords())) return ReportServos(stage.failure);
  }
  const OperationStatus status = ReportGroup(OperationEvent::Done, argument);
  if (IsResetting()) ClearErrors();
  return status;
}

void Vek::OperationRun::Command(std::size_t axis, std::int32_t command) {
  const std::size_t word = operation_.group->sys.servo_cmd.offset + axis * sizeof(std::int32_t);
  shared::store_release<std::int32_t>(vek_.sys_, {word}, command);
}

void Vek::OperationRun::CommandServos(std::int32_t command) {
  if (row_.target == ServoTarget::AllAxes) {
    for (std::size_t j = 0; j < axes_; ++j) Command(j, command);
  } else if (row_.target == ServoTarget::AddressedSensor) {
    const auto sensor = static_cast<std::size_t>(operation_.sensor);
    Command(sensor, command);
    // The argument follows its command, deliberately.
    shared::store(vek_.sys_, operation_.group->sys.sensor_offset_arg, value_, sensor);
  } else {
    CommandMaskedAxes(command);
  }
}

void Vek::OperationRun::CommandMaskedAxes(std::int32_t command) {
  for (std::size_t j = 0; j < axes_; ++j) {
    const bool enabled =
        shared::load(vek_.sys_, operation_.group->sys.axis_state, j) == AXIS_STATE_ENABLED;
    if (row_.target == ServoTarget::MaskedIdleAxes && enabled) {
      ReportGroup(OperationEvent::Skipped, static_cast<int>(j));
    } else if (IsInMask(value_, j)) {
      Command(j, command);
    }
  }
}

void Vek::OperationRun::ClearErrors() {
  const GroupSysFields& sys = operation_.group->sys;
  for (std::size_t j = 0; j < AREA_AXES; ++j) shared::store(vek_.sys_, sys.servo_error_code, 0, j);
  shared::store(vek_.sys_, sys.group_state_request, 0);
}

OperationStatus Vek::OperationRun::DisableSoftLimit() {
  if (!IsInRequiredState()) return ReportGroup(OperationEvent::Rejected);
  shared::store(vek_.sys_, operation_.group->sys.soft_limit_disable, value_);
  return ReportGroup(OperationEvent::Done, value_);
}

OperationStatus Vek::OperationRun::ResetLiftOffset() {
  constexpr auto kOffset = SHARED_FIELD(MacArea, lift[0].encoder_offset);
  ReportGroup(OperationEvent::Started);
  for (std::size_t j = 0; j < axes_; ++j) {
    if (!IsInMask(value_, j)) continue;
    const int offset =
        shared::load<std::int32_t>(vek_.mac_, {kOffset.offset + j * sizeof(MacLiftAxis)});
    if (!vek_.robot_ini_.OnSetValue("R.L.L" + std::to_string(j), "EncOffset", offset)) {
      return ReportGroup(OperationEvent::Rejected, static_cast<int>(j));
    }
  }
  return ReportGroup(vek_.SaveRobotIni() ? OperationEvent::Done : OperationEvent::Failed, value_);
}

std::optional<std::size_t> Vek::OperationRun::TakeIndex() const {
  if (value_ >= 0 && value_ < row_.index_limit) return static_cast<std::size_t>(value_);
  ReportGroup(OperationEvent::Rejected, value_);
  return std::nullopt;
}

OperationStatus Vek::OperationRun::QueryWord() {
  Report(OperationEvent::Started, operation_.Name().c_str());
  std::optional<std::size_t> index = 0;
  if (row_.value == OperationValue::Index) index = TakeIndex();
  if (!index) return OP_REJECTED;
  const auto word = operation_.group->sys.*row_.word;
  mailbox_.SetValue(static_cast<std::int32_t>(shared::load(vek_.sys_, word, *index)));
  return OP_DONE;
}

OperationStatus Vek::OperationRun::QueryFirmwareVersion() {
  Report(OperationEvent::Started, operation_.Name().c_str());
  const std::optional<std::size_t> index = TakeIndex();
  if (!index) return OP_REJECTED;
  const std::size_t at = operation_.group->sys.firmware_text.offset + *index * AREA_TEXT_SIZE;
  mailbox_.SetText(SysText({at}).data());
  return OP_DONE;
}
