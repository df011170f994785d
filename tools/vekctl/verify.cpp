#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "platform/host.h"
#include "tools/area_view.h"
#include "tools/failure.h"
#include "tools/group_argument.h"
#include "tools/joint_command.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/path_match.h"
#include "tools/vekctl/stream_model.h"

namespace {

constexpr double kEndTolerance = 1e-6;    // ju
constexpr double kLimitTolerance = 1e-6;  // of the limit: rounding of the differences

// What a group is said to have done: a run, or, without waypoints, a joint command.
struct Deed {
  const GroupRow* group;
  std::optional<Waypoints> waypoints;
  JointCommand command;
};

Deed RunDeed(const std::string& text) {
  const auto [group, file] = SplitGroupValue("--traj", text);
  TrajectoryGroupByKey(group->key);
  return {.group = group, .waypoints = ReadWaypoints(std::string(file), *group), .command = {}};
}

Deed MoveDeed(const std::string& text) {
  const auto [group, positions] = SplitGroupValue("--move", text);
  return {
      .group = group, .waypoints = {}, .command = ParseJointCommand(*group, Split(positions, ','))};
}

// One group's part of the check. Prints a line for each figure; what does not hold is marked.
class GroupCheck {
 public:
  GroupCheck(const GroupRecording& recording, const Deed& deed, const StreamSetup& setup)
      : recording_(recording),
        deed_(deed),
        setup_(setup),
        group_(*recording.group),
        frames_(recording.frames),
        unit_(JointUnit(group_)) {}

  bool Check() {
    Print(true, Text("frames ", frames_.size()));
    CheckFlags();
    CheckLimits();
    if (deed_.waypoints) ReportWaypoints(*deed_.waypoints);
    CheckEnd();
    CheckStream();
    return good_;
  }

  bool CheckFinishLine(const std::string& log) {
    const std::string text = Text(group_.name, ": Run traj plan finish at {");
    const bool found = log.find(text) != std::string::npos;
    Print(found, found ? "log: the run finished" : "log: no line says that the run finished");
    return good_;
  }

 private:
  void Print(bool good, const std::string& text) {
    std::printf("%s %s%s\n", group_.key.data(), good ? "" : "FAILED: ", text.c_str());
    good_ = good_ && good;
  }

  void CheckFlags() {
    for (std::size_t k = 0; k < frames_.size(); ++k) {
      if (frames_[k].stream_flag == (k == 0 ? 0U : 1U)) continue;
      Print(false, Text("frame ", k, " carries stream flag ", frames_[k].stream_flag));
      return;
    }
  }

  void CheckLimits() {
    const double period_s = setup_.period_ms / 1000;
    const Motion motion = Differentiate(frames_, period_s);
    CheckLimit("speed", "/s", motion.vel, ScaleLimits(setup_.limits.vel_max, setup_.vel_percent));
    CheckLimit("acceleration", "/s^2", motion.acc,
               ScaleLimits(setup_.limits.acc_max, setup_.acc_percent));
  }

  // Names the joint that comes nearest to its limit, or farthest beyond.
  void CheckLimit(const char* what, const char* per, const std::vector<Axes>& values,
                  const Axes& limits) {
    std::size_t worst = 0;
    double worst_value = 0;
    double worst_share = -1;
    for (std::size_t j = 0; j < setup_.limits.dof; ++j) {
      double largest = 0;
      for (const Axes& value : values) {
        // Written so that what is no number counts as beyond every limit.
        if (!(std::fabs(value[j]) <= largest)) largest = std::fabs(value[j]);
      }
      if (std::isnan(largest)) largest = INFINITY;
      const double share = largest > 0 ? largest / limits[j] : 0;
      if (share <= worst_share) continue;
      worst = j;
      worst_value = largest;
      worst_share = share;
    }
    Print(worst_share <= 1 + kLimitTolerance,
          Text("largest ", what, ' ', worst_value, ' ', unit_, per, " on joint ", worst + 1,
               ", limit ", limits[worst]));
  }

  // A figure only: how far the limits let the path fall short is no fault of the stream.
  void ReportWaypoints(const Waypoints& waypoints) {
    const auto matches = MatchWaypoints(recording_, waypoints);
    const auto worst = std::max_element(
        matches.begin(), matches.end(),
        [](const WaypointMatch& a, const WaypointMatch& b) { return a.distance < b.distance; });
    const auto& point = waypoints.points[static_cast<std::size_t>(worst - matches.begin())];
    Print(true, Text("largest distance of the ", matches.size(), " waypoints from the path ",
                     worst->distance, ' ', unit_, " (", waypoints.file, ':', point.line, ')'));
  }

  // Where the group has to stand in the end.
  Axes End() const {
    if (!deed_.waypoints) return ClampCommand(deed_.command, setup_.limits, 0).pos;
    const auto& last = deed_.waypoints->points.back().joint;
    Axes end{};
    std::copy(last.begin(), last.end(), end.begin());
    return end;
  }

  void CheckEnd() {
    const Axes end = End();
    double distance = 0;
    for (std::size_t j = 0; j < setup_.limits.dof; ++j) {
      const double off = std::fabs(frames_.back().pos[j] - end[j]);
      if (!(off <= distance)) distance = off;
    }
    Print(distance <= kEndTolerance, Text("end ", distance, ' ', unit_, " from the target"));
  }

  void CheckStream() {
    // A joint command is the target from one frame on.
    const Course course = deed_.waypoints ? RunCourse(*deed_.waypoints, group_, setup_.limits.dof)
                                          : Course{.targets = {End()}, .is_run = false};
    const std::size_t samples = course.targets.size();
    const StreamComparison comparison = CompareStream(frames_, setup_, course);
    Print(comparison.same, comparison.same
                               ? Text("all frames are those that Vek produces, in order; ", samples,
                                      samples == 1 ? " sample begins" : " samples begin",
                                      " at frame ", comparison.first_target)
                               : comparison.problem);
  }

  const GroupRecording& recording_;
  const Deed& deed_;
  const StreamSetup& setup_;
  const GroupRow& group_;
  const std::vector<Frame>& frames_;
  const char* unit_;
  bool good_ = true;
};

// Periods that Vek's task missed, out of its log.
long long MissedPeriods(const std::string& log) {
  constexpr std::string_view kError = "RTVEK: rt_task_wait_period error: ";
  constexpr std::string_view kOverruns = "overruns: ";
  long long missed = 0;
  ForEachLine(log, [&](std::string_view line, int) {
    if (line.find(kError) == std::string_view::npos) return;
    const std::size_t at = line.find(kOverruns);
    if (at == std::string_view::npos) return;
    missed += ParseInteger(Trim(line.substr(at + kOverruns.size()))).value_or(0);
  });
  return missed;
}

// The configuration is to outlive the result.
StreamSetup ReadSetup(const std::vector<unsigned char>& config, const AreaView& mac,
                      const AreaView& udp, const GroupRow& group) {
  const int bus_freq = shared::load(config.data(), SHARED_FIELD(CfgConfig, BusFreq));
  if (bus_freq < 1) Fail("robot.ini: BusFreq is ", bus_freq);
  return {.limits = ReadGroupLimits(config.data(), group),
          .axes = ClampAxes(shared::load(mac.get(), group.axes)),
          .period_ms = 1000.0 / bus_freq,
          .vel_percent = shared::load(udp.get(), group.udp.vel_percent),
          .acc_percent = shared::load(udp.get(), group.udp.acc_percent),
          .shaper = group.has_shaper ? reinterpret_cast<const CfgConfig*>(config.data()) : nullptr};
}

}  // namespace

int RunVerify(const VerifyOptions& options) {
  if (options.trajectories.empty() && options.moves.empty()) {
    FailUsage("--move or --traj is required");
  }
  std::vector<Deed> deeds;
  for (const std::string& text : options.trajectories) deeds.push_back(RunDeed(text));
  for (const std::string& text : options.moves) deeds.push_back(MoveDeed(text));
  const auto recordings = ReadFrames(options.frames);
  const std::string log = options.log.empty() ? "" : ReadFile(options.log);
  SettleRoot(options.root);
  const auto config = ReadConfigImage(host_path(kRobotIni));
  const AreaView mac(kMacArea);
  const AreaView udp(kUdpArea);

  bool good = true;
  for (const Deed& deed : deeds) {
    const StreamSetup setup = ReadSetup(config, mac, udp, *deed.group);
    GroupCheck check(RecordingOf(recordings, *deed.group, options.frames), deed, setup);
    good = check.Check() && good;
    if (!options.log.empty() && deed.waypoints) good = check.CheckFinishLine(log) && good;
  }
  if (!options.log.empty()) std::printf("vek missed periods %lld\n", MissedPeriods(log));
  std::printf("verify %s\n", good ? "ok" : "FAILED");
  return good ? 0 : kStatusFailed;
}
