#include <cstdio>

#include "tools/group_argument.h"
#include "tools/requests.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"

namespace {

// Why Vek may have withdrawn the request, as far as the words tell.
std::string ReasonOf(const AreaView& sys, const GroupRow& group) {
  const bool unlocked = shared::load(sys.get(), group.sys.brake_unlock) != 0;
  const bool moving = shared::load(sys.get(), group.sys.standstill) == 0;
  if (group.request_check != RequestCheck::None && unlocked) return "a brake is held unlocked";
  if (group.request_check == RequestCheck::BrakeAndMotion && moving) return "the group is moving";
  return "Vek's log tells why";
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
    if (GroupState(sys, group) == wanted) {
      std::printf("%s: %s reached after %.3f s\n", options.group.c_str(), options.state.c_str(),
                  waited.count());
      return 0;
    }
    if (shared::load_acquire(udp.get(), group.udp.state_cmd) != wanted) {
      Fail(options.group, ": ", options.state, " rejected by Vek: ", ReasonOf(sys, group));
    }
    if (!vek.Alive()) {
      Withdraw(udp, sys, group, wanted);
      Fail(options.group, ": Vek is not running (its cycle stamp stands still)");
    }
    if (waited.count() >= options.timeout_s) {
      Withdraw(udp, sys, group, wanted);
      FailUnanswered(sys, group, wanted);
    }
    ShortPause();
  }
}
