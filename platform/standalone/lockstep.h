// Simulated time as the platform's own calls use it. Each does what its real-time sibling would,
// counted in ticks; inactive, the process runs in real time.
#pragma once

#include <atomic>
#include <ctime>

#include "platform/rt_task.h"

namespace lockstep {

// Whether this process takes part in simulated time. Settled before it has a second thread.
bool active();

// Makes this process the controller and the calling thread its plain loop, if the environment asks
// for simulated time (VEK_CLOCK=lockstep, with a root set); a warning when that cannot be done.
void join_as_controller();

// The clocks. Only while active; any thread.
RTIME now();
std::timespec calendar();

// Lets the controller have a task, due at once; false when it has one. Only while active.
bool add_task();
void remove_task();
// Makes the calling thread the task and waits for its first turn, or until `stop` is set.
void begin_task(const std::atomic<bool>& stop);

// simulated_time::sleep_until for the thread of the task or of the servo task.
RTIME sleep_until(RTIME time, const std::atomic<bool>& stop);
// Sleeps for that long in the thread of the plain loop, or until a SIGINT; false, at once, when
// this is none.
bool sleep_in_loop(RTIME duration);

}  // namespace lockstep
