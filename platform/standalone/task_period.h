// The arithmetic of periodic releases.
#pragma once

#include <algorithm>
#include <limits>

#include "platform/rt_task.h"

namespace real_time {

struct Release {
  unsigned long overruns = 0;  // releases missed
  RTIME next = 0;              // the one to wait for afterwards
};

// What follows when a task takes the release of `expected` at `now`, not before it: late by less
// than a period is no overrun; releases missed are skipped and counted; the phase is kept. `period`
// is above 0.
constexpr Release take_release(RTIME now, RTIME expected, RTIME period) {
  const RTIME missed = (now - expected) / period;
  constexpr RTIME kMost = std::numeric_limits<unsigned long>::max();
  return {static_cast<unsigned long>(std::min(missed, kMost)), expected + (missed + 1) * period};
}

}  // namespace real_time
