// Parameters by their full name, SECTION.KEY.
#pragma once

#include <optional>
#include <string>

#include "vek/config_schema.h"

struct ParamWord {
  ConfigType type;
  std::size_t offset;  // in CfgConfig
};
// The word of a name that the schema has.
std::optional<ParamWord> FindParam(const std::string& name);
