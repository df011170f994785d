// How the rows of the operation table are written: private to the files that hold them.
#pragma once

#include <span>

#include "vek/operation_table.h"

namespace operation_rows {

inline constexpr unsigned kAllGroups = 0b11111;

constexpr OperationText Info(const char* format, const char* arguments = "") {
  return {OperationText::Level::Info, format, 0, arguments};
}
constexpr OperationText Warn(const char* format, const char* arguments = "") {
  return {OperationText::Level::Warn, format, 0, arguments};
}
constexpr OperationText InfoUser(int code, const char* arguments) {
  return {OperationText::Level::Info, nullptr, code, arguments};
}
constexpr OperationText WarnUser(int code, const char* arguments = "") {
  return {OperationText::Level::Warn, nullptr, code, arguments};
}

constexpr OperationMessage Start(OperationText text, unsigned groups = kAllGroups) {
  return {OperationEvent::Started, OP_DONE, "at the start", text, groups};
}
constexpr OperationMessage Success(OperationText text) {
  return {OperationEvent::Done, OP_DONE, "done", text};
}

// The rows of each family.
extern const std::span<const OperationRow> kParameter;
extern const std::span<const OperationRow> kSystem;
extern const std::span<const OperationRow> kGroup;

}  // namespace operation_rows
