#include "tools/drusim/servo_model.h"

#include <algorithm>
#include <cmath>

#include "tools/failure.h"

namespace {

// Slower than this on every axis, a group stands still; ju/s.
constexpr double kStandstillSpeed = 1e-4;

int TransitionTo(int target) {
  switch (target) {
    case GROUP_STATE_POSITION:
      return GROUP_STATE_TRANS_TO_POSITION;
    case GROUP_STATE_TORQUE:
      return GROUP_STATE_TRANS_TO_TORQUE;
    case GROUP_STATE_RELEASE:
      return GROUP_STATE_TRANS_TO_RELEASE;
    default:
      return GROUP_STATE_TRANS_TO_IDLE;
  }
}

bool IsEnabled(int state) {
  return state >= GROUP_STATE_POSITION && state <= GROUP_STATE_RELEASE;
}

}  // namespace

ServoModel::ServoModel(const GroupRow& group, const ServoAreas& areas, const ServoTimes& times)
    : group_(group),
      areas_(areas),
      transition_cycles_(times.transition),
      servos_(group, areas.sys, times.command) {
  if (!ring_.OnAttach(areas_.vek2dru + group_.ring, AREA_RING_SIZE)) {
    Fail("the ring of ", group_.key, " cannot be attached");
  }
}

void ServoModel::OnStart(int axes, const Axes& pose) {
  shared::store(areas_.mac, group_.axes, axes);
  shared::store(areas_.sys, group_.sys.state_transfer_cmd, GROUP_STATE_IDLE);
  shared::store(areas_.sys, group_.sys.group_state_request, 0);
  shared::store(areas_.udp, group_.udp.state_cmd, std::uint16_t{GROUP_STATE_IDLE});
  servos_.OnStart();
  joint_pos_ = pose;
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    shared::store(areas_.sys, group_.sys.joint_pos, pose[j], j);
  }
  shared::store(areas_.sys, group_.sys.standstill, 1);
  SetState(GROUP_STATE_IDLE);
}

bool ServoModel::OnCycle(double period_s) {
  servos_.OnCycle();
  FollowFaults();
  if (state_ != GROUP_STATE_ERROR) FollowRequest();
  if (state_ != GROUP_STATE_POSITION || paused_) return false;
  if (!TakeFrame()) {
    if (streaming_) ++counts_.starved;
    return false;
  }
  Follow(period_s);
  return true;
}

void ServoModel::SetFault(std::size_t axis, std::uint32_t code) {
  if (axis >= AxisCount()) Fail(group_.key, " has ", AxisCount(), " axes");
  servos_.SetFault(axis, code);
  FollowFaults();
}

void ServoModel::FollowFaults() {
  if (servos_.HasFault() == (state_ == GROUP_STATE_ERROR)) return;
  target_ = GROUP_STATE_IDLE;
  if (servos_.HasFault()) {
    shared::store(areas_.sys, group_.sys.standstill, 1);
    SetState(GROUP_STATE_ERROR);
    return;
  }
  // The request of before the fault still stands in the word, which Vek leaves alone as long as it
  // sees ERROR. Taken out, it cannot set the group going by itself, and made anew it is seen.
  shared::store(areas_.sys, group_.sys.state_transfer_cmd, GROUP_STATE_IDLE);
  SetState(GROUP_STATE_IDLE);
}

void ServoModel::FollowRequest() {
  const int wanted = shared::load(areas_.sys, group_.sys.state_transfer_cmd);
  if (wanted >= GROUP_STATE_IDLE && wanted <= GROUP_STATE_RELEASE && wanted != target_) {
    target_ = wanted;
    cycles_left_ = transition_cycles_;
    shared::store(areas_.sys, group_.sys.standstill, 1);
    SetState(TransitionTo(target_));
  }
  if (state_ == target_) return;
  if (cycles_left_-- <= 0) EnterTarget();
}

void ServoModel::EnterTarget() {
  if (target_ == GROUP_STATE_POSITION) {
    // Vek streams as soon as it sees POSITION, so the ring is emptied before.
    ring_.OnEmpty();
    streaming_ = false;
  }
  SetState(target_);
}

bool ServoModel::TakeFrame() {
  // Until the start frame, what comes may belong to an earlier stream; a ring holds ten frames.
  for (int k = 0; k <= AREA_RING_CAPACITY / AREA_FRAME_SIZE; ++k) {
    PvtFrame packed;
    if (!ring_.OnRead(&packed, sizeof packed)) return false;
    frame_ = UnpackFrame(packed);
    if (streaming_ || frame_.stream_flag == 0) {
      streaming_ = true;
      ++counts_.frames;
      return true;
    }
    ++counts_.dropped;
  }
  return false;
}

void ServoModel::Follow(double period_s) {
  const std::size_t axes = AxisCount();
  bool still = true;
  for (std::size_t j = 0; j < axes; ++j) {
    still = still && std::fabs(frame_.pos[j] - joint_pos_[j]) < kStandstillSpeed * period_s;
    joint_pos_[j] = frame_.pos[j];
    shared::store(areas_.sys, group_.sys.joint_pos, joint_pos_[j], j);
  }
  shared::store(areas_.sys, group_.sys.standstill, still ? 1 : 0);
}

void ServoModel::SetState(int state) {
  state_ = state;
  const std::size_t enabled = IsEnabled(state) ? AxisCount() : 0;
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    shared::store(areas_.sys, group_.sys.axis_state, j < enabled ? AXIS_STATE_ENABLED : 0, j);
  }
  shared::store(areas_.sys, group_.sys.physic_state, IsEnabled(state) ? 1 : 0);
  shared::store_release(areas_.sys, group_.sys.group_state, state);
}

std::size_t ServoModel::AxisCount() const {
  return ClampAxes(shared::load(areas_.mac, group_.axes));
}
