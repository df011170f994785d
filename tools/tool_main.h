// The frame of a tool's main().
#pragma once

#include <CLI/CLI.hpp>

#include "tools/root_option.h"

// Adds --root and --host.
void AddRootOptions(CLI::App& app, RootOption& option);

// Parses the arguments; false when they asked for help, which is then printed. A Failure (status 2)
// for a wrong argument.
bool ParseArguments(CLI::App& app, int argc, char** argv);

// Runs a tool and gives the exit status. A Failure ends in one line on standard error and its
// status, anything else that is thrown in status 1.
int RunTool(const char* name, int (*tool)(int argc, char** argv), int argc, char** argv) noexcept;
