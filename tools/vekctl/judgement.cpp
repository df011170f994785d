#include "tools/vekctl/judgement.h"

#include <cmath>

#include "tools/text.h"

namespace {

constexpr int kHighestAskableState = 49;  // higher ones neither are nor take requests
constexpr int kRingRoom = AREA_RING_CAPACITY / AREA_FRAME_SIZE;

using Snapshot = GroupSnapshot;

std::string JudgeVek(const GroupRow&, const Snapshot& s) {
  return s.vek_runs ? "" : "Vek's cycle does not run (its stamps stand still)";
}

std::string JudgeConfiguration(const GroupRow&, const Snapshot& s) {
  if (s.load_complete == 1) return "";
  return Text("Vek has no complete robot.ini (load flag ", s.load_complete, ")");
}

std::string JudgeState(const GroupRow& group, const Snapshot& s) {
  if (s.state == GROUP_STATE_POSITION) return "";
  std::string in = Text("it is in ", GroupStateName(group, s.state), ", not in POSITION");
  if (s.state_cmd == s.state || s.state_cmd > kHighestAskableState) return in;
  const char* const wanted = GroupStateName(group, s.state_cmd);
  if (s.state > kHighestAskableState) {
    return Text(in, "; a request for ", wanted, " waits, as such a state takes none");
  }
  return Text(in, "; a request for ", wanted, " is pending");
}

std::string JudgeBrake(const GroupRow& group, const Snapshot& s) {
  const bool has_brake = group.request_check != RequestCheck::None;
  return has_brake && s.brake_unlocked ? "a brake is held unlocked" : "";
}

// A percent that gives limits of 0 on the next entry into POSITION.
bool StopsAll(float percent) {
  return !(percent > 0) || std::isinf(percent);
}

std::string JudgePercents(const GroupRow&, const Snapshot& s) {
  if (StopsAll(s.vel_percent)) return Text("its speed percent is ", s.vel_percent);
  if (StopsAll(s.acc_percent)) return Text("its acceleration percent is ", s.acc_percent);
  return "";
}

std::string JudgeAxes(const GroupRow&, const Snapshot& s) {
  if (s.axes < 1) return Text("the servo side reports ", s.axes, " axes");
  if (s.axes == s.dof) return "";
  return Text("the servo side reports ", s.axes, " axes, robot.ini has Dof ", s.dof);
}

std::string JudgeRing(const GroupRow&, const Snapshot& s) {
  if (s.ring_frames < 0) return "its ring's positions are out of range";
  if (s.ring_frames < kRingRoom || s.ring_taken_from) return "";
  return "its ring is full: the servo task takes no frames";
}

std::string JudgeSetBytes(const GroupRow& group, const Snapshot& s) {
  for (std::size_t k = 0; k < s.set.size(); ++k) {
    if (!s.set[k].pending) continue;
    const char* const name = BytesOf(group, static_cast<SetValue>(k)).name;
    return Text("the ", name, " command is pending",
                s.set[k].enabled ? "" : ", its enable byte being 0");
  }
  return "";
}

std::string JudgeTrajectory(const GroupRow&, const Snapshot& s) {
  if (s.traj_state >= TRAJ_PLAY_START && s.traj_state <= TRAJ_PLAY_END) return "";
  switch (s.traj_state) {
    case TRAJ_IDLE:
      return "";
    case 1:
    case 2:
      return Text("its trajectory is being loaded (trajectory byte ", s.traj_state, ")");
    case TRAJ_START:
      return "its trajectory waits to be started (trajectory byte 3)";
    case TRAJ_STOP:
      return "its trajectory waits to be stopped (trajectory byte 9)";
    default:
      return Text("its trajectory byte ", s.traj_state, " means nothing to Vek");
  }
}

// In the order in which the road from Vek to the axes can be blocked.
constexpr std::string (*kJudges[])(const GroupRow&, const Snapshot&) = {
    JudgeVek,  JudgeConfiguration, JudgeState,    JudgeBrake,     JudgePercents,
    JudgeAxes, JudgeRing,          JudgeSetBytes, JudgeTrajectory};

}  // namespace

std::string WhyItStands(const GroupRow& group, const GroupSnapshot& snapshot) {
  for (const auto judge : kJudges) {
    std::string reason = judge(group, snapshot);
    if (!reason.empty()) return reason;
  }
  return "";
}
