// The commands of vekctl that go through the operation mailbox, and their like. Each gives the exit
// status: 0 when the operation is done, else 1; a Failure carries one line and a status.
#pragma once

#include "tools/vekctl/operation_report.h"
#include "tools/vekctl/operation_request.h"

struct OpOptions : OperationOptions {
  std::string name;  // or code
  OperationArguments arguments;
};
// Any operation.
int RunOp(const OpOptions& options);

struct OpsOptions {
  bool json = false;
  bool markdown = false;  // the whole page
};
// Lists all operations with their arguments.
int RunOps(const OpsOptions& options);

struct ParamOptions : OperationOptions {
  std::string name;   // SECTION.KEY
  std::string value;  // to set
  std::string type;   // int, float or string; empty: that of the schema
  bool force = false;
};
int RunParamGet(const ParamOptions& options);
// Sets a parameter of the live configuration and tells what robot.ini will hold once it is saved.
int RunParamSet(const ParamOptions& options);
int RunParamSave(const OperationOptions& options);
// Lists what the live configuration holds otherwise than robot.ini, as far as the schema goes.
int RunParamDiff(const OperationOptions& options);

struct SystemOptions : OperationOptions {
  std::vector<std::string> words;    // time or address to set
  std::optional<std::string> check;  // interface version
};
int RunTimeGet(const SystemOptions& options);
int RunTimeSet(const SystemOptions& options);
int RunIpGet(const SystemOptions& options);
int RunIpSet(const SystemOptions& options);
// Prints Vek's interface version, or has one checked: status 1 when Vek does not accept it.
int RunVersion(const SystemOptions& options);
int RunReboot(const SystemOptions& options);

struct GpioOptions {
  RootOption root;
  std::string input;
  std::string level;
};
// The input levels of a root; never those of a device.
int RunGpioGet(const GpioOptions& options);
int RunGpioSet(const GpioOptions& options);
