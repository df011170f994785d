#include "platform/rt_task.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>

#include "platform/simulated_time.h"
#include "platform/standalone/lockstep.h"
#include "platform/standalone/real_time.h"
#include "platform/standalone/task_period.h"
#include "platform/standalone/timing_recorder.h"

namespace {

// A task sleeps no longer at a stretch, so that it sees a request to stop.
constexpr RTIME kLongestSleep = 10'000'000;
constexpr int kHighestPriority = 99;

struct Task {
  std::array<char, 16> name{};  // what the system takes at most, NUL included
  real_time::ThreadPlan plan{};
  void (*function)(void*) = nullptr;
  void* cookie = nullptr;
  pthread_t thread{};
  bool started = false;
  std::atomic<bool> stop{false};
  // The task's own thread, or anybody before the start.
  RTIME period = 0;  // 0: none
  RTIME next_release = 0;
  real_time::Lacks process_lacks = 0;
  real_time::TimingRecorder timing;
};

thread_local Task* t_calling_task = nullptr;

Task* task_of(const RT_TASK* descriptor) {
  return static_cast<Task*>(descriptor->task);
}

void* run_task(void* argument) {
  Task* const task = static_cast<Task*>(argument);
  t_calling_task = task;
  if (lockstep::active()) lockstep::begin_task(task->stop);
  task->timing.SetLacks(task->process_lacks | real_time::prepare_this_thread(task->plan));
  task->function(task->cookie);
  if (lockstep::active()) lockstep::remove_task();
  return nullptr;
}

}  // namespace

void rt_print_auto_init(int) {
  // Lines on standard output are flushed at once, also into a file or a pipe.
  static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ));
  // The first call of a program that has tasks: from here on it has the clock that they run by.
  lockstep::join_as_controller();
}

int rt_task_create(RT_TASK* task, const char* name, int stksize, int prio, int mode) {
  if (task == nullptr || stksize < 0 || prio < 0 || prio > kHighestPriority) return -EINVAL;
  if (task->task != nullptr) return -EEXIST;
  auto* const created = new (std::nothrow) Task;
  if (created == nullptr) return -ENOMEM;
  std::snprintf(created->name.data(), created->name.size(), "%s", name != nullptr ? name : "");
  created->plan = {.name = created->name.data(),
                   .stack_size = static_cast<std::size_t>(stksize),
                   .priority = prio,
                   .processors = static_cast<unsigned>(mode) >> 24};
  task->task = created;
  if (lockstep::active()) {
    // Nobody is late in simulated time; threads that wait for each other share the processors best
    // as equals.
    created->plan.priority = 0;
    created->plan.processors = 0;
  } else {
    created->process_lacks = real_time::prepare_process();
  }
  return 0;
}

int rt_task_start(RT_TASK* task, void (*fun)(void*), void* cookie) {
  if (task == nullptr || fun == nullptr) return -EINVAL;
  Task* const starting = task_of(task);
  if (starting == nullptr) return -EIDRM;
  if (starting->started) return -EBUSY;
  starting->function = fun;
  starting->cookie = cookie;
  if (!lockstep::active()) {
    starting->timing.Open(starting->name.data());
  } else if (!lockstep::add_task()) {
    return -EPERM;
  }
  const int error = real_time::create_thread(&starting->thread, starting->plan, run_task, starting);
  starting->started = error == 0;
  if (lockstep::active() && !starting->started) lockstep::remove_task();
  return error == EAGAIN ? -ENOMEM : -error;
}

int rt_task_delete(RT_TASK* task) {
  if (task == nullptr) return -EINVAL;
  Task* const ending = task_of(task);
  if (ending == nullptr) return 0;
  if (ending == t_calling_task) return -EPERM;
  if (ending->started) {
    ending->stop.store(true, std::memory_order_release);
    pthread_join(ending->thread, nullptr);
  }
  delete ending;
  task->task = nullptr;
  return 0;
}

int rt_task_set_periodic(RT_TASK* task, RTIME idate, RTIME period) {
  Task* const periodic = task != nullptr ? task_of(task) : t_calling_task;
  if (periodic == nullptr) return task != nullptr ? -EIDRM : -EPERM;
  if (periodic != t_calling_task && periodic->started) return -EPERM;
  if (period == 0) return -EINVAL;
  periodic->period = period;
  periodic->next_release = idate == TM_NOW ? rt_timer_read() + period : idate;
  return 0;
}

int rt_task_wait_period(unsigned long* overruns) {
  Task* const task = t_calling_task;
  if (task == nullptr) return -EPERM;
  if (task->period == 0) return -EWOULDBLOCK;
  const auto asked_to_stop = [task] { return task->stop.load(std::memory_order_acquire); };
  RTIME now = rt_timer_read();
  task->timing.EndCycle(now);
  if (asked_to_stop()) return -EINTR;
  const bool waits = now < task->next_release;
  while (now < task->next_release) {
    // Asked in the middle of a wait, a release that is due still ends it as ever: the task then
    // sees by itself that it is to end.
    if (asked_to_stop()) return -EINTR;
    now =
        simulated_time::sleep_until(std::min(task->next_release, now + kLongestSleep), task->stop);
  }
  const auto release = real_time::take_release(now, task->next_release, task->period);
  task->timing.BeginCycle({.period = task->period,
                           .release = task->next_release,
                           .now = now,
                           .waited = waits,
                           .overruns = release.overruns});
  task->next_release = release.next;
  if (overruns != nullptr) *overruns = release.overruns;
  return release.overruns > 0 ? -ETIMEDOUT : 0;
}
