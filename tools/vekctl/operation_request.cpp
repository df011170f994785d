#include "tools/vekctl/operation_request.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "tools/failure.h"

namespace {

using Given = std::optional<std::string> OperationArguments::*;

// An option of `vekctl op`, and which operations take it.
struct OptionRow {
  const char* name;
  const char* help;
  Given given;
  bool (*taken)(const OperationRow& row);
  Given instead = nullptr;  // another one that may stand for it
};

bool TakesMask(const OperationRow& row) {
  return row.value == OperationValue::AxisMask;
}

constexpr OptionRow kOptions[] = {
    {"--sensor", "K", &OperationArguments::sensor, [](const auto& row) { return row.count > 1; }},
    {"--axes", "0,3", &OperationArguments::axes, TakesMask, &OperationArguments::value},
    {"--value", "N", &OperationArguments::value,
     [](const auto& row) { return TakesMask(row) || row.value == OperationValue::Number; },
     &OperationArguments::axes},
    {"--index", "N", &OperationArguments::index,
     [](const auto& row) { return row.value == OperationValue::Index; }},
    {"--float", "X", &OperationArguments::real, [](const auto& row) { return row.takes_float; }},
    {"--text", "T", &OperationArguments::text, [](const auto& row) { return row.text != nullptr; }},
};

void CheckOptions(const Operation& operation, const OperationArguments& arguments) {
  for (const OptionRow& option : kOptions) {
    const bool given = (arguments.*option.given).has_value();
    const bool taken = option.taken(*operation.row);
    const bool replaced = option.instead != nullptr && arguments.*option.instead;
    if (given && taken && replaced) FailUsage(operation.Command(), " takes one mask, not two");
    if (given && !taken) FailUsage(operation.Command(), " takes no ", option.name);
    if (!given && taken && !replaced) FailUsage(operation.Command(), " needs ", option.name);
  }
}

std::int32_t ParseAxes(std::string_view text) {
  std::uint32_t mask = 0;
  for (const std::string_view part : Split(text, ',')) {
    const auto axis = ParseInteger(part);
    if (!axis || *axis < 0 || *axis >= AREA_AXES) {
      FailUsage("--axes: '", part, "' is no axis from 0 to ", AREA_AXES - 1);
    }
    mask |= 1U << *axis;
  }
  return static_cast<std::int32_t>(mask);
}

// Those of a number, or those of a command's name.
std::vector<Operation> OperationsBy(std::string_view name) {
  const auto code = ParseInteger(name);
  if (!code) return FindOperations(name);
  const auto found =
      *code > 0 && *code <= INT16_MAX ? FindOperation(static_cast<int>(*code)) : std::nullopt;
  return found ? std::vector{*found} : std::vector<Operation>{};
}

Operation FindForArguments(std::string_view name, OperationArguments& arguments) {
  const std::vector<Operation> found = OperationsBy(name);
  if (found.empty()) FailUsage("no operation ", name, " (vekctl ops lists them)");
  if (ParseInteger(name) && found[0].row->count > 1) {
    // The code says which sensor is meant.
    if (arguments.sensor) FailUsage("operation ", name, " takes no --sensor");
    arguments.sensor = std::to_string(found[0].sensor);
    return found[0];
  }
  if (found.size() == 1 || !arguments.sensor) return found[0];
  const auto sensor = ParseInteger(*arguments.sensor);
  if (!sensor || *sensor < 0 || *sensor >= std::ssize(found)) {
    FailUsage("--sensor: '", *arguments.sensor, "' is no sensor from 0 to ", found.size() - 1);
  }
  return found[static_cast<std::size_t>(*sensor)];
}

}  // namespace

PreparedOperation PrepareOperation(std::string_view name, const OperationArguments& given) {
  OperationArguments arguments = given;
  const Operation operation = FindForArguments(name, arguments);
  CheckOptions(operation, arguments);
  OperationRequest request{.code = operation.Code(), .text = arguments.text.value_or("")};
  CheckOperationText(operation, request.text);
  if (arguments.axes) request.value = ParseAxes(*arguments.axes);
  if (arguments.value) request.value = ParseWord(*arguments.value);
  if (arguments.index) request.value = ParseWord(*arguments.index);
  if (arguments.real) request.real = ParseFloat(*arguments.real);
  return {operation, request};
}

Operation OperationOf(OperationKind kind) {
  for (const Operation& operation : AllOperations()) {
    if (operation.row->kind == kind) return operation;
  }
  Fail("no operation of kind ", static_cast<int>(kind));
}

void CheckOperationText(const Operation& operation, std::string_view text) {
  // Names may fill the field, other texts need their zero in it.
  const bool is_name = operation.row->family == OperationFamily::Parameter;
  const std::size_t room = is_name ? kOperationText : kOperationText - 1;
  if (text.size() <= room) return;
  FailUsage('\'', text, "' is longer than ", room, " characters");
}

std::int32_t ParseWord(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    std::uint32_t bits = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 2, end, bits, 16);
    if (error == std::errc() && stop == end) return static_cast<std::int32_t>(bits);
  } else if (const auto number = ParseInteger(text);
             number && *number >= INT32_MIN && *number <= INT32_MAX) {
    return static_cast<std::int32_t>(*number);
  }
  FailUsage('\'', text, "' is no 32-bit integer");
}

float ParseFloat(std::string_view text) {
  const auto number = static_cast<float>(ParseDouble(text).value_or(NAN));
  if (!std::isfinite(number)) FailUsage('\'', text, "' is no number that a float holds");
  return number;
}

std::string ArgumentsHelp(const OperationRow& row) {
  std::string help;
  const OptionRow* last = nullptr;
  for (const OptionRow& option : kOptions) {
    if (!option.taken(row)) continue;
    if (last != nullptr) help += last->given == option.instead ? " | " : " ";
    help += Text(option.name, ' ', option.help);
    last = &option;
  }
  return help;
}
