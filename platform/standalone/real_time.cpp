#include "platform/standalone/real_time.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <malloc.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

#include "platform/standalone/platform_warning.h"
#include "platform/task_timing.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VEK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VEK_SANITIZED 1
#endif
#endif

namespace real_time {
namespace {

using logging::platform_warning;
using task_timing::Lack;

constexpr Lacks kNone = 0;

// The sanitizers' shadow memory can be neither locked nor their heap tuned.
#ifdef VEK_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

bool has_capability(unsigned capability) {
  __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> data{};
  if (syscall(SYS_capget, &header, data.data()) != 0) return false;
  return (data[capability / 32].effective >> (capability % 32) & 1U) != 0;
}

// Below a finite limit locking may succeed now and make every later allocation fail.
bool may_lock_memory() {
  rlimit limit{};
  const bool unlimited = getrlimit(RLIMIT_MEMLOCK, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY;
  return unlimited || has_capability(CAP_IPC_LOCK);
}

Lacks lock_memory() {
  if (kSanitized) {
    platform_warning("memory is not locked: a sanitizer's shadow memory cannot be");
  } else if (!may_lock_memory()) {
    platform_warning("memory is not locked: no unlimited RLIMIT_MEMLOCK and no CAP_IPC_LOCK");
  } else if (mlockall(MCL_CURRENT | MCL_FUTURE) != 0) {
    platform_warning("memory is not locked: %s", strerror(errno));
  } else {
    return kNone;
  }
  return Lack::kMemoryNotLocked;
}

Lacks keep_heap() {
  if (kSanitized || (mallopt(M_TRIM_THRESHOLD, -1) != 0 && mallopt(M_MMAP_MAX, 0) != 0)) {
    return kNone;
  }
  platform_warning("the heap gives memory back to the system: mallopt failed");
  return Lack::kHeapShrinks;
}

// The request holds as long as the file is open, which is until the process ends.
Lacks hold_processor_latency() {
  constexpr const char* kPath = "/dev/cpu_dma_latency";
  const int fd = open(kPath, O_WRONLY | O_CLOEXEC);
  const std::int32_t microseconds = 0;
  if (fd >= 0 && write(fd, &microseconds, sizeof microseconds) == sizeof microseconds) return kNone;
  platform_warning("%s is not held, processors may sleep deeply: %s", kPath, strerror(errno));
  if (fd >= 0) close(fd);
  return Lack::kDeepSleep;
}

// The processors that are wanted and there. This process may have been started without them, one
// that is isolated for its sake for example.
cpu_set_t usable_processors(unsigned wanted) {
  cpu_set_t usable;
  CPU_ZERO(&usable);
  const long there = std::min(sysconf(_SC_NPROCESSORS_CONF), 32L);
  for (long k = 0; k < there; ++k) {
    if ((wanted >> k & 1U) != 0) CPU_SET(static_cast<std::size_t>(k), &usable);
  }
  return usable;
}

// A processor that is not there is none to be bound to, and no lack.
Lacks bind_to_processors(const ThreadPlan& plan) {
  const cpu_set_t usable = usable_processors(plan.processors);
  if (CPU_COUNT(&usable) == 0) return kNone;
  const int error = pthread_setaffinity_np(pthread_self(), sizeof usable, &usable);
  if (error == 0) return kNone;
  platform_warning("%s is not bound to its processor: %s", plan.name, strerror(error));
  return Lack::kNotBound;
}

// Real-time threads have no timer slack; this is for one that had to do without priority.
Lacks sharpen_timers(const ThreadPlan& plan) {
  if (prctl(PR_SET_TIMERSLACK, 1UL) == 0) return kNone;
  platform_warning("%s keeps its timer slack: %s", plan.name, strerror(errno));
  return Lack::kTimerSlack;
}

// Its lack was told when the thread was created.
Lacks check_priority(const ThreadPlan& plan) {
  int policy = SCHED_OTHER;
  sched_param parameters{};
  pthread_getschedparam(pthread_self(), &policy, &parameters);
  return plan.priority == 0 || policy == SCHED_FIFO ? kNone : Lack::kNoPriority;
}

// More of the stack than a cycle needs is there before the first one.
void touch_stack() {
  std::array<volatile char, kLeastStack / 8> stack;
  constexpr std::size_t kPage = 4096;
  for (std::size_t k = 0; k < stack.size(); k += kPage) stack[k] = 0;
}

// Denormal numbers cost a hundred times the time of others; here they count as zero.
void flush_denormals() {
#if defined(__SSE2__)
  constexpr unsigned kFlushToZero = 0x8000;
  constexpr unsigned kDenormalsAreZero = 0x0040;
  _mm_setcsr(_mm_getcsr() | kFlushToZero | kDenormalsAreZero);
#endif
}

}  // namespace

Lacks prepare_process() {
  static const Lacks lacks = [] {
    Lacks found = keep_heap();
    found |= lock_memory();
    found |= hold_processor_latency();
    return found;
  }();
  return lacks;
}

int create_thread(pthread_t* thread, const ThreadPlan& plan, void* (*run)(void*), void* argument) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::max(plan.stack_size, kLeastStack));
  if (plan.priority > 0) {
    const sched_param parameters{.sched_priority = plan.priority};
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
    pthread_attr_setschedparam(&attributes, &parameters);
  }
  // The handler of SIGINT belongs to the main thread; a signal on the task would end its wait.
  sigset_t interrupt;
  sigset_t before;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_BLOCK, &interrupt, &before);
  int error = pthread_create(thread, &attributes, run, argument);
  if (error == EPERM) {
    platform_warning("%s runs without real-time priority %d: %s", plan.name, plan.priority,
                     strerror(error));
    pthread_attr_setinheritsched(&attributes, PTHREAD_INHERIT_SCHED);
    error = pthread_create(thread, &attributes, run, argument);
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_attr_destroy(&attributes);
  return error;
}

Lacks prepare_this_thread(const ThreadPlan& plan) {
  pthread_setname_np(pthread_self(), plan.name);
  touch_stack();
  flush_denormals();
  return bind_to_processors(plan) | sharpen_timers(plan) | check_priority(plan);
}

}  // namespace real_time
