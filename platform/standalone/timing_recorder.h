// Keeps a task's timing record (platform/task_timing.h).
#pragma once

#include "platform/rt_task.h"
#include "platform/shared_memory.h"

namespace real_time {

class TimingRecorder {
 public:
  TimingRecorder() = default;
  ~TimingRecorder() { Close(); }
  TimingRecorder(const TimingRecorder&) = delete;
  TimingRecorder& operator=(const TimingRecorder&) = delete;

  // Begins a new record; without a place for one, nothing is ever recorded. Plain thread.
  void Open(const char* task);
  // The record stays and says that the task has ended.
  void Close();

  // The task's thread, from here on. Real-time safe; all times are those of rt_timer_read().

  void SetLacks(std::uint32_t lacks);

  struct Wake {
    RTIME period = 0;
    RTIME release = 0;  // that was taken
    RTIME now = 0;      // on return from the wait
    bool waited = false;
    unsigned long overruns = 0;
  };
  // Notes how a cycle begins; recorded at its end, when the task has time to.
  void BeginCycle(const Wake& wake);
  // Records the cycle; nothing when none has begun.
  void EndCycle(RTIME now);

 private:
  void FulfilReset();

  Shm file_;
  void* record_ = nullptr;
  std::uint32_t sequence_ = 0;
  std::uint32_t resets_done_ = 0;
  std::uint64_t cycles_ = 0;
  Wake wake_;
  bool in_cycle_ = false;
};

}  // namespace real_time
