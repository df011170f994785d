// Any operation, and the list of them.
#include <cstdio>

#include "tools/operations_page.h"
#include "tools/vekctl/operation_commands.h"

namespace {

std::string CodeText(const Operation& operation) {
  const int code = operation.Code();
  const int count = operation.row->count;
  return count == 1 ? std::to_string(code) : Text(code, '-', code + count - 1);
}

const char* ResultName(OperationResult result) {
  switch (result) {
    case OperationResult::Value:
      return "value";
    case OperationResult::Float:
      return "float";
    case OperationResult::Text:
      return "text";
    default:
      return "none";
  }
}

std::string OpsJson() {
  std::vector<std::string> operations;
  for (const Operation& operation : AllOperations()) {
    JsonObject json;
    json.Add("code", std::to_string(operation.Code()))
        .Add("name", JsonText(operation.Command()))
        .Add("arguments", JsonText(ArgumentsHelp(*operation.row)))
        .Add("result", JsonText(ResultName(operation.row->result)));
    if (operation.row->count > 1) json.Add("sensor", std::to_string(operation.sensor));
    operations.push_back(json.Text());
  }
  return JsonList(operations);
}

void PrintOps() {
  for (const Operation& operation : AllOperations()) {
    if (operation.sensor > 0) continue;  // one line for all sensors
    std::printf("%-34s %-8s %s\n", operation.Command().c_str(), CodeText(operation).c_str(),
                ArgumentsHelp(*operation.row).c_str());
  }
}

}  // namespace

int RunOp(const OpOptions& options) {
  const auto [operation, request] = PrepareOperation(options.name, options.arguments);
  SettleRoot(options.root);
  const OperationEnd end{operation, Mailbox().Ask(request, options.timeout_s)};
  const std::string result = end.Result();
  const std::string name = operation.Command();
  return Tell(options, end,
              TellingOf(end, name, Text(name, ": done", result.empty() ? "" : ": ", result)));
}

int RunOps(const OpsOptions& options) {
  if (options.json) {
    std::printf("%s\n", OpsJson().c_str());
  } else if (options.markdown) {
    std::printf("%s", OperationsPage().c_str());
  } else {
    PrintOps();
  }
  return 0;
}
