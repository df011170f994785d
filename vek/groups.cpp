#include "vek/groups.h"

namespace {

template <class T>
constexpr shared::Field<T> In(std::size_t base, shared::Field<T> field) {
  return {base + field.offset};
}

constexpr GroupSysFields SysFields(std::size_t g) {
  const std::size_t block = offsetof(SysInfo, group) + g * sizeof(GroupBlock);
  return {
      .state_transfer_cmd = In(block, SHARED_FIELD(GroupBlock, state_transfer_cmd)),
      .group_state = In(block, SHARED_FIELD(GroupBlock, group_state)),
      .group_state_request = In(block, SHARED_FIELD(GroupBlock, group_state_request)),
      .axis_state = In(block, SHARED_FIELD(GroupBlock, axis_state)),
      .standstill = In(block, SHARED_FIELD(GroupBlock, standstill)),
      .brake_unlock = In(block, SHARED_FIELD(GroupBlock, brake_unlock)),
      .soft_limit_disable = In(block, SHARED_FIELD(GroupBlock, soft_limit_disable)),
      .servo_cmd = In(block, SHARED_FIELD(GroupBlock, servo_cmd)),
      .sensor_offset_arg = In(block, SHARED_FIELD(GroupBlock, sensor_offset_arg)),
      .servo_error_code = In(block, SHARED_FIELD(GroupBlock, servo_error_code)),
      .sensor_version = In(block, SHARED_FIELD(GroupBlock, sensor_version)),
      .sensor_serial = In(block, SHARED_FIELD(GroupBlock, sensor_serial)),
      .servo_config_version = In(block, SHARED_FIELD(GroupBlock, servo_config_version)),
      .physic_state = {offsetof(SysInfo, group_physic_state) + g * sizeof(std::uint32_t)},
      .firmware_text = {offsetof(SysInfo, firmware_text) + g * sizeof(SysInfo::firmware_text[0])},
      .joint_pos = In(offsetof(SysInfo, joints) + g * sizeof(JointPosBlock),
                      SHARED_FIELD(JointPosBlock, joint_pos)),
  };
}

// Command: the group's block of state words. Set: its block of percents, enable and trajectory
// bytes.
template <class Command, class Set>
constexpr GroupUdpFields UdpFields(std::size_t command, std::size_t set) {
  GroupUdpFields fields{
      .state_echo = In(command, SHARED_FIELD(Command, state_echo)),
      .state_cmd = In(command, SHARED_FIELD(Command, state_cmd)),
      .state_request_echo = In(command, SHARED_FIELD(Command, state_request_echo)),
      .joint_cmd = In(command, SHARED_FIELD(Command, joint_cmd)),
      .joint_cmd_axes = std::extent_v<decltype(Command::joint_cmd)>,
      .joint_cmd_enable = In(set, SHARED_FIELD(Set, joint_cmd_enable)),
      .joint_cmd_new = In(set, SHARED_FIELD(Set, joint_cmd_new)),
      .vel_percent = In(set, SHARED_FIELD(Set, vel_percent)),
      .acc_percent = In(set, SHARED_FIELD(Set, acc_percent)),
      .vel_enable = In(set, SHARED_FIELD(Set, vel_enable)),
      .vel_new = In(set, SHARED_FIELD(Set, vel_new)),
      .acc_enable = In(set, SHARED_FIELD(Set, acc_enable)),
      .acc_new = In(set, SHARED_FIELD(Set, acc_new)),
      .traj_state = {},
  };
  if constexpr (requires(Set & s) { s.traj_state; }) {
    fields.traj_state = {set + offsetof(Set, traj_state)};
  }
  return fields;
}

template <class Unit, class Joint>
constexpr GroupConfigFields ConfigFields(std::size_t unit) {
  const std::size_t joints = unit + offsetof(Unit, joint);
  return {
      .dof = In(unit, SHARED_FIELD(Unit, Dof)),
      .joint_stride = sizeof(Joint),
      .limit_pos = In(joints, SHARED_FIELD(Joint, LimitPos)),
      .limit_neg = In(joints, SHARED_FIELD(Joint, LimitNeg)),
      .vel_max = In(joints, SHARED_FIELD(Joint, VelMax)),
      .acc_max = In(joints, SHARED_FIELD(Joint, AccMax)),
  };
}

constexpr GroupTrajFields TrajFields(std::size_t g, int floats) {
  const std::size_t block = offsetof(TrajBuf, group) + g * sizeof(TrajBlock);
  return {
      .point_count = In(block, SHARED_FIELD(TrajBlock, point_count)),
      .next_point = In(block, SHARED_FIELD(TrajBlock, next_point)),
      .points = In(block, SHARED_FIELD(TrajBlock, points)),
      .floats = floats,
  };
}

constexpr shared::Field<std::int32_t> Axes(std::size_t g) {
  return {offsetof(MacArea, axes) + g * sizeof(std::int32_t)};
}

constexpr std::size_t Ring(std::size_t g) {
  return offsetof(Vek2Dru, ring) + g * sizeof(FrameRing);
}

constexpr GroupRow Arm(std::size_t a, const char* name, std::string_view key) {
  return {
      .index = a,
      .name = name,
      .key = key,
      .sys = SysFields(a),
      .axes = Axes(a),
      .udp =
          UdpFields<UdpArmCommand, UdpArmSet>(offsetof(UdpArea, arm) + a * sizeof(UdpArmCommand),
                                              offsetof(UdpArea, arm_set) + a * sizeof(UdpArmSet)),
      .cfg = ConfigFields<CfgArm, CfgJoint>(offsetof(CfgConfig, arm) + a * sizeof(CfgArm)),
      .traj = TrajFields(a, 7),
      .ring = Ring(a),
      .request_check = RequestCheck::BrakeAndMotion,
      .is_arm = true,
      .has_shaper = false,
      .short_state_names = false,
      .start_listed_axes = 7,
      .traj_listed_axes = 7,
  };
}

struct StateName {
  const char* name;
  int code;
  bool in_short_list;
};

constexpr StateName kStateNames[] = {
    {"IDLE", GROUP_STATE_IDLE, true},
    {"POSITION", GROUP_STATE_POSITION, true},
    {"TORQUE", GROUP_STATE_TORQUE, false},
    {"RELEASE", GROUP_STATE_RELEASE, false},
    {"ERROR", GROUP_STATE_ERROR, true},
    {"TRANS_TO_POSITION", GROUP_STATE_TRANS_TO_POSITION, true},
    {"TRANS_TO_TORQUE", GROUP_STATE_TRANS_TO_TORQUE, false},
    {"TRANS_TO_RELEASE", GROUP_STATE_TRANS_TO_RELEASE, false},
    {"TRANS_TO_IDLE", GROUP_STATE_TRANS_TO_IDLE, true},
};

}  // namespace

constinit const std::array<GroupRow, kGroupCount> kGroups = {{
    Arm(0, "Arm0", "arm0"),
    Arm(1, "Arm1", "arm1"),
    {
        .index = 2,
        .name = "Head",
        .key = "head",
        .sys = SysFields(2),
        .axes = Axes(2),
        .udp = UdpFields<decltype(UdpArea::head), decltype(UdpArea::head_set)>(
            offsetof(UdpArea, head), offsetof(UdpArea, head_set)),
        .cfg = ConfigFields<CfgHead, CfgHeadJoint>(offsetof(CfgConfig, head)),
        .traj = TrajFields(2, 0),
        .ring = Ring(2),
        .request_check = RequestCheck::Brake,
        .is_arm = false,
        .has_shaper = false,
        .short_state_names = true,
        .start_listed_axes = 7,
        .traj_listed_axes = 0,
    },
    {
        .index = 3,
        .name = "Body",
        .key = "body",
        .sys = SysFields(3),
        .axes = Axes(3),
        .udp = UdpFields<decltype(UdpArea::body), decltype(UdpArea::body_set)>(
            offsetof(UdpArea, body), offsetof(UdpArea, body_set)),
        .cfg = ConfigFields<CfgBody, CfgJoint>(offsetof(CfgConfig, body)),
        .traj = TrajFields(3, 6),
        .ring = Ring(3),
        .request_check = RequestCheck::BrakeAndMotion,
        .is_arm = false,
        .has_shaper = true,
        .short_state_names = false,
        .start_listed_axes = 7,
        .traj_listed_axes = 6,
    },
    {
        .index = 4,
        .name = "Lift",
        .key = "lift",
        .sys = SysFields(4),
        .axes = Axes(4),
        .udp = UdpFields<decltype(UdpArea::lift), decltype(UdpArea::lift_set)>(
            offsetof(UdpArea, lift), offsetof(UdpArea, lift_set)),
        .cfg = ConfigFields<CfgLift, CfgLiftJoint>(offsetof(CfgConfig, lift)),
        .traj = TrajFields(4, 2),
        .ring = Ring(4),
        .request_check = RequestCheck::None,
        .is_arm = false,
        .has_shaper = false,
        .short_state_names = true,
        .start_listed_axes = 2,
        .traj_listed_axes = 2,
    },
}};

const GroupRow* FindGroup(std::string_view key) {
  for (const GroupRow& group : kGroups) {
    if (group.key == key) return &group;
  }
  return nullptr;
}

const char* GroupStateName(const GroupRow& group, int state) {
  for (const StateName& row : kStateNames) {
    if (row.code == state && (row.in_short_list || !group.short_state_names)) return row.name;
  }
  return "Unknown State";
}

int GroupStateCode(std::string_view name) {
  for (const StateName& row : kStateNames) {
    if (name == row.name) return row.code;
  }
  return -1;
}
