// Group names on command lines and in files.
#pragma once

#include <string_view>
#include <vector>

#include "vek/groups.h"

// The row of "arm0" … "lift"; a Failure (status 2) that lists the names otherwise.
const GroupRow& GroupByKey(std::string_view key);
// The same, for groups that play trajectories.
const GroupRow& TrajectoryGroupByKey(std::string_view key);
// The code of IDLE, POSITION, TORQUE or RELEASE; a Failure (status 2) otherwise.
int StateByName(std::string_view name);

// "GROUP=VALUE".
struct GroupValue {
  const GroupRow* group;
  std::string_view value;
};
// A Failure (status 2) that names the option.
GroupValue SplitGroupValue(std::string_view option, std::string_view text);

// Unit of the group's joint positions: "rad", or "m" on the lift.
const char* JointUnit(const GroupRow& group);

// Joints in a waypoint of the group.
inline std::size_t WaypointJoints(const GroupRow& group) {
  return static_cast<std::size_t>(group.traj.floats);
}
