// Trajectories: from the waypoints of the trajectory file to one target sample a frame.
#include <algorithm>

#include "platform/debug_log.h"
#include "vek/position_messages.h"
#include "vek/vek.h"

namespace {

constexpr std::size_t kStartSamples = 40;
constexpr std::size_t kMidSamples = 20;
constexpr std::size_t kEndSamples = 51;
constexpr int kStartPoints = 5;

// Plays the next column of a block, if one is left.
template <std::size_t N>
void EmitColumn(const double (&block)[AREA_AXES][N], std::size_t& column, std::size_t dof,
                double* target) {
  if (column >= N) return;
  for (std::size_t j = 0; j < dof; ++j) target[j] = block[j][column];
  ++column;
}

// Waypoint k of a group's block, 0 <= k < AREA_WAYPOINTS; axes without a float are 0.
void ReadPoint(const void* trajbuf, const GroupRow& group, int k, double (&point)[AREA_AXES]) {
  const std::size_t first = static_cast<std::size_t>(k) * AREA_WAYPOINT_FLOATS;
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    point[j] = static_cast<int>(j) < group.traj.floats
                   ? shared::load(trajbuf, group.traj.points, first + j)
                   : 0.0;
  }
}

// A platform whose generator cannot follow lags behind its runs.
void Follow(ZQNSyncDTS& generator, bool on) {
  if (ZQNSyncDTS_OnFollow != nullptr) ZQNSyncDTS_OnFollow(&generator, on);
}

}  // namespace

// Waypoint blocks being played, and the next column of each.
struct Vek::TrajState {
  double ret_pos_bgn[AREA_AXES][kStartSamples];
  double ret_pos_mid[AREA_AXES][kMidSamples];
  double ret_pos_end[AREA_AXES][kEndSamples];
  std::size_t start_cnt = 0;
  std::size_t mid_cnt = 0;
  std::size_t end_cnt = 0;
  int written = TRAJ_IDLE;  // what this controller last wrote into the state byte
  bool runs = false;        // the generator follows the samples
};

void Vek::ComputeArmTraj(int arm, double* target) {
  if (arm == 0 || arm == 1) ComputeTraj(kGroups[static_cast<std::size_t>(arm)], target);
}
void Vek::ComputeBodyTraj(double* target) {
  ComputeTraj(kGroups[3], target);
}
void Vek::ComputeLiftTraj(double* target) {
  ComputeTraj(kGroups[4], target);
}

void Vek::ComputeTraj(const GroupRow& group, double* target) {
  static std::array<TrajState, kGroupCount> states;
  if (!position_ctrl_ready_ || !group.plays_trajectories()) return;
  const int traj_state = shared::load_acquire(udp_, group.udp.traj_state);
  TrajState& state = states[group.index];
  const bool runs = traj_state >= TRAJ_START && traj_state <= TRAJ_PLAY_END;
  if (runs != state.runs) Follow(pos_dt_[group.index], runs);
  state.runs = runs;
  if (!runs && traj_state != TRAJ_STOP) return;
  const int next = StepTraj(group, traj_state, state, target);
  // A request that came meanwhile stays and is seen with the next sample.
  if (next != traj_state &&
      shared::replace(udp_, group.udp.traj_state, static_cast<std::int8_t>(traj_state),
                      static_cast<std::int8_t>(next))) {
    state.written = next;
  }
}

// One row of the trajectory's state table; the result is the next state.
int Vek::StepTraj(const GroupRow& group, int traj_state, TrajState& state, double* target) {
  const bool playing =
      traj_state == TRAJ_PLAY_START || traj_state == TRAJ_PLAY_MID || traj_state == TRAJ_PLAY_END;
  // Nothing can be played on somebody else's word.
  if (playing && traj_state != state.written) return TRAJ_IDLE;
  const std::size_t dof = Dof(group);
  switch (traj_state) {
    case TRAJ_START:
      return StartTraj(group, state, target);
    case TRAJ_PLAY_START:
      EmitColumn(state.ret_pos_bgn, state.start_cnt, dof, target);
      return state.start_cnt < kStartSamples ? TRAJ_PLAY_START : TRAJ_NEXT_POINT;
    case TRAJ_NEXT_POINT:
      return TakeTrajPoint(group, state, target);
    case TRAJ_PLAY_MID:
      EmitColumn(state.ret_pos_mid, state.mid_cnt, dof, target);
      return state.mid_cnt < kMidSamples ? TRAJ_PLAY_MID : TRAJ_NEXT_POINT;
    case TRAJ_END:
      return EndTraj(group, state, target);
    case TRAJ_PLAY_END:
      EmitColumn(state.ret_pos_end, state.end_cnt, dof, target);
      if (state.end_cnt < kEndSamples) return TRAJ_PLAY_END;
      LogPositions(group, "Run traj plan finish at", group.traj_listed_axes, target);
      return TRAJ_IDLE;
    case TRAJ_STOP:
      // The target stays where it is: the generator brings the group to rest there.
      LogPositions(group, "Run traj plan stop at", group.traj_listed_axes, target);
      return TRAJ_IDLE;
    default:
      return traj_state;
  }
}

int Vek::StartTraj(const GroupRow& group, TrajState& state, double* target) {
  CCuter50& cutter = cutters[group.index];
  double p[kStartPoints][AREA_AXES];
  for (int k = 0; k < kStartPoints; ++k) ReadPoint(trajbuf_, group, k, p[k]);
  cutter.OnEmpty();
  if (!cutter.OnCutStart(p[0], p[1], p[2], p[3], p[4], state.ret_pos_bgn)) {
    g_log_clt.ERROR_LOG("%s: Failed to plan traj start, OnCutStart", group.name);
    return TRAJ_IDLE;
  }
  shared::store(trajbuf_, group.traj.next_point, kStartPoints);
  state.start_cnt = 0;
  EmitColumn(state.ret_pos_bgn, state.start_cnt, Dof(group), target);
  return TRAJ_PLAY_START;
}

int Vek::TakeTrajPoint(const GroupRow& group, TrajState& state, double* target) {
  const std::int32_t next_point = shared::load(trajbuf_, group.traj.next_point);
  const std::int32_t point_count =
      std::min<std::int32_t>(shared::load(trajbuf_, group.traj.point_count), AREA_WAYPOINTS);
  if (next_point < 0 || next_point >= point_count) return EndTraj(group, state, target);
  double point[AREA_AXES];
  ReadPoint(trajbuf_, group, next_point, point);
  if (!cutters[group.index].OnCutPoint(point, state.ret_pos_mid)) {
    g_log_clt.ERROR_LOG("%s: Failed to plan traj mid, OnCutPoint(P%d)", group.name, next_point);
    return TRAJ_IDLE;
  }
  state.mid_cnt = 0;
  EmitColumn(state.ret_pos_mid, state.mid_cnt, Dof(group), target);
  shared::store(trajbuf_, group.traj.next_point, next_point + 1);
  return TRAJ_PLAY_MID;
}

int Vek::EndTraj(const GroupRow& group, TrajState& state, double* target) {
  if (!cutters[group.index].OnCutStop(state.ret_pos_end)) {
    g_log_clt.ERROR_LOG("%s: Failed to plan traj end, OnCutStop(P%d)", group.name,
                        shared::load(trajbuf_, group.traj.next_point));
    return TRAJ_IDLE;
  }
  state.end_cnt = 0;
  EmitColumn(state.ret_pos_end, state.end_cnt, Dof(group), target);
  return TRAJ_PLAY_END;
}
