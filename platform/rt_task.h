// The real-time task calls, with the signatures and results of the native skin: 0 or a negative
// errno.
#pragma once

#include <cstdint>

using RTIME = std::uint64_t;  // nanoseconds of the task time base

inline constexpr RTIME TM_NOW = 0;
inline constexpr int T_FPU = 0x100000;
constexpr int T_CPU(int cpu) {
  return 1 << (24 + (cpu & 7));
}

// A task descriptor; all zero: never created.
struct RT_TASK {
  void* task = nullptr;
};

// Makes printf of real-time tasks safe. Called once, first.
void rt_print_auto_init(int on);

// Prepares a dormant task. `stksize` 0 is the default; `prio` 0..99; `mode` is T_FPU and T_CPU()
// bits. -ENOMEM, -EEXIST (descriptor in use), -EINVAL. Missing privileges are no failure: the task
// then runs without them, after one warning for each.
int rt_task_create(RT_TASK* task, const char* name, int stksize, int prio, int mode);
// Lets `fun(cookie)` run in the task. -EINVAL, -EIDRM (not created), -EBUSY (already started),
// -EPERM (a second task in simulated time), -ENOMEM.
int rt_task_start(RT_TASK* task, void (*fun)(void*), void* cookie);
// Asks the task to stop and waits until it has ended; nothing when it was never created. The task
// sees the request as -EINTR of its next rt_task_wait_period. -EINVAL (null), -EPERM (the caller).
int rt_task_delete(RT_TASK* task);
// Gives the calling task (`task` null), or one that is not started yet, a period in ns; `idate`
// TM_NOW releases it first one period from now. -EINVAL (period 0), -EIDRM, -EPERM (not a task, or
// a running one other than the caller).
int rt_task_set_periodic(RT_TASK* task, RTIME idate, RTIME period);
// Waits for the next release. 0; -ETIMEDOUT with the number of missed releases, which are skipped;
// -EWOULDBLOCK (no period set); -EINTR (asked to stop); -EPERM (not a task). `overruns` is written
// on 0 and -ETIMEDOUT only.
int rt_task_wait_period(unsigned long* overruns);
// Now, ns. Any thread.
RTIME rt_timer_read();
