// robot.ini in the configuration area.
#include "vek/configuration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "platform/shared_access.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using namespace std::string_literals;

// Keys in memory order, without a gap from `offset` on. "X:" begins section X of the unit, "i", "d"
// and "s" ints, doubles and texts; "*" stands before a key's suffixes, one key for each character,
// or for 0 to 6. "@" in the unit is one of two arms or rails, "#" one of eight joints.
struct Layout {
  std::string unit;
  std::size_t offset, unit_stride, joint_stride;
  std::string keys;
};

const std::string kBase =
    "BASIC: i Dof Type d GravityX GravityY GravityZ i LoadOffsetSwitch d BDRange BDToqR "
    "i DynFloatTag d GyroSetA GyroSetB GyroSetC EncErrorValve ";
const std::string kFrame =
    "DH: d A D Alpha Theta DYNAMIC: d M MRX MRY MRZ "
    "InertiaXX InertiaXY InertiaXZ InertiaYY InertiaYZ InertiaZZ ";
const std::string kJoint =
    "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg SensorK "
    "i SensorOffset SensorDir TorqueDir d VelMax AccMax TorqueMax LoadOffsetK " +
    kFrame +
    "MOTOR: d IRated KtDefault KtIdentify TorqueMax RotorInertia REDUCER: d FrontRatio1 "
    "FrontRatio2";
const std::string kStiffness =
    "FLANGE: d A D Alpha Theta CTRL: d JointLimitStiff* JointLimitDamp* JointDefaultStiff* "
    "JointDefaultDamp* ";

const Layout kLayout[] = {
    {"R.", 4, 0, 0, "BASIC: s Name SubName i BusFreq UseEMG GyroType GyroId LanguageType"},
    {"R.A@.", 88, 3324, 0,
     kBase + "i TerminalType TerminalPolar CtrlType JointImpPIDType CartImpPIDType"},
    {"R.A@.L#.", 196, 3324, 268, kJoint},
    {"R.A@.", 2340, 3324, 0,
     kStiffness + "DragEnableStiff* DragEnableDamp* DragAbortDamp* CartLimitStiff*XYZABCN "
                  "CartLimitDamp*XYZABCN CartDefaultStiff*XYZABCN CartDefaultDamp*XYZABCN "
                  "CartJNTDampJ*1234567 i FricFltWidth d FricDamp* FricSaturation* StopDamp* "
                  "BD67PP*012 BD67PN*012 BD67NN*012 BD67NP*012 i SensorErrorValve*"},
    {"R.B.", 6736, 0, 0, kBase},
    {"R.B.L#.", 6824, 0, 268, kJoint},
    {"R.B.", 8968, 0, 0,
     kStiffness + "StopDamp* ISFrequency ISThreshold ISDamp i SensorErrorValve* "
                  "d SafeZoneXMax SafeZoneXMin SafeZoneYMax SafeZoneYMin"},
    {"R.H.", 9436, 0, 0, "BASIC: i Dof"},
    {"R.H.L#.", 9440, 0, 180,
     "BASIC: i EncRes EncDir ExtEncRes ExtEncDir d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir "
     "d VelMax AccMax " +
         kFrame},
    {"R.L.", 10952, 0, 0, "BASIC: i Dof"},
    {"R.L.L#", 10956, 0, 64,
     ": i EncRes EncDir EncOffset d Ratio1 Ratio2 LimitPos LimitNeg i TorqueDir d VelMax AccMax"},
    {"R.R@.", 11468, 132, 0,
     "BASIC: i Dof MECH: d BaseX0 BaseY0 BaseZ0 BaseX1 BaseY1 BaseZ1 RemoteX0 RemoteY0 RemoteZ0 "
     "RemoteX1 RemoteY1 RemoteZ1 Stroke0 Stroke1 Length0 Length1"}};

struct Place {
  char type;
  std::size_t offset;
};
using Schema = std::map<std::pair<std::string, std::string>, Place>;  // by section and key

void AddUnit(const Layout& layout, std::size_t unit, std::size_t joint, Schema& schema) {
  std::string name = layout.unit;
  std::ranges::replace(name, '@', static_cast<char>('0' + unit));
  std::ranges::replace(name, '#', static_cast<char>('0' + joint));
  Place place{0, layout.offset + unit * layout.unit_stride + joint * layout.joint_stride};
  std::string section;
  std::istringstream words(layout.keys);
  for (std::string word, suffixes; words >> word;) {
    if (word == "i" || word == "d" || word == "s") {
      place.type = word[0];
    } else if (word.back() == ':') {
      section = name + word.substr(0, word.size() - 1);
    } else {
      const std::size_t star = std::min(word.find('*'), word.size());
      suffixes = star == word.size() ? "" : word.substr(star + 1);
    }
  }
}
