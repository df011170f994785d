#include <cstdio>

#include "tools/failure.h"
#include "tools/group_argument.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"

int RunBrakeFree(const BrakeFreeOptions& options) {
  const GroupRow& group = GroupByKey(options.group);
  const bool on = OnOff(options.on_off);
  if (group.request_check == RequestCheck::None) FailUsage(group.key, " has no brake word");
  if (options.root.host) FailUsage("brake-free simulates a fault: never on the real paths");
  SettleRoot(options.root);
  const AreaView sys(kSysInfoArea);
  shared::store(sys.get(), group.sys.brake_unlock, on ? 1 : 0);
  std::printf("%s: %s\n", options.group.c_str(),
              on ? "a brake counts as held unlocked: of the states only IDLE is granted"
                 : "its brakes count as locked");
  return 0;
}
