// The clocks behind the platform's calls: real, or simulated while lockstep::active().
#pragma once

#include <ctime>

namespace standalone {

// The calendar's time. Any thread, real-time safe.
std::timespec wall_time();

}  // namespace standalone
