// The set channel: joint targets, speed and acceleration scales from remote clients.
#include <array>

#include "platform/debug_log.h"
#include "vek/vek.h"

namespace {

constexpr double kLeastScale = 0.01;
constexpr double kLargestScale = 1.0;
constexpr int kNoCouplingBit = 6;

bool TakesCommands(int state) {
  return state == GROUP_STATE_IDLE || state == GROUP_STATE_POSITION || state == GROUP_STATE_ERROR;
}

bool IsPending(const void* udp, shared::Field<std::uint8_t> enable,
               shared::Field<std::uint8_t> fresh) {
  return shared::load(udp, enable) != 0 && shared::load_acquire(udp, fresh) != 0;
}

// Percent to factor; what is no number counts as the least.
double Scale(float percent) {
  const double scale = static_cast<double>(percent) / 100;
  if (!(scale > kLeastScale)) return kLeastScale;
  return scale > kLargestScale ? kLargestScale : scale;
}

// Comparisons with a limit that is no number clamp nothing.
double ClampJoint(double q, double limit_pos, double limit_neg) {
  if (q > limit_pos) return limit_pos;
  return q < limit_neg ? limit_neg : q;
}

}  // namespace

// A percentage that rescales one kind of run-time limit.
struct Vek::ScaleCommand {
  shared::Field<std::uint8_t> enable, fresh;
  shared::Field<float> percent;
  shared::Field<double> joint_limit;
  void (*set)(ZQNSyncDTS* state, const double* limits);
};

void Vek::OnProcessUdpSet() {
  if (!position_ctrl_ready_) return;
  for (const GroupRow& group : kGroups) {
    // Outside these states a command stays pending.
    if (!TakesCommands(shared::load(sys_, group.sys.group_state))) continue;
    const GroupUdpFields& udp = group.udp;
    TakeJointCommand(group);
    TakeScale(group, {udp.vel_enable, udp.vel_new, udp.vel_percent, group.cfg.vel_max,
                      ZQNSyncDTS_OnSetRunTimeVel});
    TakeScale(group, {udp.acc_enable, udp.acc_new, udp.acc_percent, group.cfg.acc_max,
                      ZQNSyncDTS_OnSetRunTimeAcc});
  }
}

void Vek::TakeJointCommand(const GroupRow& group) {
  if (!IsPending(udp_, group.udp.joint_cmd_enable, group.udp.joint_cmd_new)) return;
  const std::int32_t unclamped = shared::load(sys_, group.sys.soft_limit_disable);
  Axes& target = pos_target_[group.index];
  for (std::size_t j = 0; j < group.udp.joint_cmd_axes; ++j) {
    const double q = shared::load(udp_, group.udp.joint_cmd, j);
    target[j] = (unclamped >> j & 1) != 0
                    ? q
                    : ClampJoint(q, LoadJoint(cfg_, group, group.cfg.limit_pos, j),
                                 LoadJoint(cfg_, group, group.cfg.limit_neg, j));
  }
  if (group.is_arm) {
    // Bit 6 stands for axis 7 and for the coupling that limits it.
    if ((unclamped >> kNoCouplingBit & 1) == 0) {
      ComputeArmCoupling(static_cast<int>(group.index), cfg_, target.data());
    }
    AbortRun(group);
  }
  shared::store_release(udp_, group.udp.joint_cmd_new, 0);
}

void Vek::AbortRun(const GroupRow& group) {
  const std::int8_t traj_state = shared::load_acquire(udp_, group.udp.traj_state);
  if (traj_state == TRAJ_IDLE) return;
  g_log_clt.WARN_LOG("%s: UDP_ARM%zu_RT_CmdJointPos is set, abort traj plan moving", group.name,
                     group.index);
  // A request that comes at this moment counts as later than the command.
  shared::replace(udp_, group.udp.traj_state, traj_state, TRAJ_IDLE);
}

void Vek::TakeScale(const GroupRow& group, const ScaleCommand& command) {
  if (!IsPending(udp_, command.enable, command.fresh)) return;
  const double scale = Scale(shared::load(udp_, command.percent));
  Axes limits{};
  const std::size_t axes = ClampAxes(shared::load(mac_, group.axes));
  for (std::size_t j = 0; j < axes; ++j) {
    limits[j] = LoadJoint(cfg_, group, command.joint_limit, j) * scale;
  }
  command.set(&pos_dt_[group.index], limits.data());
  shared::store_release(udp_, command.fresh, 0);
}

void Vek::ComputeArmCoupling(int arm, CfgConfig* cfg, double* pos) {
  const double x = pos[5];
  const double y = pos[6];
  // x = 0 counts as negative, y = 0 as positive.
  const bool upper = y >= 0;
  shared::Field<double> c = x > 0 ? (upper ? SHARED_FIELD(CfgConfig, arm[0].BD67PP)
                                           : SHARED_FIELD(CfgConfig, arm[0].BD67PN))
                                  : (upper ? SHARED_FIELD(CfgConfig, arm[0].BD67NP)
                                           : SHARED_FIELD(CfgConfig, arm[0].BD67NN));
  c.offset += static_cast<std::size_t>(arm) * sizeof(CfgArm);
  const double limit =
      shared::load(cfg, c, 0) * (x * x) + shared::load(cfg, c, 1) * x + shared::load(cfg, c, 2);
  if (upper ? y > limit : y < limit) pos[6] = limit;
}
