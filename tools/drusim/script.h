// Scripts: what happens at which cycle, one "CYCLE ACTION …" a line. Words are separated by blanks,
// # begins a comment.
#pragma once

#include <string>
#include <vector>

#include "tools/drusim/actions.h"

struct ScriptLine {
  long long cycle = 0;
  std::string where;  // "FILE:LINE"
  Action action;
};

// Reads a script, the files that it names included (relative ones lie beside it): its lines by
// ascending cycle, those of the same cycle in the file's order. A Failure (status 2) names file and
// line.
std::vector<ScriptLine> ReadScript(const std::string& file);
