// The mailbox's operations on single parameters of robot.ini.
#include <string>

#include "vek/operation_run.h"

bool Vek::SplitParamFullName(char* full_name, char* section, char* key) {
  if (full_name == nullptr || *full_name == '\0') return false;
  char* const dot = std::strrchr(full_name, '.');
  if (dot == nullptr) return false;
  *dot = '\0';
  std::memcpy(section, full_name, std::strlen(full_name) + 1);
  std::memcpy(key, dot + 1, std::strlen(dot + 1) + 1);
  return true;
}

// Either half has room for all of op_text but the dot.
struct Vek::OperationRun::ParamName {
  char section_name[sizeof(UdpMailbox::op_text)];
  char param_name[sizeof(UdpMailbox::op_text)];
};

// Op_text then holds the section only. Null when there is no dot in it.
const Vek::OperationRun::ParamName* Vek::OperationRun::SplitOpText() {
  static ParamName name;
  OperationMailbox::Text text = mailbox_.OpText();
  if (!SplitParamFullName(text.data(), name.section_name, name.param_name)) return nullptr;
  mailbox_.CutText(std::strlen(text.data()));
  return &name;
}

template <class Access, class Result>
OperationStatus Vek::OperationRun::AccessParam(Access access, Result result) {
  const ParamName* name = SplitOpText();
  if (name == nullptr) return Report(OperationEvent::Rejected, mailbox_.OpText().data());
  if (!access(name->section_name, name->param_name)) {
    return Report(OperationEvent::Failed, name->section_name, name->param_name);
  }
  return Report(OperationEvent::Done, name->section_name, name->param_name, result());
}

OperationStatus Vek::OperationRun::SetInt32() {
  return AccessParam(
      [&](const char* section, const char* key) {
        return vek_.robot_ini_.OnSetValue(section, key, static_cast<int>(value_));
      },
      [&] { return value_; });
}

OperationStatus Vek::OperationRun::SetFloat() {
  const double value = mailbox_.Float();
  return AccessParam(
      [&](const char* section, const char* key) {
        return vek_.robot_ini_.OnSetValue(section, key, value);
      },
      [&] { return value; });
}

OperationStatus Vek::OperationRun::GetInt32() {
  int value = 0;
  return AccessParam(
      [&](const char* section, const char* key) {
        return vek_.robot_ini_.OnGetValue(section, key, &value, 0);
      },
      [&] {
        mailbox_.SetValue(value);
        return value;
      });
}

OperationStatus Vek::OperationRun::GetFloat() {
  double value = 0.0;
  return AccessParam(
      [&](const char* section, const char* key) {
        return vek_.robot_ini_.OnGetValue(section, key, &value, 0);
      },
      [&] {
        const auto narrowed = static_cast<float>(value);
        mailbox_.SetFloat(narrowed);
        return narrowed;
      });
}

OperationStatus Vek::OperationRun::GetString() {
  std::string value;
  return AccessParam(
      [&](const char* section, const char* key) {
        return vek_.robot_ini_.OnGetValue(section, key, value);
      },
      [&] {
        mailbox_.SpillText(value.c_str());
        return value.c_str();
      });
}

OperationStatus Vek::OperationRun::SaveRobotIni() {
  return Report(vek_.SaveRobotIni() ? OperationEvent::Done : OperationEvent::Failed);
}
