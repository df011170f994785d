// What scripts and the control pipe can let happen: actions of one line each.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/drusim/robot.h"

// Performs the action; a Failure when it cannot be done now.
using Action = std::function<void(Robot&)>;

// The words of a line up to its comment, which begins with #.
std::vector<std::string_view> ActionWords(std::string_view line);

// The action of at least one word; a Failure (status 2) when there is none like this. Files that it
// names are read at once; relative ones lie in `folder`.
Action ParseAction(std::vector<std::string_view> words, const std::filesystem::path& folder);

// An axis, 0 to 7; a Failure (status 2) otherwise.
std::size_t ParseAxis(std::string_view text);

// All actions with their arguments, one a line.
std::string ActionList();
