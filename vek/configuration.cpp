#include "vek/configuration.h"

#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "platform/debug_log.h"
#include "platform/host.h"
#include "platform/shared_access.h"
#include "vek/config_schema.h"
#include "vek/vek.h"

namespace {

constexpr const char* kRobotIni = "/home/QUARLE/Config/cfg/robot.ini";

// User errors. A missing key is reported by the document.
constexpr int kUserErrorNoRobotIni = 0;
constexpr int kUserErrorUnknownSection = 1;  // argument: section

constexpr unsigned char kBind = 1;

void SetComplete(CfgConfig* cfg, std::int32_t complete) {
  shared::store_release(cfg, SHARED_FIELD(CfgConfig, load_complete), complete);
}

// A text longer than its field runs on into the fields behind it, but never past the area.
bool ReadText(IniParser& ini, const std::string& section, const std::string& key, char* dst,
              std::size_t room) {
  std::string text;
  ini.OnGetValue(section, key, text);
  if (std::strlen(text.c_str()) < room) return ini.OnGetValue(section, key, dst, kBind);
  // The getter knows no limit: it reads and binds what fits, the document keeps the whole text.
  ini.OnSetValue(section, key, text.substr(0, room - 1));
  const bool read = ini.OnGetValue(section, key, dst, kBind);
  ini.OnSetValue(section, key, text);
  return read;
}

bool ReadKey(IniParser& ini, const std::string& section, const std::string& key, ConfigType type,
             CfgConfig* cfg, std::size_t offset) {
  // Only addresses are formed here: int and double words may be misaligned.
  char* word = reinterpret_cast<char*>(cfg) + offset;
  switch (type) {
    case ConfigType::Int:
      return ini.OnGetValue(section, key, reinterpret_cast<int*>(word), kBind);
    case ConfigType::Double:
      return ini.OnGetValue(section, key, reinterpret_cast<double*>(word), kBind);
    case ConfigType::String:
      return ReadText(ini, section, key, word, AREA_CFGCONFIG_SIZE - offset);
  }
  return false;
}

bool ReadSection(IniParser& ini, const std::string& name, CfgConfig* cfg) {
  const ConfigSection section = FindConfigSection(name);
  if (section.family == nullptr) {
    g_log_clt.ERROR_USER(kUserErrorUnknownSection, name.c_str());
    return true;
  }
  return ForEachConfigKey(*section.family,
                          [&](const std::string& key, ConfigType type, std::size_t offset) {
                            return ReadKey(ini, name, key, type, cfg, section.offset + offset);
                          });
}

bool ReadSections(IniParser& ini, CfgConfig* cfg) {
  std::vector<std::string> names;
  ini.OnGetSectionList(names);
  for (const std::string& name : names) {
    if (!ReadSection(ini, name, cfg)) return false;
  }
  return true;
}

}  // namespace

bool LoadRobotConfiguration(IniParser& ini, CfgConfig* cfg, bool* has_document) {
  SetComplete(cfg, 0);
  *has_document = false;
  try {
    *has_document = ini.OnLoad(host_path(kRobotIni).c_str());
    if (!*has_document) {
      g_log_clt.ERROR_USER(kUserErrorNoRobotIni);
      return false;
    }
    if (!ReadSections(ini, cfg)) return false;
  } catch (const std::exception&) {  // out of memory
    return false;
  }
  SetComplete(cfg, 1);
  g_log_clt.INFO_LOG("Load robot.ini success");
  return true;
}

bool Vek::LoadRobotIni() {
  return LoadRobotConfiguration(robot_ini_, cfg_, &has_robot_ini_);
}

bool Vek::SaveRobotIni() {
  // A document that was never read would leave an empty file.
  return has_robot_ini_ && robot_ini_.OnSave(host_path(kRobotIni).c_str());
}
