#include "tools/vekctl/path_match.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/group_argument.h"

namespace {

// How far from its time a waypoint's nearest frame is looked for.
constexpr std::size_t kReach = 5 * kSamplesPerInterval;

double Distance(const Frame& frame, const Waypoint& point, std::size_t joints) {
  double distance = 0;
  for (std::size_t j = 0; j < joints; ++j) {
    distance = std::max(distance, std::fabs(frame.pos[j] - static_cast<double>(point.joint[j])));
  }
  return distance;
}

// The frame at which a run that starts at frame `start` passes waypoint k.
std::size_t NominalFrame(const GroupRecording& recording, std::size_t start, std::size_t k) {
  return std::min(start + k * kSamplesPerInterval, recording.frames.size() - 1);
}

std::size_t FindStart(const GroupRecording& recording, const Waypoints& waypoints) {
  std::size_t best = 0;
  double best_sum = std::numeric_limits<double>::infinity();
  for (std::size_t start = 0; start < recording.frames.size(); ++start) {
    double sum = 0;
    for (std::size_t k = 0; k < waypoints.points.size() && sum < best_sum; ++k) {
      sum += Distance(recording.frames[NominalFrame(recording, start, k)], waypoints.points[k],
                      WaypointJoints(*recording.group));
    }
    if (sum >= best_sum) continue;
    best_sum = sum;
    best = start;
  }
  return best;
}

}  // namespace

std::vector<WaypointMatch> MatchWaypoints(const GroupRecording& recording,
                                          const Waypoints& waypoints) {
  std::vector<WaypointMatch> matches;
  const std::size_t start = FindStart(recording, waypoints);
  for (std::size_t k = 0; k < waypoints.points.size(); ++k) {
    const std::size_t nominal = NominalFrame(recording, start, k);
    const std::size_t last = std::min(nominal + kReach, recording.frames.size() - 1);
    WaypointMatch best{.frame = nominal, .distance = std::numeric_limits<double>::infinity()};
    for (std::size_t f = nominal - std::min(nominal, kReach); f <= last; ++f) {
      const double distance =
          Distance(recording.frames[f], waypoints.points[k], WaypointJoints(*recording.group));
      if (distance < best.distance) best = {.frame = f, .distance = distance};
    }
    matches.push_back(best);
  }
  return matches;
}

Motion Differentiate(const std::vector<Frame>& frames, double period_s) {
  Motion motion{.vel = std::vector<Axes>(frames.size()), .acc = std::vector<Axes>(frames.size())};
  for (std::size_t k = 1; k < frames.size(); ++k) {
    for (std::size_t j = 0; j < AREA_AXES; ++j) {
      motion.vel[k][j] = (frames[k].pos[j] - frames[k - 1].pos[j]) / period_s;
      motion.acc[k][j] = (motion.vel[k][j] - motion.vel[k - 1][j]) / period_s;
    }
  }
  return motion;
}
