// The operation mailbox: finds the handler of a code, runs it and answers.
#include <exception>

#include "vek/operation_run.h"

void Vek::OnProcessOp() {
  if (sys_ == nullptr || mac_ == nullptr || udp_ == nullptr) return;
  OperationMailbox mailbox(udp_);
  const std::int16_t op_ins = mailbox.Code();
  if (op_ins <= 0) return;
  const std::optional<Operation> operation = FindOperation(op_ins);
  if (!operation) {
    g_log_clt.WARN_LOG("%s: Invalid opertaion %d", kOperationLogPrefix, op_ins);
    mailbox.Reply(OP_INVALID_CODE, false);
    return;
  }
  OperationStatus status{};
  try {
    status = OperationRun(*this, *operation).Execute();
  } catch (const std::exception&) {  // out of memory
    status = OP_FAILED;
  }
  mailbox.Reply(status, operation->row->family == OperationFamily::Parameter);
}

OperationStatus Vek::OperationRun::Execute() {
  return (this->*HandlerOf(row_.kind))();
}

Vek::OperationRun::Handler Vek::OperationRun::HandlerOf(OperationKind kind) {
  using Run = OperationRun;
  struct Entry {
    OperationKind kind;
    Handler handler;
  };
  static constexpr Entry kHandlers[] = {
      {OperationKind::SetInt32, &Run::SetInt32},
      {OperationKind::SetFloat, &Run::SetFloat},
      {OperationKind::GetInt32, &Run::GetInt32},
      {OperationKind::GetFloat, &Run::GetFloat},
      {OperationKind::GetString, &Run::GetString},
      {OperationKind::SaveRobotIni, &Run::SaveRobotIni},
      {OperationKind::SetUpdateFlag, &Run::SetUpdateFlag},
      {OperationKind::Reboot, &Run::Reboot},
      {OperationKind::GetVersion, &Run::GetVersion},
      {OperationKind::CheckVersion, &Run::CheckVersion},
      {OperationKind::SetCycleTime, &Run::SetCycleTime},
      {OperationKind::GetCycleTime, &Run::GetCycleTime},
      {OperationKind::SetTime, &Run::SetTime},
      {OperationKind::GetTime, &Run::GetTime},
      {OperationKind::SetIp, &Run::SetIp},
      {OperationKind::GetIp, &Run::GetIp},
      {OperationKind::Reset, &Run::ActOnServos},
      {OperationKind::LiftReset, &Run::ActOnServos},
      {OperationKind::DisableSoftLimit, &Run::DisableSoftLimit},
      {OperationKind::BrakeLock, &Run::ActOnServos},
      {OperationKind::BrakeUnlock, &Run::ActOnServos},
      {OperationKind::ResetSingleTurn, &Run::ActOnServos},
      {OperationKind::ClearEncoderError, &Run::ActOnServos},
      {OperationKind::ResetMultiTurn, &Run::ActOnServos},
      {OperationKind::SetSensorOffset, &Run::ActOnServos},
      {OperationKind::ResetLiftOffset, &Run::ResetLiftOffset},
      {OperationKind::GetErrorCode, &Run::QueryWord},
      {OperationKind::GetFirmwareVersion, &Run::QueryFirmwareVersion},
      {OperationKind::GetSensorVersion, &Run::QueryWord},
      {OperationKind::GetSensorSerial, &Run::QueryWord},
      {OperationKind::GetPhysicState, &Run::QueryWord},
      {OperationKind::GetConfigVersion, &Run::QueryWord},
  };
  static_assert(
      [] {
        for (std::size_t k = 0; k < std::size(kHandlers); ++k) {
          if (static_cast<std::size_t>(kHandlers[k].kind) != k) return false;
        }
        return std::size(kHandlers) ==
               static_cast<std::size_t>(OperationKind::GetConfigVersion) + 1;
      }(),
      "one handler for each kind, in the kinds' order");
  return kHandlers[static_cast<std::size_t>(kind)].handler;
}

const OperationMessage* Vek::OperationRun::FindMessage(OperationEvent event) const {
  const unsigned group = operation_.group == nullptr ? ~0U : 1U << operation_.group->index;
  for (const OperationMessage& message : row_.messages) {
    if (message.event == event && (message.groups & group) != 0) return &message;
  }
  return nullptr;
}

OperationMailbox::Text Vek::OperationRun::SysText(shared::Field<char> field) const {
  OperationMailbox::Text text{};
  shared::read_bytes(text.data(), reinterpret_cast<unsigned char*>(vek_.sys_) + field.offset,
                     sizeof(UdpMailbox::op_text) - 1);
  return text;
}
