// robot.ini in the configuration area.
#include "vek/configuration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/shared_access.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"
#include "vek/config_schema.h"

namespace {

using namespace std::string_literals;

constexpr const char* kRobotIni = "/home/QUARLE/Config/cfg/robot.ini";
constexpr char kUntouched = '%';

struct Configuration : testing::Test {
  // Type and offset of each section's keys.
  std::map<std::pair<std::string, std::string>, std::pair<ConfigType, std::size_t>> schema;
  TempRoot root;
  IniParser ini;
  // Of the exact size, so that the address sanitizer sees an access behind it.
  std::vector<char> area = std::vector<char>(AREA_CFGCONFIG_SIZE);

  Configuration() {
    StartTestLog();
    ForEachConfigSection([this](const std::string& name, const ConfigSection& section) {
      ForEachConfigKey(*section.family, [&](auto& key, ConfigType type, std::size_t offset) {
        return schema.insert({{name, key}, {type, section.offset + offset}}).second;
      });
    });
  }
  bool Load() {
    std::ranges::fill(area, kUntouched);
    bool has_document = false;
    return LoadRobotConfiguration(ini, reinterpret_cast<CfgConfig*>(area.data()), &has_document);
  }
};

TEST_F(Configuration, EveryKeyOfTheSampleStandsInItsPlaceAndIsBound) {
  // Some places as other processes know them.
  const std::pair<std::pair<std::string, std::string>, std::size_t> places[] = {
      {{"R.BASIC", "LanguageType"}, 84},  {{"R.A1.BASIC", "EncErrorValve"}, 3492},
      {{"R.A0.L1.BASIC", "VelMax"}, 532}, {{"R.A1.L7.REDUCER", "FrontRatio2"}, 5656},
      {{"R.A1.CTRL", "BD67NN0"}, 6588},   {{"R.A0.CTRL", "CartDefaultStiffA"}, 2900},
      {{"R.B.L7.DH", "Theta"}, 8824},     {{"R.A0.CTRL", "SensorErrorValve6"}, 3336},
      {{"R.L.L1", "EncOffset"}, 11028},   {{"R.H.L7.DYNAMIC", "InertiaZZ"}, 10872},
      {{"R.R1.MECH", "Length1"}, 11724},  {{"R.B.CTRL", "SafeZoneYMin"}, 9356}};
  for (const auto& [name, offset] : places) EXPECT_EQ(schema.at(name).second, offset);
  EXPECT_EQ(schema.size(), 1571U);
  root.CopySampleIni();
  ASSERT_TRUE(Load());
  std::vector<char> image(area.size(), kUntouched);
  area = image;
  for (const auto& [name, place] : schema) {
    const auto& [section, key] = name;
    const auto& [type, offset] = place;
    char* const word = &image[offset];
    const int n = static_cast<int>(offset);
    EXPECT_EQ(*word, kUntouched) << section << '.' << key << " overlaps another key";
    if (type == ConfigType::String) ini.OnSetKey(section, key, std::strcpy(word, key.c_str()));
    if (type == ConfigType::Int) ini.OnSetValue(section, key, n);
    if (type == ConfigType::Int) shared::store<std::int32_t>(word, n);
    if (type == ConfigType::Double) ini.OnSetValue(section, key, n + 0.5);
    if (type == ConfigType::Double) shared::store<double>(word, n + 0.5);
  }
  EXPECT_EQ(area, image);
  ASSERT_TRUE(ini.OnSave(root.Path(kRobotIni).c_str()) && Load());
  shared::store<std::int32_t>(image.data(), 1);
  EXPECT_EQ(area, image);
}

TEST_F(Configuration, AMissingKeyEndsTheLoadInReadOrder) {
  const std::array<std::string, 4> cases[] = {
      {"R.A0.BASIC", "TerminalPolar", "DynFloatTag", "GyroSetA"},
      {"R.A1.CTRL", "JointLimitStiff6", "JointDefaultStiff0", "JointLimitDamp0"},
      {"R.A1.CTRL", "BD67PP2", "BD67NP0", "BD67NN0"},
      {"R.A0.CTRL", "JointDefaultDamp6", "CartJNTDampJ1", "DragEnableStiff0"},
      {"R.B.CTRL", "JointLimitDamp6", "JointDefaultStiff0", "JointDefaultDamp0"}};
  for (const auto& [section, before, missing, after] : cases) {
    std::string text = "[" + section + "]\n";
    for (const auto& [name, place] : schema) {
      if (name.first == section && name.second != missing) text += name.second + "=7\n";
    }
    root.Write(kRobotIni, text);
    EXPECT_FALSE(Load() || area[0] != 0);
    EXPECT_NE(area[schema.at({section, before}).second], kUntouched) << before;
    EXPECT_EQ(area[schema.at({section, missing}).second], 0) << missing;
    EXPECT_EQ(area[schema.at({section, after}).second], kUntouched) << after;
  }
}

TEST_F(Configuration, PartialForeignAndOverlongFiles) {
  const auto names = [](std::size_t name, std::size_t sub_name) {
    return "[R.BASIC]\nName=" + std::string(name, 'n') + "\nSubName=" + std::string(sub_name, 's') +
           "\nBusFreq=1\nUseEMG=2\nGyroType=3\nGyroId=4\nLanguageType=5\n";
  };
  const std::string dof = "[R.H.BASIC]\nDof=3\n";
  const std::string to_the_end = "\5\0\0\0"s + std::string(15271, 's') + "\0"s;
  const std::tuple<std::string, bool, std::size_t, std::string> cases[] = {
      {dof + "[R.H.CTRL]\n[R.A0.L8.BASIC]\n[R.A2.BASIC]\n[R.A00.BASIC]\n[R.BASIC ]\n"
             "[R.L.L0.BASIC]\n[r.BASIC]\n[R.R0.FLANGE]\n[R.BASIC\0]\n"s,
       true, 9436, "\3\0\0\0%"s},
      {dof + "[A]\n[R.L.BASIC]\n", false, 9436, "\3"},
      {names(100, 3), true, 4, std::string(32, 'n') + "sss\0n"s},
      {names(1, 15324), true, 84, to_the_end}};
  for (const auto& [text, loaded, offset, bytes] : cases) {
    root.Write(kRobotIni, text);
    EXPECT_TRUE(Load() == loaded && area[0] == loaded) << text;
    EXPECT_EQ(std::string(&area[offset], bytes.size()), bytes);
  }
  EXPECT_EQ(LogLines("ERROR [user 1]").size(), 10U);
  // The document keeps a text that found no room.
  std::string text;
  EXPECT_TRUE(ini.OnGetValue("R.BASIC", "SubName", text) && text == std::string(15324, 's'));
  root.Remove(kRobotIni);
  EXPECT_FALSE(Load() || area[0] != 0);
  EXPECT_EQ(LogLines("ERROR [user 0]").size(), 1U);
}

}  // namespace
