// The five motion groups: everything in which they differ, one row each, in group order.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/shared_access.h"
#include "vek/shared_areas.h"

// Words of the group's SysInfo block, of its joint positions and of its servos' texts.
struct GroupSysFields {
  shared::Field<std::int32_t> state_transfer_cmd, group_state, group_state_request, axis_state,
      standstill, brake_unlock, soft_limit_disable;
  shared::Field<std::int32_t> servo_cmd, sensor_offset_arg;
  shared::Field<std::uint32_t> servo_error_code, sensor_version, sensor_serial,
      servo_config_version, physic_state;
  shared::Field<char> firmware_text;  // that of servo j lies j * AREA_TEXT_SIZE further; no Lift's
  shared::Field<double> joint_pos;
};

// Words of the Udp area.
struct GroupUdpFields {
  shared::Field<std::uint16_t> state_echo, state_cmd;
  shared::Field<std::uint32_t> state_request_echo;
  // The set channel: the enable byte stays set, the new-data byte is cleared once taken over.
  shared::Field<float> joint_cmd;
  std::size_t joint_cmd_axes;  // a fixed number, whatever Dof
  shared::Field<std::uint8_t> joint_cmd_enable, joint_cmd_new;
  shared::Field<float> vel_percent, acc_percent;
  shared::Field<std::uint8_t> vel_enable, vel_new, acc_enable, acc_new;
  shared::Field<std::int8_t> traj_state;  // offset 0: the group plays no trajectories
};

// Words of CfgConfig; those of joint j lie j * joint_stride bytes further.
struct GroupConfigFields {
  shared::Field<std::int32_t> dof;  // planner, filter and generator count axes by this
  std::size_t joint_stride;
  shared::Field<double> limit_pos, limit_neg, vel_max, acc_max;
};

// The group's block of the trajectory file.
struct GroupTrajFields {
  shared::Field<std::int32_t> point_count, next_point;
  shared::Field<float> points;  // element waypoint * AREA_WAYPOINT_FLOATS + joint
  // Leading slots of a waypoint that are read; the other axes of a waypoint are 0.
  int floats;
};

// How the state channel treats requests other than IDLE.
enum class RequestCheck {
  None,            // Lift: always accepted
  Brake,           // Head: refused while a brake is held unlocked
  BrakeAndMotion,  // arms and body: refused, too, when they would change control while moving
};

struct GroupRow {
  std::size_t index;
  const char* name;      // first word of every message
  std::string_view key;  // on command lines and in files
  GroupSysFields sys;
  shared::Field<std::int32_t> axes;  // in Mac: limits, brakes and servo words count axes by this
  GroupUdpFields udp;
  GroupConfigFields cfg;
  GroupTrajFields traj;
  std::size_t ring;  // offset in Vek2Dru
  RequestCheck request_check;
  bool is_arm;             // axis 7 is coupled to axis 6, and a joint command ends a run
  bool has_shaper;         // frames may be shaped against a configured vibration
  bool short_state_names;  // only IDLE, POSITION, ERROR and the transitions between them have names
  // Leading axes that the messages list: the body's differ, deliberately.
  int start_listed_axes;  // "Set start position"
  int traj_listed_axes;   // "Run traj plan finish" and "stop"

  bool plays_trajectories() const { return udp.traj_state.offset != 0; }
};

// A joint word of CfgConfig (group.cfg.vel_max and its siblings) for joint j in 0..7.
inline double LoadJoint(const void* cfg, const GroupRow& group, shared::Field<double> word,
                        std::size_t j) {
  return shared::load<double>(cfg, {word.offset + j * group.cfg.joint_stride});
}

inline constexpr int kGroupCount = AREA_GROUPS;
extern const std::array<GroupRow, kGroupCount> kGroups;

// The row of "arm0" … "lift", or null.
const GroupRow* FindGroup(std::string_view key);

// Name of a state code ("POSITION", "Unknown State"); a group with short names knows fewer.
const char* GroupStateName(const GroupRow& group, int state);
// The code of a state's name, or -1. Names of transitions count as well.
int GroupStateCode(std::string_view name);

// An axis count out of a shared area, as it may be used: 0..8.
constexpr std::size_t ClampAxes(std::int32_t count) {
  return static_cast<std::size_t>(std::clamp<std::int32_t>(count, 0, AREA_AXES));
}
