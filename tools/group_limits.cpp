#include "tools/group_limits.h"

#include "ini/ini_parser.h"
#include "tools/failure.h"
#include "vek/config_schema.h"

namespace {

// Reads one number into its place of the image; false when the key is absent.
bool ReadNumber(IniParser& ini, const std::string& section, const std::string& key, ConfigType type,
                unsigned char* at) {
  std::string text;
  if (!ini.OnGetValue(section, key, text) || text.empty()) return false;
  if (type == ConfigType::Int) {
    int value = 0;
    ini.OnGetValue(section, key, &value, 0);
    shared::store<std::int32_t>(at, value);
  } else if (type == ConfigType::Double) {
    double value = 0;
    ini.OnGetValue(section, key, &value, 0);
    shared::store<double>(at, value);
  }
  return true;
}

}  // namespace

GroupLimits ReadGroupLimits(const void* cfg, const GroupRow& group) {
  GroupLimits limits{};
  limits.dof = ClampAxes(shared::load(cfg, group.cfg.dof));
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    limits.pos_min[j] = LoadJoint(cfg, group, group.cfg.limit_neg, j);
    limits.pos_max[j] = LoadJoint(cfg, group, group.cfg.limit_pos, j);
    limits.vel_max[j] = LoadJoint(cfg, group, group.cfg.vel_max, j);
    limits.acc_max[j] = LoadJoint(cfg, group, group.cfg.acc_max, j);
  }
  return limits;
}

GroupLimits ReadLoadedLimits(const void* cfg, const GroupRow& group) {
  if (shared::load_acquire(cfg, SHARED_FIELD(CfgConfig, load_complete)) != 1) {
    Fail("Vek has no complete robot.ini, so the joint limits are unknown");
  }
  return ReadGroupLimits(cfg, group);
}

Axes ScaleLimits(const Axes& limit, float percent) {
  Axes scaled{};
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    scaled[j] = limit[j] * static_cast<double>(percent) / 100;
  }
  return scaled;
}

std::vector<unsigned char> ReadConfigImage(const std::string& file) {
  IniParser ini;
  if (!ini.OnLoad(file.c_str())) Fail(file, ": cannot be loaded");
  std::vector<unsigned char> image(AREA_CFGCONFIG_SIZE);
  ForEachConfigSection([&](const std::string& name, const ConfigSection& section) {
    const auto read = [&](const std::string& key, ConfigType type, std::size_t offset) {
      unsigned char* const at = image.data() + section.offset + offset;
      if (type != ConfigType::String && !ReadNumber(ini, name, key, type, at)) {
        Fail(file, ": [", name, "] lacks ", key);
      }
      return true;
    };
    ForEachConfigKey(*section.family, read);
  });
  return image;
}
