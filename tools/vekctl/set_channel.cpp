#include "tools/vekctl/set_channel.h"

namespace {

// States that last until somebody asks for another one, and in which Vek takes nothing over.
bool Blocks(int state) {
  return state == GROUP_STATE_TORQUE || state == GROUP_STATE_RELEASE;
}

}  // namespace

void SetChannel::CheckVek() {
  if (!vek_.Alive()) Fail(group_.key, ": Vek's cycle does not run (its stamp stands still)");
}

void SetChannel::CheckRunning() {
  CheckVek();
  if (!dru_.Alive()) {
    Fail(group_.key, ": the servo side is not running (its cycle stamp stands still)");
  }
}

void SetChannel::CheckFree(std::initializer_list<SetValue> values) {
  for (CheckVek(); !vek_.HasMoved(); CheckVek()) ShortPause();
  for (const SetValue value : values) {
    if (!IsPending(udp_.get(), group_, value)) continue;
    Fail(group_.key, ": the ", BytesOf(group_, value).name, " command is pending already");
  }
}

void SetChannel::AwaitTaken(SetValue value, Clock::time_point deadline) {
  for (; IsPending(udp_.get(), group_, value); ShortPause()) {
    CheckVek();
    const int state = GroupState(sys_, group_);
    if (!Blocks(state) && Clock::now() < deadline) continue;
    Fail(group_.key, ": the ", BytesOf(group_, value).name, " command is pending: the state is ",
         GroupStateName(group_, state), ", Vek takes it over in IDLE, POSITION or ERROR");
  }
}
