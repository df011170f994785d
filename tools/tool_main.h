// The frame of a tool's main().
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "tools/root_option.h"

// Adds --root and --host.
void AddRootOptions(CLI::App& app, RootOption& option);

// Parses the arguments and runs `body`, which gives the exit status. Whatever fails ends in one
// line on standard error: status 2 for a wrong argument, else 1.
int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& body) noexcept;
