// Watching a Vek at work through the areas.
#pragma once

#include <chrono>

#include "tools/area_view.h"
#include "tools/failure.h"
#include "vek/groups.h"

using Clock = std::chrono::steady_clock;

// Between two looks at the areas.
void ShortPause();

// Tells from a cycle stamp whether the task behind it is at work.
class StampWatch {
 public:
  StampWatch(const unsigned char* sys, shared::Field<std::uint64_t> stamp);
  // False once the stamp has stood still for two seconds; to be asked again and again.
  bool Alive();

 private:
  const unsigned char* sys_;
  shared::Field<std::uint64_t> stamp_;
  std::uint64_t last_;
  Clock::time_point changed_;
};

StampWatch WatchVek(const unsigned char* sys);
StampWatch WatchDru(const unsigned char* sys);

// The group's words.
int GroupState(const AreaView& sys, const GroupRow& group);
int TrajState(const AreaView& udp, const GroupRow& group);
// Name of a trajectory-run state.
const char* TrajStateName(int state);
