// The file that holds the shared state of simulated time, and who has it open.
//
// Each process locks a byte of its own for as long as it lives, so the system itself tells whether
// the other one is there, however it ended.
#pragma once

#include <mutex>

#include "platform/standalone/lockstep_state.h"

namespace lockstep {

class File {
 public:
  // Keeps others from changing who takes part, in this process and in the other one.
  class Guard {
   public:
    explicit Guard(File& file);
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    File& file_;
    std::lock_guard<std::mutex> threads_;
  };

  // Takes a side: opens the file beneath the root, making it if need be, and maps it. What a
  // process of this side left there is cleared; when nobody else is there, everything is. Null, or
  // why it cannot be done. Once; lasts until the process ends.
  const char* Open(Side side);

  State& state() { return *state_; }
  Side side() const { return side_; }
  // Whether a process has taken the other side.
  bool OtherIsThere() const { return IsLocked(other(side_)); }

 private:
  const char* Take();
  bool IsLocked(Side side) const;

  int fd_ = -1;
  Side side_ = Side::kController;
  State* state_ = nullptr;
  std::mutex threads_;  // file locks exclude processes only
};

}  // namespace lockstep
