// Position control: set-up, and the one controller that serves all groups.
#include <algorithm>
#include <cmath>

#include "platform/debug_log.h"
#include "vek/frame.h"
#include "vek/position_messages.h"
#include "vek/vek.h"

namespace {

constexpr int kFilterSamples = 30;
constexpr double kFilterPeriod_s = 0.001;
constexpr int kFramesPerCycle = 3;

bool WriteFrame(KACB& ring, const Frame& frame) {
  const PvtFrame packed = PackFrame(frame);
  return ring.OnWrite(&packed, sizeof packed);
}

}  // namespace

struct Vek::PosCtrlState {
  int sub_state = 0;  // 0 not yet streaming, 1 streaming
  bool last_pvt_write_success = true;
  bool start_refused = false;  // this entry's message about a bad actual position was given
  Frame pvt_frame;             // being built, or waiting for room in the ring
  Axes dt_pos{};
  Axes dt_vel{};
  Axes vel_lmt{};
  Axes acc_lmt{};
};

std::size_t Vek::Dof(const GroupRow& group) const {
  return ClampAxes(shared::load(cfg_, group.cfg.dof));
}

bool Vek::InitPositionCtrl() {
  const std::int32_t bus_freq = shared::load(cfg_, SHARED_FIELD(CfgConfig, BusFreq));
  if (bus_freq < 1) return false;
  const double dt_ms = 1000.0 / bus_freq;
  Axes vel{};
  Axes acc{};
  Axes third{};
  for (const GroupRow& group : kGroups) {
    const std::int32_t dof = shared::load(cfg_, group.cfg.dof);
    if (dof < 1) continue;
    const auto g = group.index;
    // Refuses more than eight axes, so that the loop below stays inside its arrays.
    if (!ZQAVGF_OnInit(&pos_filt_[g], dof, kFilterSamples, kFilterPeriod_s)) {
      g_log_clt.ERROR_LOG("Failed to init pos_filt_[%zu]", group.index);
      return false;
    }
    for (std::size_t j = 0; j < ClampAxes(dof); ++j) {
      const double acc_max = LoadJoint(cfg_, group, group.cfg.acc_max, j);
      vel[j] = LoadJoint(cfg_, group, group.cfg.vel_max, j) * 0.1;
      acc[j] = acc_max * 0.1;
      third[j] = acc_max * 10;
    }
    if (!ZQNSyncDTS_OnInit(&pos_dt_[g], dof, dt_ms, vel.data(), acc.data(), third.data())) {
      g_log_clt.ERROR_LOG("Failed to init pos_dt_[%zu]", group.index);
      return false;
    }
  }
  return true;
}

void Vek::InitCutters() {
  for (const GroupRow& group : kGroups) {
    if (!group.plays_trajectories()) continue;
    cutters[group.index].OnInit(shared::load(cfg_, group.cfg.dof));
  }
}

void Vek::OnProcessPosCtrlArm0() {
  ProcessPosCtrl(kGroups[0]);
}
void Vek::OnProcessPosCtrlArm1() {
  ProcessPosCtrl(kGroups[1]);
}
void Vek::OnProcessPosCtrlHead() {
  ProcessPosCtrl(kGroups[2]);
}
void Vek::OnProcessPosCtrlBody() {
  ProcessPosCtrl(kGroups[3]);
}
void Vek::OnProcessPosCtrlLift() {
  ProcessPosCtrl(kGroups[4]);
}

void Vek::ProcessPosCtrl(const GroupRow& group) {
  static std::array<PosCtrlState, kGroupCount> states;
  if (!position_ctrl_ready_) return;
  PosCtrlState& state = states[group.index];
  if (shared::load_acquire(sys_, group.sys.group_state) != GROUP_STATE_POSITION) {
    state.sub_state = 0;
    state.last_pvt_write_success = true;
    state.start_refused = false;
    return;
  }
  if (state.sub_state == 0) {
    EnterPosition(group, state);
  } else {
    StreamFrames(group, state);
  }
}

void Vek::EnterPosition(const GroupRow& group, PosCtrlState& state) {
  // A start frame that waits for room is not computed again.
  if (state.last_pvt_write_success && !BuildStartFrame(group, state)) return;
  state.last_pvt_write_success = WriteFrame(rings_[group.index], state.pvt_frame);
  if (!state.last_pvt_write_success) return;
  state.pvt_frame.stream_flag = 1;
  if (group.has_shaper) shaper_.OnArm(cfg_, ei_acb_);
  state.sub_state = 1;
  g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: go to sub state 1", group.name);
}

bool Vek::BuildStartFrame(const GroupRow& group, PosCtrlState& state) {
  const auto g = group.index;
  Axes actual;
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    actual[j] = shared::load(sys_, group.sys.joint_pos, j);
  }
  const auto last = actual.begin() + static_cast<std::ptrdiff_t>(Dof(group));
  const auto bad =
      std::find_if_not(actual.begin(), last, [](double q) { return std::isfinite(q); });
  if (bad != last) {
    if (!state.start_refused) {
      g_log_clt.ERROR_LOG("%s: Failed to set start position, position of axis %d is not finite",
                          group.name, static_cast<int>(bad - actual.begin()));
      state.start_refused = true;
    }
    return false;
  }

  const double vel_percent = shared::load(udp_, group.udp.vel_percent);
  const double acc_percent = shared::load(udp_, group.udp.acc_percent);
  const std::size_t axes = ClampAxes(shared::load(mac_, group.axes));
  for (std::size_t j = 0; j < axes; ++j) {
    state.vel_lmt[j] = LoadJoint(cfg_, group, group.cfg.vel_max, j) * vel_percent / 100;
    state.acc_lmt[j] = LoadJoint(cfg_, group, group.cfg.acc_max, j) * acc_percent / 100;
  }
  ZQNSyncDTS_OnEmpty(&pos_dt_[g]);
  ZQNSyncDTS_OnSetRunTimeLmt(&pos_dt_[g], state.vel_lmt.data(), state.acc_lmt.data());

  pos_target_[g] = actual;
  Frame& frame = state.pvt_frame;
  ZQNSyncDTS_OnDT(&pos_dt_[g], pos_target_[g].data(), frame.pos.data());
  frame.vel = {};
  frame.stream_flag = 0;
  frame.dt_out = {};
  ZQAVGF_OnEmpty(&pos_filt_[g]);
  ZQAVGF_OnFilt(&pos_filt_[g], frame.pos.data(), frame.pos.data(), frame.vel.data());
  LogPositions(group, "Set start position", group.start_listed_axes, frame.pos.data());
  return true;
}

void Vek::StreamFrames(const GroupRow& group, PosCtrlState& state) {
  const auto g = group.index;
  Frame& frame = state.pvt_frame;
  double* const target = pos_target_[g].data();
  int pvt_write_count = 0;
  if (!state.last_pvt_write_success) {
    state.last_pvt_write_success = WriteFrame(rings_[g], frame);
    if (!state.last_pvt_write_success) return;
    pvt_write_count = 1;
  }
  // The ring's fill level, and so the servo task's pace, sets how fast a trajectory plays.
  while (pvt_write_count < kFramesPerCycle) {
    ComputeTraj(group, target);
    ZQNSyncDTS_OnDT2(&pos_dt_[g], target, state.dt_pos.data(), state.dt_vel.data(),
                     frame.dt_out.data());
    ZQAVGF_OnFilt(&pos_filt_[g], state.dt_pos.data(), frame.pos.data(), frame.vel.data());
    if (group.has_shaper) shaper_.OnShape(cfg_, ei_acb_, group.name, frame);
    state.last_pvt_write_success = WriteFrame(rings_[g], frame);
    if (!state.last_pvt_write_success) return;
    ++pvt_write_count;
  }
}
