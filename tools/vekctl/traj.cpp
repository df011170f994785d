#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "tools/group_argument.h"
#include "tools/requests.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"

namespace {

constexpr std::chrono::seconds kSettle{2};
constexpr std::chrono::seconds kStopWait{5};

struct Areas {
  AreaView sys{kSysInfoArea}, cfg{kCfgConfigArea}, udp{kUdpArea}, trajbuf{kTrajBufArea};
};

// Progress: one line that is rewritten on a terminal, else a line now and then.
class Progress {
 public:
  explicit Progress(std::string group) : group_(std::move(group)) {}
  ~Progress() { Close(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(int next, int count) {
    const auto now = Clock::now();
    if (open_ && (next == shown_ || now - last_ < (terminal_ ? kTerminalPace : kLinePace))) return;
    std::printf("%s%s: waypoint %d of %d%s", terminal_ ? "\r" : "", group_.c_str(), next, count,
                terminal_ ? " " : "\n");
    std::fflush(stdout);
    last_ = now;
    shown_ = next;
    open_ = true;
  }
  void Close() {
    if (open_ && terminal_) std::printf("\n");
    open_ = false;
  }

 private:
  static constexpr std::chrono::milliseconds kTerminalPace{50};
  static constexpr std::chrono::milliseconds kLinePace{1000};

  std::string group_;
  bool terminal_ = isatty(STDOUT_FILENO) != 0;
  bool open_ = false;
  int shown_ = -1;
  Clock::time_point last_;
};

// A Failure for a byte that no run has: it keeps a new one from starting and cannot be stopped.
void CheckTrajState(const GroupRow& group, int state) {
  if (state >= TRAJ_IDLE && state <= TRAJ_STOP) return;
  Fail(group.key, ": its trajectory byte ", state, " means nothing to Vek");
}

void CheckReady(const Areas& areas, const GroupRow& group) {
  const int state = GroupState(areas.sys, group);
  if (state != GROUP_STATE_POSITION) {
    Fail(group.key, ": is in ", GroupStateName(group, state), ", trajectories play in POSITION");
  }
  const int traj_state = TrajState(areas.udp, group);
  CheckTrajState(group, traj_state);
  if (traj_state != TRAJ_IDLE) {
    Fail(group.key, ": has a trajectory already (", TrajStateName(traj_state), ")");
  }
}

Waypoints LoadChecked(const Areas& areas, const GroupRow& group, const std::string& file) {
  Waypoints waypoints = ReadWaypoints(file, group);
  const GroupLimits limits = ReadLoadedLimits(areas.cfg.get(), group);
  CheckJointLimits(waypoints, group, limits);
  const float percent = shared::load(areas.udp.get(), group.udp.vel_percent);
  for (const auto& line : SpeedWarnings(waypoints, group, limits, percent)) {
    std::fprintf(stderr, "vekctl: warning: %s\n", line.c_str());
  }
  return waypoints;
}

// Whether the group comes to rest at the last waypoint.
bool Arrives(const Areas& areas, const GroupRow& group, const Waypoints& waypoints) {
  const auto joints = std::min(WaypointJoints(group), ReadGroupLimits(areas.cfg.get(), group).dof);
  const auto& last = waypoints.points.back().joint;
  Axes target{};
  std::copy(last.begin(), last.end(), target.begin());
  for (const auto start = Clock::now(); Clock::now() - start < kSettle; ShortPause()) {
    if (DistanceFrom(areas.sys, group, target, joints) <= kArrived &&
        StandsStill(areas.sys, group)) {
      return true;
    }
  }
  return false;
}

// Follows the run until its byte is 0 again; true when a stop request was seen on the way.
bool Follow(const Areas& areas, const GroupRow& group, int count) {
  Progress progress{std::string(group.key)};
  StampWatch vek = WatchVek(areas.sys.get());
  StampWatch dru = WatchDru(areas.sys.get());
  bool stopped = false;
  bool interrupted = false;
  for (;; ShortPause()) {
    const int state = TrajState(areas.udp, group);
    progress.Show(shared::load(areas.trajbuf.get(), group.traj.next_point), count);
    if (state == TRAJ_IDLE) return stopped;
    stopped = stopped || state == TRAJ_STOP;
    if (!vek.Alive()) Fail(group.key, ": Vek's cycle stands still, and so does the run");
    if (!dru.Alive()) Fail(group.key, ": the servo side is not running any more, the run stands");
    const bool in_position = GroupState(areas.sys, group) == GROUP_STATE_POSITION;
    if (!in_position && !interrupted) {
      progress.Close();
      std::printf("%s: left POSITION, the run continues when it is back\n", group.key.data());
      std::fflush(stdout);
    }
    interrupted = !in_position;
  }
}

int ReportEnd(const Areas& areas, const GroupRow& group, const Waypoints& waypoints, bool stopped) {
  const int next = shared::load(areas.trajbuf.get(), group.traj.next_point);
  const int count = static_cast<int>(waypoints.points.size());
  if (stopped) Fail(group.key, ": stopped at waypoint ", next, " of ", count);
  if (next < count) Fail(group.key, ": ended early at waypoint ", next, " of ", count);
  if (!Arrives(areas, group, waypoints)) {
    Fail(group.key, ": ended early, not at rest at the last waypoint");
  }
  std::printf("%s: finished, %d waypoints\n", group.key.data(), count);
  return 0;
}

}  // namespace

int RunTraj(const TrajOptions& options) {
  const GroupRow& group = TrajectoryGroupByKey(options.group);
  SettleRoot(options.root);
  ReadWaypoints(options.file, group);  // a wrong file is told before a missing area
  const Areas areas;
  const Waypoints waypoints = LoadChecked(areas, group, options.file);
  CheckReady(areas, group);
  WriteTrajectory(areas.trajbuf.get(), group, waypoints);
  if (!StartTrajectory(areas.udp.get(), group)) {
    Fail(group.key, ": has a trajectory already");
  }
  const int count = static_cast<int>(waypoints.points.size());
  if (options.no_wait) {
    std::printf("%s: started, %d waypoints\n", group.key.data(), count);
    return 0;
  }
  return ReportEnd(areas, group, waypoints, Follow(areas, group, count));
}

int RunStop(const StopOptions& options) {
  const GroupRow& group = TrajectoryGroupByKey(options.group);
  SettleRoot(options.root);
  const AreaView sys(kSysInfoArea);
  const AreaView udp(kUdpArea);
  CheckTrajState(group, TrajState(udp, group));
  if (!StopTrajectory(udp.get(), group) && TrajState(udp, group) != TRAJ_STOP) {
    std::printf("%s: no run to stop\n", group.key.data());
    return 0;
  }
  for (const auto start = Clock::now(); Clock::now() - start < kStopWait; ShortPause()) {
    if (TrajState(udp, group) == TRAJ_IDLE) {
      std::printf("%s: stopped\n", group.key.data());
      return 0;
    }
  }
  Fail(group.key, ": not stopped: Vek takes the request when the group streams in POSITION");
}
