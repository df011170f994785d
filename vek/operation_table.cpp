#include "vek/operation_table.h"

#include <algorithm>
#include <cctype>

#include "vek/operation_rows.h"

namespace {

constexpr int kGroupCodes = 100;  // group g's codes count from (g + 1) * 100

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
  for (const std::span<const OperationRow> rows :
       {operation_rows::kParameter, operation_rows::kSystem, operation_rows::kGroup}) {
    for (const OperationRow& row : rows) ForEachOperation(row, visit);
  }
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

std::span<const OperationRow> OperationRows(OperationFamily family) {
  switch (family) {
    case OperationFamily::Parameter:
      return operation_rows::kParameter;
    case OperationFamily::System:
      return operation_rows::kSystem;
    case OperationFamily::Group:
      return operation_rows::kGroup;
  }
  return {};
}

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
