// Where a played path passes its waypoints.
#pragma once

#include <vector>

#include "tools/frames_csv.h"
#include "tools/waypoints.h"

struct WaypointMatch {
  std::size_t frame = 0;  // nearest of the path
  double distance = 0;    // largest over the joints, ju
};

// The nearest frame to each waypoint, near the time at which the run passes it. The run's time base
// is found by laying all waypoints onto the path, twenty frames apart, where they fit best.
std::vector<WaypointMatch> MatchWaypoints(const GroupRecording& recording,
                                          const Waypoints& waypoints);

// Differences of consecutive frames over the period: velocity and acceleration of frame k (0 where
// there is none before).
struct Motion {
  std::vector<Axes> vel;
  std::vector<Axes> acc;
};
Motion Differentiate(const std::vector<Frame>& frames, double period_s);
