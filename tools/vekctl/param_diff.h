// What a live configuration holds otherwise than a file.
#pragma once

#include <string>
#include <vector>

#include "ini/ini_parser.h"

struct ParamDifference {
  std::string name;  // SECTION.KEY
  std::string file;  // as the file has it
  std::string live;  // as a save would write it
};

// The words of `cfg` (a CfgConfig) that differ from the document both by value and by what a save
// would write; only sections that the document has, and of those only keys that the schema has:
// other keys are in no area.
std::vector<ParamDifference> DiffParams(IniParser& ini, const unsigned char* cfg);
