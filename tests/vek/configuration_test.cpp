// robot.ini in the configuration area.
#include "vek/configuration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <sstream>

#include "platform/shared_access.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using namespace std::string_literals;

// Keys in memory order, without a gap from `offset` on. "X:" begins section X of the unit, "i", "d"
// and "s" ints, doubles and texts; "*" stands before a key's suffixes, one key for each character.
// In a unit's name "@" is an arm or rail, "#" a joint.
struct Layout {
  std::string unit;
  std::size_t offset, units, unit_stride, joints, joint_stride;
  std::string keys;
};

const std::string kBase =
    "BASIC: i Dof Type d GravityX GravityY GravityZ i LoadOffsetSwitch d BDRange BDToqR "
    "i DynFloatTag d GyroSetA GyroSetB GyroSetC EncErrorValve ";
const std::string kFrame =
    "DH: d A D Alpha Theta DYNAMIC: d M MRX MRY MRZ InertiaXX InertiaXY InertiaXZ InertiaYY "
    "InertiaYZ InertiaZZ ";
const std::string kJoint =
    "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg SensorK "
    "i SensorOffset SensorDir TorqueDir d VelMax AccMax TorqueMax LoadOffsetK " +
    kFrame +
    "MOTOR: d IRated KtDefault KtIdentify TorqueMax RotorInertia "
    "REDUCER: d FrontRatio1 FrontRatio2";
const std::string kStiffness =
    "FLANGE: d A D Alpha Theta CTRL: d JointLimitStiff*0123456 JointLimitDamp*0123456 "
    "JointDefaultStiff*0123456 JointDefaultDamp*0123456 ";

const Layout kLayout[] = {
    {"R.", 4, 1, 0, 1, 0, "BASIC: s Name SubName i BusFreq UseEMG GyroType GyroId LanguageType"},
    {"R.A@.", 88, 2, 3324, 1, 0,
     kBase + "i TerminalType TerminalPolar CtrlType JointImpPIDType CartImpPIDType"},
    {"R.A@.L#.", 196, 2, 3324, 8, 268, kJoint},
    {"R.A@.", 2340, 2, 3324, 1, 0,
     kStiffness + "DragEnableStiff*0123456 DragEnableDamp*0123456 DragAbortDamp*0123456 "
                  "CartLimitStiff*XYZABCN CartLimitDamp*XYZABCN CartDefaultStiff*XYZABCN "
                  "CartDefaultDamp*XYZABCN CartJNTDampJ*1234567 i FricFltWidth d FricDamp*0123456 "
                  "FricSaturation*0123456 StopDamp*0123456 BD67PP*012 BD67PN*012 BD67NN*012 "
                  "BD67NP*012 i SensorErrorValve*0123456"},
    {"R.B.", 6736, 1, 0, 1, 0, kBase},
    {"R.B.L#.", 6824, 1, 0, 8, 268, kJoint},
    {"R.B.", 8968, 1, 0, 1, 0,
     kStiffness + "StopDamp*0123456 ISFrequency ISThreshold ISDamp i SensorErrorValve*0123456 "
                  "d SafeZoneXMax SafeZoneXMin SafeZoneYMax SafeZoneYMin"},
    {"R.H.", 9436, 1, 0, 1, 0, "BASIC: i Dof"},
    {"R.H.L#.", 9440, 1, 0, 8, 180,
     "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir "
     "d VelMax AccMax " +
         kFrame},
    {"R.L.", 10952, 1, 0, 1, 0, "BASIC: i Dof"},
    {"R.L.L#", 10956, 1, 0, 8, 64,
     ": i EncRes EncDir EncOffset d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir d VelMax AccMax"},
    {"R.R@.", 11468, 2, 132, 1, 0,
     "BASIC: i Dof MECH: d BaseX0 BaseY0 BaseZ0 BaseX1 BaseY1 BaseZ1 RemoteX0 RemoteY0 RemoteZ0 "
     "RemoteX1 RemoteY1 RemoteZ1 Stroke0 Stroke1 Length0 Length1"}};

struct Place {
  char type;
  std::size_t offset;
};
using Sections = std::map<std::string, std::map<std::string, Place>>;

void AddUnit(const Layout& layout, std::size_t unit, std::size_t joint, Sections& sections) {
  std::string name = layout.unit;
  std::ranges::replace(name, '@', static_cast<char>('0' + unit));
  std::ranges::replace(name, '#', static_cast<char>('0' + joint));
  Place place{0, layout.offset + unit * layout.unit_stride + joint * layout.joint_stride};
  std::string section;
  std::istringstream words(layout.keys);
  for (std::string word; words >> word;) {
    const std::size_t star = word.find('*');
    if (word.back() == ':') {
      section = name + word.substr(0, word.size() - 1);
    } else if (word == "i" || word == "d" || word == "s") {
      place.type = word[0];
    } else {
      for (const char suffix : star == word.npos ? "\0"s : word.substr(star + 1)) {
        sections[section][(word.substr(0, star) + suffix).c_str()] = place;
        place.offset += place.type == 'i' ? 4 : place.type == 'd' ? 8 : 32;
      }
    }
  }
}

Sections MakeSchema() {
  Sections sections;
  for (const Layout& layout : kLayout) {
    for (std::size_t i = 0; i < layout.units * layout.joints; ++i) {
      AddUnit(layout, i / layout.joints, i % layout.joints, sections);
    }
  }
  return sections;
}

using Image = std::array<char, AREA_CFGCONFIG_SIZE>;
constexpr char kUntouched = 0x25;

struct Configuration : testing::Test {
  const Sections schema = MakeSchema();
  TempRoot root;
  IniParser ini;
  // Of the exact size, so that the address sanitizer sees an access behind it.
  std::unique_ptr<Image> area = std::make_unique<Image>();

  Configuration() { StartTestLog(); }
  bool Load() {
    area->fill(kUntouched);
    return LoadRobotConfiguration(ini, reinterpret_cast<CfgConfig*>(area->data()));
  }
  bool Load(const std::string& text) {
    root.Write("/home/QUARLE/Config/cfg/robot.ini", text);
    return Load();
  }
  int Complete() const { return shared::load<std::int32_t>(area->data()); }
  std::string Bytes(std::size_t offset, std::size_t size) const {
    return {area->data() + offset, size};
  }
};

TEST_F(Configuration, EveryKeyStandsInItsPlaceAndIsBound) {
  Image image;
  image.fill(kUntouched);
  shared::store<std::int32_t>(image.data(), 1);
  int n = 0;
  // The next value: into the image, and as text.
  const auto next = [&](const Place& place) -> std::string {
    char* word = image.data() + place.offset;
    const std::string text = std::to_string(++n);
    if (place.type == 's') std::strcpy(word, text.c_str());
    if (place.type == 'i') shared::store<std::int32_t>(word, n);
    if (place.type == 'd') shared::store<double>(word, n + 0.5);
    return place.type == 'd' ? text + ".5" : text;
  };
  std::string text;
  for (const auto& [section, places] : schema) {
    text += "[" + section + "]\n";
    for (const auto& [key, place] : places) text += key + "=" + next(place) + "\n";
  }
  ASSERT_TRUE(schema.size() == 168 && n == 1571);
  ASSERT_TRUE(Load(text));
  EXPECT_EQ(*area, image);
  EXPECT_EQ(LogLines(), std::vector<std::string>{"INFO  Load robot.ini success"});

  for (const auto& [section, places] : schema) {
    for (const auto& [key, place] : places) {
      std::string value = next(place);
      if (place.type == 's') ini.OnSetKey(section, key, value.data());
      if (place.type == 'i') ini.OnSetValue(section, key, n);
      if (place.type == 'd') ini.OnSetValue(section, key, n + 0.5);
    }
  }
  EXPECT_EQ(*area, image);
}

TEST_F(Configuration, TheSampleIsCompleteAndLaidOutAsSaved) {
  root.CopySampleIni();
  ASSERT_TRUE(Load());
  std::vector<std::string> sections;
  ini.OnGetSectionList(sections);
  EXPECT_EQ(sections.size(), schema.size());
  EXPECT_EQ(LogLines().size(), 1U);
  ASSERT_TRUE(ini.OnSave(root.Path("/saved").c_str()));
  EXPECT_EQ(root.Read("/saved"), root.Read("/home/QUARLE/Config/cfg/robot.ini"));
}

TEST_F(Configuration, AMissingKeyEndsTheLoadInReadOrder) {
  const struct {
    std::string section, before, missing, after;
  } cases[] = {{"R.BASIC", "Name", "SubName", "BusFreq"},
               {"R.A0.BASIC", "TerminalPolar", "DynFloatTag", "GyroSetA"},
               {"R.A1.CTRL", "JointLimitStiff6", "JointDefaultStiff0", "JointLimitDamp0"},
               {"R.A1.CTRL", "CartLimitStiffN", "CartDefaultStiffX", "CartLimitDampX"},
               {"R.A1.CTRL", "BD67PP2", "BD67NP0", "BD67NN0"},
               {"R.A0.CTRL", "JointDefaultDamp6", "CartJNTDampJ1", "DragEnableStiff0"},
               {"R.B.CTRL", "JointLimitDamp6", "JointDefaultStiff0", "JointDefaultDamp0"},
               {"R.H.L7.BASIC", "LimitNeg", "TorqueDir", "VelMax"},
               {"R.L.L3", "EncDir", "EncOffset", "Ratio1"}};
  for (const auto& c : cases) {
    const auto& places = schema.at(c.section);
    std::string text = "[" + c.section + "]\n";
    for (const auto& [key, place] : places) {
      if (key != c.missing) text += key + "=7\n";
    }
    EXPECT_FALSE(Load(text));
    EXPECT_EQ(Complete(), 0);
    const auto first_byte = [&](const std::string& key) { return (*area)[places.at(key).offset]; };
    EXPECT_NE(first_byte(c.before), kUntouched) << c.section << " " << c.before;
    EXPECT_EQ(first_byte(c.missing), 0) << c.section << " " << c.missing;
    EXPECT_EQ(first_byte(c.after), kUntouched) << c.section << " " << c.after;
    EXPECT_NE(LogLines("ERROR [user 2]").back().find(c.missing), std::string::npos);
  }
}

TEST_F(Configuration, OutcomesOfPartialAndForeignFiles) {
  const std::string dof = "[R.H.BASIC]\nDof=3\n";
  const struct {
    std::string text;
    bool loaded;
    std::string dof;
    std::size_t unknown;  // sections reported
  } cases[] = {{"", true, "%%%%", 0},
               {dof, true, "\3\0\0\0"s, 0},
               {dof + "[R.H.CTRL]\n[R.A0.L8.BASIC]\n[R.A2.BASIC]\n[R.A00.BASIC]\n[R.BASIC ]\n"
                      "[R.L.L0.BASIC]\n[r.BASIC]\n[R.R0.FLANGE]\n[R.BASIC\0]\n"s,
                true, "\3\0\0\0"s, 9},
               {dof + "[A]\n[R.L.BASIC]\n", false, "\3\0\0\0"s, 10}};
  for (const auto& c : cases) {
    EXPECT_EQ(Load(c.text), c.loaded);
    EXPECT_EQ(Complete(), c.loaded ? 1 : 0);
    EXPECT_EQ(Bytes(9436, 4), c.dof);
    EXPECT_EQ(LogLines("ERROR [user 1]").size(), c.unknown);
  }
  root.Remove("/home/QUARLE/Config/cfg/robot.ini");
  EXPECT_FALSE(Load());
  EXPECT_EQ(Bytes(0, 15360), "\0\0\0\0"s + std::string(15356, kUntouched));
  EXPECT_EQ(LogLines("ERROR [user 0]").size(), 1U);
}

TEST_F(Configuration, OverlongNamesRunOnUpToTheAreasEnd) {
  const std::string numbers = "BusFreq=1\nUseEMG=2\nGyroType=3\nGyroId=4\nLanguageType=5\n";
  EXPECT_TRUE(Load("[R.BASIC]\nName=" + std::string(100, 'n') + "\nSubName=sub\n" + numbers));
  EXPECT_EQ(Bytes(4, 36), std::string(32, 'n') + "sub\0"s);
  EXPECT_EQ(Bytes(84, 21), "\5\0\0\0"s + std::string(16, 'n') + "\0"s);
  for (const std::size_t length : {15323U, 15324U, 40000U}) {
    const std::string name(length, 's');
    EXPECT_TRUE(Load("[R.BASIC]\nName=n\nSubName=" + name + "\n" + numbers));
    EXPECT_EQ(Bytes(84, 15276), "\5\0\0\0"s + std::string(15271, 's') + "\0"s);
    std::string text;
    EXPECT_TRUE(ini.OnGetValue("R.BASIC", "SubName", text) && text == name);
  }
}

}  // namespace
