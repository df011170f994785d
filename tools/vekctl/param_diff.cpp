#include "tools/vekctl/param_diff.h"

#include <cstdio>
#include <filesystem>

#include "platform/host.h"
#include "platform/shared_access.h"
#include "tools/failure.h"
#include "tools/vekctl/live_view.h"
#include "tools/vekctl/operation_commands.h"
#include "vek/config_schema.h"

namespace {

// A text of CfgConfig as far as its field goes.
std::string LiveText(const unsigned char* at) {
  char text[kConfigStringSize + 1] = {};
  shared::read_bytes(text, at, kConfigStringSize);
  return text;
}

// The live value as a save writes it, and whether the file's text means the same.
struct LiveValue {
  std::string text;
  bool same;
};

LiveValue Compare(IniParser& ini, const std::string& section, const std::string& key,
                  ConfigType type, const unsigned char* at) {
  switch (type) {
    case ConfigType::Int: {
      int file = 0;
      ini.OnGetValue(section, key, &file, 0);
      const auto live = shared::load<std::int32_t>(at);
      return {std::to_string(live), live == file};
    }
    case ConfigType::Double: {
      double file = 0;
      ini.OnGetValue(section, key, &file, 0);
      const auto live = shared::load<double>(at);
      return {Text(live), live == file};
    }
    default: {
      std::string file;
      ini.OnGetValue(section, key, file);
      const std::string live = LiveText(at);
      return {live, live == file.substr(0, kConfigStringSize)};
    }
  }
}

void WarnUnlessVekRuns() {
  const AreaView sys(kSysInfoArea);
  StampWatch vek = WatchVek(sys.get());
  while (vek.Alive() && !vek.HasMoved()) ShortPause();
  if (vek.HasMoved()) return;
  std::fputs("vekctl: warning: Vek's cycle stands still: these may be values of an earlier run\n",
             stderr);
}

}  // namespace

std::vector<ParamDifference> DiffParams(IniParser& ini, const unsigned char* cfg) {
  std::vector<ParamDifference> differences;
  std::vector<std::string> sections;
  ini.OnGetSectionList(sections);
  for (const std::string& name : sections) {
    const ConfigSection section = FindConfigSection(name);
    if (section.family == nullptr) continue;
    ForEachConfigKey(
        *section.family, [&](const std::string& key, ConfigType type, std::size_t offset) {
          std::string file;
          ini.OnGetValue(name, key, file);
          const LiveValue live = Compare(ini, name, key, type, cfg + section.offset + offset);
          if (!live.same && live.text != file) {
            differences.push_back({Text(name, '.', key), file, live.text});
          }
          return true;
        });
  }
  return differences;
}

int RunParamDiff(const OperationOptions& options) {
  SettleRoot(options.root);
  const AreaView cfg(kCfgConfigArea);
  if (shared::load_acquire(cfg.get(), SHARED_FIELD(CfgConfig, load_complete)) != 1) {
    Fail("no configuration is loaded (load flag 0)");
  }
  IniParser ini;
  if (!ini.OnLoad(host_path(kRobotIni).c_str())) Fail(kRobotIni, ": cannot be read");
  WarnUnlessVekRuns();
  std::vector<std::string> list;
  for (const auto& [name, file, live] : DiffParams(ini, cfg.get())) {
    list.push_back(JsonObject()
                       .Add("parameter", JsonText(name))
                       .Add("file", JsonText(file))
                       .Add("live", JsonText(live))
                       .Text());
    if (options.json) continue;
    std::printf("%s  %s -> %s\n", name.c_str(), Printable(file).c_str(), Printable(live).c_str());
  }
  if (options.json) std::printf("%s\n", JsonList(list).c_str());
  return 0;
}
