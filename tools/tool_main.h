// Reading the arguments of a tool.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/failure.h"
#include "tools/root_option.h"

// Adds --root and --host.
void AddRootOptions(CLI::App& app, RootOption& option);

// Parses the arguments; false when they asked for help, which is then printed. A Failure (status 2)
// for a wrong argument.
bool ParseArguments(CLI::App& app, int argc, char** argv);
