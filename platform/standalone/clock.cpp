#include "platform/standalone/clock.h"

#include "platform/simulated_time.h"
#include "platform/standalone/lockstep.h"

namespace {

constexpr RTIME kNsPerSecond = 1'000'000'000;

}  // namespace

std::timespec standalone::wall_time() {
  if (lockstep::active()) return lockstep::calendar();
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

RTIME rt_timer_read() {
  if (lockstep::active()) return lockstep::now();
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<RTIME>(now.tv_sec) * kNsPerSecond + static_cast<RTIME>(now.tv_nsec);
}

RTIME simulated_time::sleep_until(RTIME time, const std::atomic<bool>& stop) {
  if (lockstep::active()) return lockstep::sleep_until(time, stop);
  const std::timespec until{.tv_sec = static_cast<std::time_t>(time / kNsPerSecond),
                            .tv_nsec = static_cast<long>(time % kNsPerSecond)};
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
  return rt_timer_read();
}
