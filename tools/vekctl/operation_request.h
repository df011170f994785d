// From the words of a command line to a request in the operation mailbox.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/mailbox.h"
#include "vek/operation_table.h"

// As given; nothing where an option was not.
struct OperationArguments {
  std::optional<std::string> axes = {}, value = {}, index = {}, real = {}, text = {}, sensor = {};
};

struct PreparedOperation {
  Operation operation;
  OperationRequest request;
};

// The operation of a name or a code with its arguments; a Failure (status 2) when there is no such
// operation, when it takes other arguments or when one of them is wrong.
PreparedOperation PrepareOperation(std::string_view name, const OperationArguments& given);

// The one operation of a kind that belongs to no group.
Operation OperationOf(OperationKind kind);

// A Failure (status 2) when the text does not fit op_text.
void CheckOperationText(const Operation& operation, std::string_view text);
// A 32-bit number, decimal or 0x…; in the latter form its bits. A Failure (status 2) otherwise.
std::int32_t ParseWord(std::string_view text);
// A finite number that a 32-bit float holds; a Failure (status 2) otherwise.
float ParseFloat(std::string_view text);

// The arguments as the command line takes them: "--axes 0,3", "--sensor K --value N"; empty when
// there are none.
std::string ArgumentsHelp(const OperationRow& row);
