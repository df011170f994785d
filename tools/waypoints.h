// Waypoint files: one waypoint a line, as many comma-separated numbers as the group has joints in a
// waypoint; the first line may be a header. 20 ms lie between two waypoints.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tools/group_limits.h"
#include "vek/groups.h"

inline constexpr std::size_t kSamplesPerInterval = 20;  // one a millisecond
inline constexpr std::size_t kLeastWaypoints = 5;

struct Waypoint {
  std::array<float, AREA_WAYPOINT_FLOATS> joint{};  // ju; those beyond the group's are 0
  int line = 0;                                     // of the file
};

struct Waypoints {
  std::string file;
  std::vector<Waypoint> points;  // 5..5000
};

// Reads a file for a group; a Failure (status 2) that names file and line.
Waypoints ReadWaypoints(const std::string& file, const GroupRow& group);

// A Failure (status 2) that names file, line and joint when a waypoint lies outside the joint
// limits.
void CheckJointLimits(const Waypoints& waypoints, const GroupRow& group, const GroupLimits& limits);

// One line for each joint that would have to move faster than its limit scaled by `percent`, at its
// fastest.
std::vector<std::string> SpeedWarnings(const Waypoints& waypoints, const GroupRow& group,
                                       const GroupLimits& limits, float percent);
