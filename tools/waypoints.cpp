#include "tools/waypoints.h"

#include <algorithm>
#include <cmath>

#include "tools/failure.h"
#include "tools/group_argument.h"

namespace {

constexpr double kInterval_s = kSamplesPerInterval * 0.001;

bool IsHeader(const std::vector<std::string_view>& cells) {
  for (const std::string_view cell : cells) {
    if (ParseDouble(Trim(cell))) return false;
  }
  return true;
}

Waypoint ParseWaypoint(const std::vector<std::string_view>& cells, const GroupRow& group,
                       const std::string& where) {
  const auto joints = WaypointJoints(group);
  if (cells.size() != joints) {
    FailUsage(where, ": ", cells.size(), " numbers, ", group.key, " needs ", joints);
  }
  Waypoint point;
  for (std::size_t j = 0; j < joints; ++j) {
    const std::string_view cell = Trim(cells[j]);
    const auto value = ParseDouble(cell);
    if (!value) FailUsage(where, ": '", cell, "' is no number");
    point.joint[j] = static_cast<float>(*value);
    if (!std::isfinite(point.joint[j])) FailUsage(where, ": '", cell, "' is not finite");
  }
  return point;
}

// The joints of a waypoint that the planner takes.
std::size_t PlannedJoints(const GroupRow& group, const GroupLimits& limits) {
  return std::min(WaypointJoints(group), limits.dof);
}

}  // namespace

Waypoints ReadWaypoints(const std::string& file, const GroupRow& group) {
  Waypoints waypoints{.file = file, .points = {}};
  bool first = true;
  ForEachLine(ReadFile(file), [&](std::string_view line, int number) {
    if (Trim(line).empty()) return;
    const auto cells = Split(line, ',');
    const bool header = first && IsHeader(cells);
    first = false;
    if (header) return;
    waypoints.points.push_back(ParseWaypoint(cells, group, Text(file, ":", number)));
    waypoints.points.back().line = number;
  });
  const std::size_t count = waypoints.points.size();
  if (count < kLeastWaypoints || count > AREA_WAYPOINTS) {
    FailUsage(file, ": ", count, " waypoints, ", kLeastWaypoints, " to ", int{AREA_WAYPOINTS},
              " can be played");
  }
  return waypoints;
}

void CheckJointLimits(const Waypoints& waypoints, const GroupRow& group,
                      const GroupLimits& limits) {
  for (const Waypoint& point : waypoints.points) {
    for (std::size_t j = 0; j < PlannedJoints(group, limits); ++j) {
      const double value = point.joint[j];
      if (value >= limits.pos_min[j] && value <= limits.pos_max[j]) continue;
      FailUsage(waypoints.file, ":", point.line, ": joint ", j + 1, " at ", value,
                " is outside its limits ", limits.pos_min[j], " to ", limits.pos_max[j]);
    }
  }
}

std::vector<std::string> SpeedWarnings(const Waypoints& waypoints, const GroupRow& group,
                                       const GroupLimits& limits, float percent) {
  const Axes vel = ScaleLimits(limits.vel_max, percent);
  std::vector<std::string> warnings;
  for (std::size_t j = 0; j < PlannedJoints(group, limits); ++j) {
    double fastest = 0;
    int line = 0;
    for (std::size_t k = 1; k < waypoints.points.size(); ++k) {
      const double step = static_cast<double>(waypoints.points[k].joint[j]) -
                          static_cast<double>(waypoints.points[k - 1].joint[j]);
      if (std::fabs(step) / kInterval_s <= fastest) continue;
      fastest = std::fabs(step) / kInterval_s;
      line = waypoints.points[k].line;
    }
    if (fastest <= vel[j]) continue;
    warnings.push_back(Text(waypoints.file, ":", line, ": joint ", j + 1, " would have to move at ",
                            fastest, " per second, the limit in force is ", vel[j]));
  }
  return warnings;
}
