#include <cstdio>

#include "tools/group_argument.h"
#include "tools/requests.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"

namespace {

// The request is no longer in its word: tells why, as far as the other words tell.
[[noreturn]] void FailGone(const AreaView& sys, const GroupRow& group, const std::string& wanted) {
  const bool unlocked = shared::load(sys.get(), group.sys.brake_unlock) != 0;
  const bool moving = shared::load(sys.get(), group.sys.standstill) == 0;
  if (group.request_check != RequestCheck::None && unlocked) {
    Fail(group.key, ": ", wanted, " rejected by Vek: a brake is held unlocked");
  }
  if (group.request_check == RequestCheck::BrakeAndMotion && moving) {
    Fail(group.key, ": ", wanted, " rejected by Vek: the group is moving");
  }
  Fail(group.key, ": ", wanted, " not carried out: Vek rejected it, as its log then tells, ",
       "or the servo side has just started, or another request took its place");
}

// Withdraws a request that was not carried out, so that it does not act at some later time.
void Withdraw(const AreaView& udp, const AreaView& sys, const GroupRow& group, int wanted) {
  shared::replace(udp.get(), group.udp.state_cmd, static_cast<std::uint16_t>(wanted),
                  static_cast<std::uint16_t>(GroupState(sys, group)));
}

[[noreturn]] void FailUnanswered(const AreaView& sys, const GroupRow& group, int wanted) {
  const char* const present = GroupStateName(group, GroupState(sys, group));
  if (shared::load(sys.get(), group.sys.state_transfer_cmd) == wanted) {
    Fail(group.key, ": not carried out: Vek accepted, the servo side is still in ", present);
  }
  Fail(group.key, ": not carried out: in ", present, " Vek takes no request");
}

}  // namespace

int RunState(const StateOptions& options) {
  const GroupRow& group = GroupByKey(options.group);
  const int wanted = StateByName(options.state);
  SettleRoot(options.root);
  const AreaView sys(kSysInfoArea);
  const AreaView udp(kUdpArea);
  StampWatch vek = WatchVek(sys.get());
  const auto start = Clock::now();
  RequestState(udp.get(), group, wanted);
  for (;;) {
    const std::chrono::duration<double> waited = Clock::now() - start;
    const bool late = waited.count() >= options.timeout_s;
    if (GroupState(sys, group) == wanted) {
      std::printf("%s: %s reached after %.3f s\n", options.group.c_str(), options.state.c_str(),
                  waited.count());
      return 0;
    }
    if (shared::load_acquire(udp.get(), group.udp.state_cmd) != wanted) {
      FailGone(sys, group, options.state);
    }
    if (!vek.Alive() || (late && !vek.HasMoved())) {
      Withdraw(udp, sys, group, wanted);
      Fail(options.group, ": not carried out: Vek's cycle stands still");
    }
    if (late) {
      Withdraw(udp, sys, group, wanted);
      FailUnanswered(sys, group, wanted);
    }
    ShortPause();
  }
}
