#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/group_argument.h"
#include "tools/joint_command.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/set_channel.h"

namespace {

constexpr std::chrono::milliseconds kRest{500};  // a group that stands that long has arrived
constexpr std::size_t kCoupledJoint = 6;         // of an arm: the joint before it limits it

class Move {
 public:
  Move(const GroupRow& group, JointCommand command) : group_(group), command_(std::move(command)) {}

  // Warns of what will not go as commanded, and commands it; a Failure (status 1) when Vek does not
  // run or has a joint command pending.
  void Send();
  // Waits until the group stands at its target; a Failure (status 1) says why it does not.
  void Follow(double timeout_s);

 private:
  void Warn() const;
  void CheckStreams();
  double Distance(std::size_t joints) const {
    return DistanceFrom(channel_.sys(), group_, target_.pos, joints);
  }
  // Whether an arm stands where commanded but for the coupled joint.
  bool OnlyCoupledJointIsOff() const {
    return group_.is_arm && joints_ == kCoupledJoint + 1 && Distance(kCoupledJoint) <= kArrived;
  }
  std::string Positions() const;

  const GroupRow& group_;
  JointCommand command_;
  SetChannel channel_{group_};
  AreaView cfg_{kCfgConfigArea};
  JointTarget target_;
  std::size_t joints_ = 0;  // that a command moves: those of the configuration
};

void Move::Send() {
  channel_.CheckFree({SetValue::Joints});
  const GroupLimits limits = ReadLoadedLimits(cfg_.get(), group_);
  target_ = ClampCommand(command_, limits,
                         shared::load(channel_.sys().get(), group_.sys.soft_limit_disable));
  joints_ = std::min(command_.size(), limits.dof);
  Warn();
  SendJointCommand(channel_.udp().get(), group_, command_);
}

void Move::Warn() const {
  for (const std::string& clamped : target_.clamped) {
    std::fprintf(stderr, "vekctl: warning: %s: %s\n", group_.key.data(), clamped.c_str());
  }
  const int traj_state =
      group_.plays_trajectories() ? TrajState(channel_.udp(), group_) : TRAJ_IDLE;
  if (traj_state == TRAJ_IDLE) return;
  std::fprintf(stderr, "vekctl: warning: %s: has a trajectory (%s), which %s\n", group_.key.data(),
               TrajStateName(traj_state),
               group_.is_arm ? "this command aborts" : "goes on and overrides this command");
}

// A group that does not stream does not move.
void Move::CheckStreams() {
  channel_.CheckRunning();
  const int state = GroupState(channel_.sys(), group_);
  if (state == GROUP_STATE_POSITION) return;
  Fail(group_.key, ": taken over, but the state is ", GroupStateName(group_, state),
       ": it does not move, and on entry into POSITION the actual position becomes the target");
}

std::string Move::Positions() const {
  std::string text;
  for (std::size_t j = 0; j < joints_; ++j) {
    const double q = shared::load(channel_.sys().get(), group_.sys.joint_pos, j);
    text += Text(j > 0 ? " " : "", std::round(q * 1e4) / 1e4);
  }
  return Text(text, ' ', JointUnit(group_));
}

void Move::Follow(double timeout_s) {
  const auto start = Clock::now();
  const auto deadline = After(start, timeout_s);
  channel_.AwaitTaken(SetValue::Joints, deadline);
  for (auto moved = Clock::now();; ShortPause()) {
    const auto now = Clock::now();
    CheckStreams();
    const bool still = StandsStill(channel_.sys(), group_);
    // Where the group stands already, what it tells may be long gone.
    if (still && Distance(joints_) <= kArrived && channel_.ServoSideHasMoved()) break;
    if (!still) moved = now;
    if (now - moved >= kRest && OnlyCoupledJointIsOff()) {
      Fail(group_.key, ": stands at ", Positions(), ": joint 7 is held back by joint 6");
    }
    if (now >= deadline) {
      Fail(group_.key, ": timed out at ", Positions(), " (vekctl why ", group_.key,
           " may tell more)");
    }
  }
  if (!target_.clamped.empty()) {
    Fail(group_.key, ": stands at ", Positions(), ": clamped to the joint limits");
  }
  const std::chrono::duration<double> taken = Clock::now() - start;
  std::printf("%s: reached %s after %.3f s\n", group_.key.data(), Positions().c_str(),
              taken.count());
}

}  // namespace

int RunMove(const MoveOptions& options) {
  const GroupRow& group = GroupByKey(options.group);
  JointCommand command =
      ParseJointCommand(group, {options.positions.begin(), options.positions.end()});
  SettleRoot(options.root);
  Move move(group, std::move(command));
  move.Send();
  if (options.no_wait) {
    std::printf("%s: commanded\n", options.group.c_str());
  } else {
    move.Follow(options.timeout_s);
  }
  return 0;
}
