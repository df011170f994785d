// Simulated time: a controller and a servo task, each a process, take turns tick by tick, and all
// clocks and sleeps of the platform count ticks. The environment asks for it (VEK_CLOCK); a
// controller never notices, a simulated servo task takes part by these calls. Its cycle's thread.
#pragma once

#include <atomic>

#include "platform/rt_task.h"

namespace simulated_time {

// Makes the calling thread the servo task and waits for its turn in the first tick, which begins
// when both processes are there. True when time is simulated from now on, even if `stop` ended the
// wait; false, at once, when it is real.
bool join_as_servo(const std::atomic<bool>& stop);
// Ends the part; time stands still until another servo task joins. Nothing in real time.
void leave();

// Sleeps until `time` of rt_timer_read(), simulated or real, and returns the time then. In
// simulated time the sleep ends as well when `stop` is set, and then counts as over.
RTIME sleep_until(RTIME time, const std::atomic<bool>& stop);

// Gives the controller no turn before `duration` has passed, as if its process stood still. False
// in real time.
bool hold_controller(RTIME duration);

}  // namespace simulated_time
