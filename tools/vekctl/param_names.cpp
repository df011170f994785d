#include "tools/vekctl/param_names.h"

std::optional<ParamWord> FindParam(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos) return std::nullopt;
  const ConfigSection section = FindConfigSection(name.substr(0, dot));
  if (section.family == nullptr) return std::nullopt;
  std::optional<ParamWord> found;
  const std::string wanted = name.substr(dot + 1);
  ForEachConfigKey(*section.family,
                   [&](const std::string& key, ConfigType type, std::size_t offset) {
                     if (key == wanted) found = {type, section.offset + offset};
                     return !found;
                   });
  return found;
}
