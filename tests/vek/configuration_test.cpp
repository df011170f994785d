// robot.ini in the configuration area.
#include "vek/configuration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "platform/shared_access.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using namespace std::string_literals;

constexpr const char* kRobotIni = "/home/QUARLE/Config/cfg/robot.ini";
constexpr char kUntouched = '%';

// Keys in memory order, without a gap from each unit's offset on. "X:" begins section X of the
// unit, "i", "d" and "s" ints, doubles and texts; "*" stands before a key's suffixes, one key for
// each character. "#" in a unit's name are eight joints, one behind the other.
using Units = std::vector<std::pair<std::string, std::size_t>>;
const std::pair<Units, const char*> kLayout[] = {
    {{{"R.", 4}}, "BASIC: s Name SubName i BusFreq UseEMG GyroType GyroId LanguageType"},
    {{{"R.A0.", 88}, {"R.A1.", 3412}, {"R.B.", 6736}},
     "BASIC: i Dof Type d GravityX GravityY GravityZ i LoadOffsetSwitch d BDRange BDToqR "
     "i DynFloatTag d GyroSetA GyroSetB GyroSetC EncErrorValve"},
    {{{"R.A0.", 176}, {"R.A1.", 3500}},
     "BASIC: i TerminalType TerminalPolar CtrlType JointImpPIDType CartImpPIDType"},
    {{{"R.A0.L#.", 196}, {"R.A1.L#.", 3520}, {"R.B.L#.", 6824}},
     "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg SensorK i "
     "SensorOffset SensorDir TorqueDir d VelMax AccMax TorqueMax LoadOffsetK DH: d A D Alpha Theta "
     "DYNAMIC: d M MRX MRY MRZ InertiaXX InertiaXY InertiaXZ InertiaYY InertiaYZ InertiaZZ MOTOR: "
     "d IRated KtDefault KtIdentify TorqueMax RotorInertia REDUCER: d FrontRatio1 FrontRatio2"},
    {{{"R.A0.", 2340}, {"R.A1.", 5664}, {"R.B.", 8968}},
     "FLANGE: d A D Alpha Theta CTRL: d JointLimitStiff*0123456 JointLimitDamp*0123456 "
     "JointDefaultStiff*0123456 JointDefaultDamp*0123456"},
    {{{"R.A0.", 2596}, {"R.A1.", 5920}},
     "CTRL: d DragEnableStiff*0123456 DragEnableDamp*0123456 DragAbortDamp*0123456 "
     "CartLimitStiff*XYZABCN CartLimitDamp*XYZABCN CartDefaultStiff*XYZABCN "
     "CartDefaultDamp*XYZABCN CartJNTDampJ*1234567 i FricFltWidth d FricDamp*0123456 "
     "FricSaturation*0123456 StopDamp*0123456 BD67PP*012 BD67PN*012 BD67NN*012 BD67NP*012 "
     "i SensorErrorValve*0123456"},
    {{{"R.B.", 9224}},
     "CTRL: d StopDamp*0123456 ISFrequency ISThreshold ISDamp i SensorErrorValve*0123456 "
     "d SafeZoneXMax SafeZoneXMin SafeZoneYMax SafeZoneYMin"},
    {{{"R.H.", 9436}, {"R.L.", 10952}, {"R.R0.", 11468}, {"R.R1.", 11600}}, "BASIC: i Dof"},
    {{{"R.H.L#.", 9440}},
     "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir "
     "d VelMax AccMax DH: d A D Alpha Theta DYNAMIC: d M MRX MRY MRZ InertiaXX InertiaXY "
     "InertiaXZ InertiaYY InertiaYZ InertiaZZ"},
    {{{"R.L.L#", 10956}},
     ": i EncRes EncDir EncOffset d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir d VelMax AccMax"},
    {{{"R.R0.", 11472}, {"R.R1.", 11604}},
     "MECH: d BaseX0 BaseY0 BaseZ0 BaseX1 BaseY1 BaseZ1 RemoteX0 RemoteY0 RemoteZ0 RemoteX1 "
     "RemoteY1 RemoteZ1 Stroke0 Stroke1 Length0 Length1"}};

struct Configuration : testing::Test {
  // Type and offset of each section's keys.
  std::map<std::pair<std::string, std::string>, std::pair<char, std::size_t>> schema;
  TempRoot root;
  IniParser ini;
  // Of the exact size, so that the address sanitizer sees an access behind it.
  std::vector<char> area = std::vector<char>(AREA_CFGCONFIG_SIZE);

  Configuration() {
    StartTestLog();
    for (const auto& [units, keys] : kLayout) {
      for (const auto& [unit, offset] : units) AddUnit(unit, keys, offset);
    }
  }
  void AddUnit(const std::string& unit, const char* keys, std::size_t offset) {
    char type = 0;
    std::string section;
    for (char joint = '0'; joint < (unit.find('#') == unit.npos ? '1' : '8'); ++joint) {
      std::istringstream words(keys);
      for (std::string word; words >> word;) {
        const std::size_t star = word.find('*');
        if (word == "i" || word == "d" || word == "s") {
          type = word[0];
        } else if (word.back() == ':') {
          section = unit + word.substr(0, word.size() - 1);
          std::ranges::replace(section, '#', joint);
        } else {
          for (const char suffix : star == word.npos ? "\0"s : word.substr(star + 1)) {
            schema[{section, (word.substr(0, star) + suffix).c_str()}] = {type, offset};
            offset += type == 'i' ? 4 : type == 'd' ? 8 : 32;
          }
        }
      }
    }
  }
  bool Load() {
    std::ranges::fill(area, kUntouched);
    bool has_document = false;
    return LoadRobotConfiguration(ini, reinterpret_cast<CfgConfig*>(area.data()), &has_document);
  }
};

TEST_F(Configuration, EveryKeyOfTheSampleStandsInItsPlaceAndIsBound) {
  root.CopySampleIni();
  ASSERT_TRUE(Load());
  std::vector<char> image(area.size(), kUntouched);
  area = image;
  for (const auto& [name, place] : schema) {
    const auto& [section, key] = name;
    const auto& [type, offset] = place;
    char* const word = &image[offset];
    const int n = static_cast<int>(offset);
    if (type == 's') ini.OnSetKey(section, key, std::strcpy(word, key.c_str()));
    if (type == 'i') ini.OnSetValue(section, key, n);
    if (type == 'i') shared::store<std::int32_t>(word, n);
    if (type == 'd') ini.OnSetValue(section, key, n + 0.5);
    if (type == 'd') shared::store<double>(word, n + 0.5);
  }
  EXPECT_EQ(area, image);
  ASSERT_TRUE(ini.OnSave(root.Path(kRobotIni).c_str()) && Load());
  shared::store<std::int32_t>(image.data(), 1);
  EXPECT_EQ(area, image);
}

TEST_F(Configuration, AMissingKeyEndsTheLoadInReadOrder) {
  const std::array<std::string, 4> cases[] = {
      {"R.BASIC", "Name", "SubName", "BusFreq"},
      {"R.A0.BASIC", "TerminalPolar", "DynFloatTag", "GyroSetA"},
      {"R.A1.CTRL", "JointLimitStiff6", "JointDefaultStiff0", "JointLimitDamp0"},
      {"R.A1.CTRL", "CartLimitStiffN", "CartDefaultStiffX", "CartLimitDampX"},
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
      {"", true, 9436, "%%%%"},
      {dof + "[R.H.CTRL]\n[R.A0.L8.BASIC]\n[R.A2.BASIC]\n[R.A00.BASIC]\n[R.BASIC ]\n"
             "[R.L.L0.BASIC]\n[r.BASIC]\n[R.R0.FLANGE]\n[R.BASIC\0]\n"s,
       true, 9436, "\3\0\0\0%"s},
      {dof + "[A]\n[R.L.BASIC]\n", false, 9436, "\3"},
      {names(100, 3), true, 4, std::string(32, 'n') + "sss\0n"s},
      {names(100, 3), true, 84, "\5\0\0\0"s + std::string(16, 'n') + "\0%"s},
      {names(1, 15323), true, 84, to_the_end},
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
