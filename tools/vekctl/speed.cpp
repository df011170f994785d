#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "tools/group_argument.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/set_channel.h"

namespace {

constexpr float kLeastPercent = 1;
constexpr float kMostPercent = 100;
constexpr double kTimeout_s = 2;

float ParsePercent(const std::string& text) {
  const float percent = static_cast<float>(ParseDouble(text).value_or(NAN));
  if (!std::isfinite(percent)) FailUsage("'", text, "' is no percentage");
  return percent;
}

void SetPercent(SetChannel& channel, const GroupRow& group, SetValue value, float percent) {
  const char* const name = BytesOf(group, value).name;
  const float counts = std::clamp(percent, kLeastPercent, kMostPercent);
  if (counts != percent) {
    // The channel clamps, entry into POSITION does not.
    const std::string line = Text(group.key, ": ", name, " ", percent, " % counts as ", counts,
                                  " % now, and unclamped on the next entry into POSITION");
    std::fprintf(stderr, "vekctl: warning: %s\n", line.c_str());
  }
  SendPercent(channel.udp().get(), group, value, percent);
  channel.AwaitTaken(value, After(Clock::now(), kTimeout_s));
  std::printf("%s\n", Text(group.key, ": ", name, " ", counts, " % taken over").c_str());
  std::fflush(stdout);
}

}  // namespace

int RunSpeed(const SpeedOptions& options) {
  const GroupRow& group = GroupByKey(options.group);
  const float speed = ParsePercent(options.percent);
  std::optional<float> acceleration;
  if (!options.acc.empty()) acceleration = ParsePercent(options.acc);
  SettleRoot(options.root);
  SetChannel channel(group);
  channel.CheckFree({SetValue::Speed, SetValue::Acceleration});
  SetPercent(channel, group, SetValue::Speed, speed);
  if (acceleration) SetPercent(channel, group, SetValue::Acceleration, *acceleration);
  return 0;
}
