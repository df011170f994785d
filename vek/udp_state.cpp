// The real-time state channel: requests for a change of a group's control state, and the echo of
// its present state.
#include "platform/debug_log.h"
#include "vek/vek.h"

namespace {

// States from here on never take requests, and codes from here on are none.
constexpr int kFirstStateWithoutRequests = 50;

bool IsCompliant(int state) {
  return state == GROUP_STATE_TORQUE || state == GROUP_STATE_RELEASE;
}

// Changes between position control and compliance, which a moving group must not make.
bool NeedsStandstill(int from, int to) {
  return (to == GROUP_STATE_POSITION && IsCompliant(from)) ||
         (IsCompliant(to) && from == GROUP_STATE_POSITION);
}

}  // namespace

void Vek::OnProcessRtUdpState() {
  if (sys_ == nullptr || udp_ == nullptr || mac_ == nullptr) return;
  for (const GroupRow& group : kGroups) {
    ProcessStateRequest(group);
    // The state word has 32 bits, its echo 16.
    shared::store(udp_, group.udp.state_echo,
                  static_cast<std::uint16_t>(shared::load(sys_, group.sys.group_state)));
    shared::store(udp_, group.udp.state_request_echo,
                  static_cast<std::uint32_t>(shared::load(sys_, group.sys.group_state_request)));
  }
}

void Vek::ProcessStateRequest(const GroupRow& group) {
  const std::int32_t state = shared::load(sys_, group.sys.group_state);
  const int request = shared::load_acquire(udp_, group.udp.state_cmd);
  if (state >= kFirstStateWithoutRequests || request >= kFirstStateWithoutRequests ||
      state == request) {
    return;
  }
  const auto reject = [&](const char* format) {
    g_log_clt.ERROR_LOG(format, group.name, GroupStateName(group, request));
    shared::store(udp_, group.udp.state_cmd, static_cast<std::uint16_t>(state));
  };
  if (request != GROUP_STATE_IDLE && group.request_check != RequestCheck::None &&
      IsBrakeUnlock(group)) {
    reject("%s: Failed to transfer to %s, some axes's brake is enforced unlocked");
    return;
  }
  const bool guards_motion = group.request_check == RequestCheck::BrakeAndMotion;
  if (guards_motion && NeedsStandstill(state, request) &&
      shared::load(sys_, group.sys.standstill) == 0) {
    reject("%s: Failed to transfer to %s, robot is moving");
    return;
  }
  // Head and lift keep a disabled soft limit on the way to TORQUE or RELEASE; arms and body do not.
  if (request == GROUP_STATE_IDLE || (guards_motion && IsCompliant(request))) {
    shared::store(sys_, group.sys.soft_limit_disable, 0);
  }
  shared::store_release(sys_, group.sys.state_transfer_cmd, request);
}

bool Vek::IsBrakeUnlock(const GroupRow& group) const {
  if (sys_ == nullptr || mac_ == nullptr) return false;
  return shared::load(mac_, group.axes) >= 1 && shared::load(sys_, group.sys.brake_unlock) != 0;
}

bool Vek::IsBrakeUnlockArm0() const {
  return IsBrakeUnlock(kGroups[0]);
}
bool Vek::IsBrakeUnlockArm1() const {
  return IsBrakeUnlock(kGroups[1]);
}
bool Vek::IsBrakeUnlockHead() const {
  return IsBrakeUnlock(kGroups[2]);
}
bool Vek::IsBrakeUnlockBody() const {
  return IsBrakeUnlock(kGroups[3]);
}

const char* Vek::GetArmStateStr(int state) {
  return GroupStateName(kGroups[0], state);
}
const char* Vek::GetHeadStateStr(int state) {
  return GroupStateName(kGroups[2], state);
}
const char* Vek::GetBodyStateStr(int state) {
  return GroupStateName(kGroups[3], state);
}
const char* Vek::GetLiftStateStr(int state) {
  return GroupStateName(kGroups[4], state);
}
