// One operation of the mailbox in the making: the handlers, and what they share.
#pragma once

#include "platform/debug_log.h"
#include "vek/operation_mailbox.h"
#include "vek/operation_table.h"
#include "vek/vek.h"

class Vek::OperationRun {
 public:
  // For the operation that is pending in the mailbox; all areas are mapped.
  OperationRun(Vek& vek, const Operation& operation)
      : vek_(vek),
        operation_(operation),
        row_(*operation.row),
        mailbox_(vek.udp_),
        value_(mailbox_.Value()),
        axes_(operation.group == nullptr
                  ? 0
                  : ClampAxes(shared::load(vek.mac_, operation.group->axes))) {}

  // Executes the operation to its end, which may take long, and gives its status. Throws only for
  // want of memory.
  OperationStatus Execute();

 private:
  using Handler = OperationStatus (OperationRun::*)();
  static Handler HandlerOf(OperationKind kind);

  // Logs the message that the operation has for an event, if any, with the arguments behind the
  // prefix. The result is the status that goes with the event.
  template <class... Arguments>
  OperationStatus Report(OperationEvent event, Arguments... arguments) const;
  const OperationMessage* FindMessage(OperationEvent event) const;

  // The beginning of a text in SysInfo, as much as op_text takes.
  OperationMailbox::Text SysText(shared::Field<char> field) const;

  // Parameters.
  struct ParamName;
  OperationStatus SetInt32();
  OperationStatus SetFloat();
  OperationStatus GetInt32();
  OperationStatus GetFloat();
  OperationStatus GetString();
  OperationStatus SaveRobotIni();
  // Runs access(section, key) with the halves of the name in op_text, then reports result().
  template <class Access, class Result>
  OperationStatus AccessParam(Access access, Result result);
  const ParamName* SplitOpText();

  // The system.
  OperationStatus SetUpdateFlag();
  OperationStatus Reboot();
  OperationStatus GetVersion();
  OperationStatus CheckVersion();
  OperationStatus SetCycleTime();
  OperationStatus GetCycleTime();
  OperationStatus SetTime();
  OperationStatus GetTime();
  OperationStatus SetIp();
  OperationStatus GetIp();

  // The groups.
  OperationStatus ActOnServos();
  OperationStatus DisableSoftLimit();
  OperationStatus ResetLiftOffset();
  OperationStatus QueryWord();
  OperationStatus QueryFirmwareVersion();
  // As Report, with the group's name (or what the message says in its place) as first argument.
  template <class... Arguments>
  OperationStatus ReportGroup(OperationEvent event, Arguments... arguments) const;
  // As ReportGroup, with the operation's name.
  OperationStatus ReportServos(OperationEvent event) const;
  bool IsInRequiredState() const;
  int AxisCount() const { return static_cast<int>(axes_); }
  int* ServoWords() const;
  bool IsResetting() const { return row_.target == ServoTarget::AllAxes; }
  void Command(std::size_t axis, std::int32_t command);
  void CommandServos(std::int32_t command);
  void CommandMaskedAxes(std::int32_t command);
  void ClearErrors();
  // The index in op_value if the group has it; reported otherwise.
  std::optional<std::size_t> TakeIndex() const;

  Vek& vek_;
  const Operation operation_;
  const OperationRow& row_;
  OperationMailbox mailbox_;
  const std::int32_t value_;  // op_value
  const std::size_t axes_;    // of the group
};

template <class... Arguments>
OperationStatus Vek::OperationRun::Report(OperationEvent event, Arguments... arguments) const {
  const OperationMessage* message = FindMessage(event);
  if (message == nullptr) return OP_DONE;
  const OperationText& text = message->text;
  // A format takes the first of the arguments, as many as it needs.
  switch (text.level) {
    case OperationText::Level::None:
      break;
    case OperationText::Level::Info:
      if (text.format != nullptr) {
        g_log_clt.INFO_LOG(text.format, kOperationLogPrefix, arguments...);
      } else {
        g_log_clt.INFO_USER(text.user_code, arguments...);
      }
      break;
    case OperationText::Level::Warn:
      if (text.format != nullptr) {
        g_log_clt.WARN_LOG(text.format, kOperationLogPrefix, arguments...);
      } else {
        g_log_clt.WARN_USER(text.user_code, arguments...);
      }
      break;
  }
  return message->status;
}
