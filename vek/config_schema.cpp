#include "vek/config_schema.h"

#include <cstdint>
#include <cstdio>
#include <string_view>
#include <type_traits>

#include "vek/shared_areas.h"

namespace {

// An entry for a member of a record: its type follows from the member's, and an array of words
// takes one suffix for each element.
template <class Member>
consteval ConfigKeys Keys(const char* stem, const char* suffixes, std::size_t offset) {
  using Word = std::remove_extent_t<Member>;
  if constexpr (std::is_same_v<Member, char[kConfigStringSize]>) {
    return {stem, suffixes, ConfigType::String, offset};
  } else {
    static_assert(std::is_same_v<Word, double> || std::is_same_v<Word, std::int32_t>);
    if (std::string_view(suffixes).size() != std::extent_v<Member>) throw "one suffix an element";
    const bool real = std::is_same_v<Word, double>;
    return {stem, suffixes, real ? ConfigType::Double : ConfigType::Int, offset};
  }
}

// Members bear the names of their keys.
#define KEYS(record, member, suffixes) \
  Keys<decltype(record::member)>(#member, suffixes, offsetof(record, member))
#define KEY(record, member) KEYS(record, member, "")

constexpr const char* kJoints = "0123456";
constexpr const char* kJointsFrom1 = "1234567";
constexpr const char* kCartesian = "XYZABCN";
constexpr const char* kCoefficients = "012";

// The lists stand in read order. Where that is not the order in memory, it is meant so: reading
// stops at the first key that is missing.

constexpr ConfigKeys kRobot[] = {
    KEY(CfgConfig, Name),         KEY(CfgConfig, SubName),  KEY(CfgConfig, BusFreq),
    KEY(CfgConfig, UseEMG),       KEY(CfgConfig, GyroType), KEY(CfgConfig, GyroId),
    KEY(CfgConfig, LanguageType),
};

constexpr ConfigKeys kArm[] = {
    KEY(CfgArm, Dof),
    KEY(CfgArm, Type),
    KEY(CfgArm, GravityX),
    KEY(CfgArm, GravityY),
    KEY(CfgArm, GravityZ),
    KEY(CfgArm, LoadOffsetSwitch),
    KEY(CfgArm, BDRange),
    KEY(CfgArm, BDToqR),
    KEY(CfgArm, TerminalType),
    KEY(CfgArm, TerminalPolar),
    KEY(CfgArm, DynFloatTag),
    KEY(CfgArm, GyroSetA),
    KEY(CfgArm, GyroSetB),
    KEY(CfgArm, GyroSetC),
    KEY(CfgArm, CtrlType),
    KEY(CfgArm, EncErrorValve),
    KEY(CfgArm, JointImpPIDType),
    KEY(CfgArm, CartImpPIDType),
};

constexpr ConfigKeys kBody[] = {
    KEY(CfgBody, Dof),           KEY(CfgBody, Type),     KEY(CfgBody, GravityX),
    KEY(CfgBody, GravityY),      KEY(CfgBody, GravityZ), KEY(CfgBody, LoadOffsetSwitch),
    KEY(CfgBody, BDRange),       KEY(CfgBody, BDToqR),   KEY(CfgBody, DynFloatTag),
    KEY(CfgBody, GyroSetA),      KEY(CfgBody, GyroSetB), KEY(CfgBody, GyroSetC),
    KEY(CfgBody, EncErrorValve),
};

constexpr ConfigKeys kHead[] = {KEY(CfgHead, Dof)};
constexpr ConfigKeys kLift[] = {KEY(CfgLift, Dof)};
constexpr ConfigKeys kRail[] = {KEY(CfgRail, Dof)};

// Joints of arms and body.
constexpr ConfigKeys kJoint[] = {
    KEY(CfgJoint, EncRes),       KEY(CfgJoint, EncDir),    KEY(CfgJoint, ExtEncRes),
    KEY(CfgJoint, ExtEncDir),    KEY(CfgJoint, Ratio1),    KEY(CfgJoint, Ratio2),
    KEY(CfgJoint, LimitPos),     KEY(CfgJoint, LimitNeg),  KEY(CfgJoint, SensorK),
    KEY(CfgJoint, SensorOffset), KEY(CfgJoint, SensorDir), KEY(CfgJoint, TorqueDir),
    KEY(CfgJoint, VelMax),       KEY(CfgJoint, AccMax),    KEY(CfgJoint, TorqueMax),
    KEY(CfgJoint, LoadOffsetK),
};

constexpr ConfigKeys kHeadJoint[] = {
    KEY(CfgHeadJoint, EncRes),    KEY(CfgHeadJoint, EncDir),   KEY(CfgHeadJoint, ExtEncRes),
    KEY(CfgHeadJoint, ExtEncDir), KEY(CfgHeadJoint, Ratio1),   KEY(CfgHeadJoint, Ratio2),
    KEY(CfgHeadJoint, LimitPos),  KEY(CfgHeadJoint, LimitNeg), KEY(CfgHeadJoint, TorqueDir),
    KEY(CfgHeadJoint, VelMax),    KEY(CfgHeadJoint, AccMax),
};

constexpr ConfigKeys kLiftJoint[] = {
    KEY(CfgLiftJoint, EncRes),   KEY(CfgLiftJoint, EncDir),    KEY(CfgLiftJoint, EncOffset),
    KEY(CfgLiftJoint, Ratio1),   KEY(CfgLiftJoint, Ratio2),    KEY(CfgLiftJoint, LimitPos),
    KEY(CfgLiftJoint, LimitNeg), KEY(CfgLiftJoint, TorqueDir), KEY(CfgLiftJoint, VelMax),
    KEY(CfgLiftJoint, AccMax),
};

// Frames of joints and flanges.
constexpr ConfigKeys kDh[] = {KEY(CfgDh, A), KEY(CfgDh, D), KEY(CfgDh, Alpha), KEY(CfgDh, Theta)};

constexpr ConfigKeys kDynamic[] = {
    KEY(CfgDynamic, M),         KEY(CfgDynamic, MRX),       KEY(CfgDynamic, MRY),
    KEY(CfgDynamic, MRZ),       KEY(CfgDynamic, InertiaXX), KEY(CfgDynamic, InertiaXY),
    KEY(CfgDynamic, InertiaXZ), KEY(CfgDynamic, InertiaYY), KEY(CfgDynamic, InertiaYZ),
    KEY(CfgDynamic, InertiaZZ),
};

constexpr ConfigKeys kMotor[] = {
    KEY(CfgMotor, IRated),    KEY(CfgMotor, KtDefault),    KEY(CfgMotor, KtIdentify),
    KEY(CfgMotor, TorqueMax), KEY(CfgMotor, RotorInertia),
};

constexpr ConfigKeys kReducer[] = {KEY(CfgReducer, FrontRatio1), KEY(CfgReducer, FrontRatio2)};

constexpr ConfigKeys kArmCtrl[] = {
    KEYS(CfgArm, JointLimitStiff, kJoints),
    KEYS(CfgArm, JointDefaultStiff, kJoints),
    KEYS(CfgArm, JointLimitDamp, kJoints),
    KEYS(CfgArm, JointDefaultDamp, kJoints),
    KEYS(CfgArm, CartJNTDampJ, kJointsFrom1),
    KEYS(CfgArm, DragEnableStiff, kJoints),
    KEYS(CfgArm, DragEnableDamp, kJoints),
    KEYS(CfgArm, DragAbortDamp, kJoints),
    KEYS(CfgArm, CartLimitStiff, kCartesian),
    KEYS(CfgArm, CartDefaultStiff, kCartesian),
    KEYS(CfgArm, CartLimitDamp, kCartesian),
    KEYS(CfgArm, CartDefaultDamp, kCartesian),
    KEY(CfgArm, FricFltWidth),
    KEYS(CfgArm, FricDamp, kJoints),
    KEYS(CfgArm, FricSaturation, kJoints),
    KEYS(CfgArm, StopDamp, kJoints),
    KEYS(CfgArm, BD67PP, kCoefficients),
    KEYS(CfgArm, BD67NP, kCoefficients),
    KEYS(CfgArm, BD67NN, kCoefficients),
    KEYS(CfgArm, BD67PN, kCoefficients),
    KEYS(CfgArm, SensorErrorValve, kJoints),
};

constexpr ConfigKeys kBodyCtrl[] = {
    KEYS(CfgBody, JointLimitStiff, kJoints),
    KEYS(CfgBody, JointLimitDamp, kJoints),
    KEYS(CfgBody, JointDefaultStiff, kJoints),
    KEYS(CfgBody, JointDefaultDamp, kJoints),
    KEYS(CfgBody, StopDamp, kJoints),
    KEY(CfgBody, ISFrequency),
    KEY(CfgBody, ISThreshold),
    KEY(CfgBody, ISDamp),
    KEYS(CfgBody, SensorErrorValve, kJoints),
    KEY(CfgBody, SafeZoneXMax),
    KEY(CfgBody, SafeZoneXMin),
    KEY(CfgBody, SafeZoneYMax),
    KEY(CfgBody, SafeZoneYMin),
};

constexpr ConfigKeys kRailMech[] = {
    KEY(CfgRail, BaseX0),   KEY(CfgRail, BaseY0),   KEY(CfgRail, BaseZ0),   KEY(CfgRail, BaseX1),
    KEY(CfgRail, BaseY1),   KEY(CfgRail, BaseZ1),   KEY(CfgRail, RemoteX0), KEY(CfgRail, RemoteY0),
    KEY(CfgRail, RemoteZ0), KEY(CfgRail, RemoteX1), KEY(CfgRail, RemoteY1), KEY(CfgRail, RemoteZ1),
    KEY(CfgRail, Stroke0),  KEY(CfgRail, Stroke1),  KEY(CfgRail, Length0),  KEY(CfgRail, Length1),
};

#undef KEY
#undef KEYS

constexpr ConfigFamily One(const char* pattern, std::size_t offset,
                           std::span<const ConfigKeys> keys) {
  return {pattern, 1, 1, offset, 0, 0, keys};
}
constexpr ConfigFamily Arms(const char* pattern, std::size_t offset,
                            std::span<const ConfigKeys> keys) {
  return {pattern, 2, 1, offset, sizeof(CfgArm), 0, keys};
}
constexpr ConfigFamily Rails(const char* pattern, std::size_t offset,
                             std::span<const ConfigKeys> keys) {
  return {pattern, 2, 1, offset, sizeof(CfgRail), 0, keys};
}
constexpr ConfigFamily ArmJoints(const char* pattern, std::size_t offset,
                                 std::span<const ConfigKeys> keys) {
  return {pattern, 2, AREA_AXES, offset, sizeof(CfgArm), sizeof(CfgJoint), keys};
}
template <class Joint>
constexpr ConfigFamily Joints(const char* pattern, std::size_t offset,
                              std::span<const ConfigKeys> keys) {
  return {pattern, 1, AREA_AXES, offset, 0, sizeof(Joint), keys};
}

#define AT(member) offsetof(CfgConfig, member)

constexpr ConfigFamily kFamilies[] = {
    One("R.BASIC", 0, kRobot),
    Arms("R.A%d.BASIC", AT(arm), kArm),
    One("R.B.BASIC", AT(body), kBody),
    One("R.H.BASIC", AT(head), kHead),
    One("R.L.BASIC", AT(lift), kLift),
    Rails("R.R%d.BASIC", AT(rail), kRail),
    ArmJoints("R.A%d.L%d.BASIC", AT(arm[0].joint), kJoint),
    Joints<CfgJoint>("R.B.L%d.BASIC", AT(body.joint), kJoint),
    Joints<CfgHeadJoint>("R.H.L%d.BASIC", AT(head.joint), kHeadJoint),
    Joints<CfgLiftJoint>("R.L.L%d", AT(lift.joint), kLiftJoint),
    ArmJoints("R.A%d.L%d.DH", AT(arm[0].joint[0].dh), kDh),
    Joints<CfgJoint>("R.B.L%d.DH", AT(body.joint[0].dh), kDh),
    Joints<CfgHeadJoint>("R.H.L%d.DH", AT(head.joint[0].dh), kDh),
    Arms("R.A%d.FLANGE", AT(arm[0].flange), kDh),
    One("R.B.FLANGE", AT(body.flange), kDh),
    ArmJoints("R.A%d.L%d.DYNAMIC", AT(arm[0].joint[0].dynamic), kDynamic),
    Joints<CfgJoint>("R.B.L%d.DYNAMIC", AT(body.joint[0].dynamic), kDynamic),
    Joints<CfgHeadJoint>("R.H.L%d.DYNAMIC", AT(head.joint[0].dynamic), kDynamic),
    ArmJoints("R.A%d.L%d.MOTOR", AT(arm[0].joint[0].motor), kMotor),
    Joints<CfgJoint>("R.B.L%d.MOTOR", AT(body.joint[0].motor), kMotor),
    ArmJoints("R.A%d.L%d.REDUCER", AT(arm[0].joint[0].reducer), kReducer),
    Joints<CfgJoint>("R.B.L%d.REDUCER", AT(body.joint[0].reducer), kReducer),
    Arms("R.A%d.CTRL", AT(arm), kArmCtrl),
    One("R.B.CTRL", AT(body), kBodyCtrl),
    Rails("R.R%d.MECH", AT(rail), kRailMech),
};

#undef AT

// Calls visit(name, section) for all sections until it returns true; true when it did.
template <class Visit>
bool AnySection(const Visit& visit) {
  for (const ConfigFamily& family : kFamilies) {
    for (int unit = 0; unit < family.units; ++unit) {
      for (int joint = 0; joint < family.joints; ++joint) {
        char name[32];
        // A pattern without units has the joint as its only index; surplus arguments are ignored.
        std::snprintf(name, sizeof name, family.pattern, family.units > 1 ? unit : joint, joint);
        const auto u = static_cast<std::size_t>(unit);
        const auto j = static_cast<std::size_t>(joint);
        const ConfigSection section{
            &family, family.offset + u * family.unit_stride + j * family.joint_stride};
        if (visit(name, section)) return true;
      }
    }
  }
  return false;
}

}  // namespace

std::span<const ConfigFamily> ConfigFamilies() {
  return kFamilies;
}

ConfigSection FindConfigSection(const std::string& name) {
  ConfigSection found;
  AnySection([&](const char* candidate, const ConfigSection& section) {
    if (name != candidate) return false;
    found = section;
    return true;
  });
  return found;
}

bool ForEachConfigKey(
    const ConfigFamily& family,
    const std::function<bool(const std::string& key, ConfigType type, std::size_t offset)>& visit) {
  for (const ConfigKeys& keys : family.keys) {
    if (*keys.suffixes == '\0') {
      if (!visit(keys.stem, keys.type, keys.offset)) return false;
      continue;
    }
    const std::size_t stride =
        keys.type == ConfigType::Double ? sizeof(double) : sizeof(std::int32_t);
    std::size_t offset = keys.offset;
    for (const char* suffix = keys.suffixes; *suffix != '\0'; ++suffix, offset += stride) {
      if (!visit(std::string(keys.stem) + *suffix, keys.type, offset)) return false;
    }
  }
  return true;
}

void ForEachConfigSection(
    const std::function<void(const std::string& name, const ConfigSection& section)>& visit) {
  AnySection([&](const char* name, const ConfigSection& section) {
    visit(name, section);
    return false;
  });
}
