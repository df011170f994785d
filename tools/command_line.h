// The command line of a tool as data: its commands, their arguments and where these go.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/root_option.h"

// Numbers that an argument accepts.
struct NumberRange {
  double least, most;
};

struct Argument {
  const char* name;  // "--timeout", or "GROUP" for one that is known by its place
  // An argument that is not given leaves it alone. A list takes an option's every occurrence, or
  // all words from its place on.
  std::variant<bool*, int*, double*, std::string*, std::optional<std::string>*,
               std::vector<std::string>*>
      target;
  const char* help;
  std::optional<NumberRange> range = {};
  // An option that must be given. An argument by its place must be, unless its target is optional.
  bool required = false;
  const char* needs = nullptr;  // another option, listed before this one
};

struct Command {
  const char* name;
  const char* help;
  std::vector<Argument> arguments;
  std::function<int()> run;  // gives the exit status
  // Commands below this one ("param get"), of which one must then be given; such a command takes no
  // arguments and does not run by itself.
  std::vector<Command> commands = {};
};

// Parses the arguments, --root and --host included, and runs the command that they name: the exit
// status, 0 after printing help. A Failure (status 2) for a wrong argument.
int RunCommandLine(const char* tool, const char* purpose, RootOption& root,
                   const std::vector<Command>& commands, int argc, char** argv);
