// Preparation of the process and of task threads for real time. Whatever cannot be had costs one
// warning and is done without. Plain threads.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

namespace real_time {

using Lacks = std::uint32_t;  // task_timing::Lack bits: what could not be had

// Locks memory where the process may, keeps the heap from giving pages back, and keeps the
// processors out of deep sleep until the process ends. Once; further calls only tell the lacks.
Lacks prepare_process();

struct ThreadPlan {
  const char* name;
  std::size_t stack_size;  // bytes, at least kLeastStack is given
  int priority;            // SCHED_FIFO 1..99; 0: an ordinary thread
  unsigned processors;     // one bit each, 0: any
};

inline constexpr std::size_t kLeastStack = 1024UL * 1024;

// Creates the thread, at its priority if the process may, with SIGINT blocked. 0 or an errno.
int create_thread(pthread_t* thread, const ThreadPlan& plan, void* (*run)(void*), void* argument);

// The thread's own part, before its work: processors, stack, timers, floating point.
Lacks prepare_this_thread(const ThreadPlan& plan);

}  // namespace real_time
