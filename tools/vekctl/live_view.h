// Watching a Vek at work through the areas.
#pragma once

#include <chrono>

#include "tools/area_view.h"
#include "tools/failure.h"
#include "vek/frame.h"
#include "vek/groups.h"

using Clock = std::chrono::steady_clock;

// The time some seconds after another.
inline Clock::time_point After(Clock::time_point time, double seconds) {
  return time + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// Between two looks at the areas.
void ShortPause();

// Tells from a cycle stamp whether the task behind it is at work.
class StampWatch {
 public:
  StampWatch(const unsigned char* sys, shared::Field<std::uint64_t> stamp);
  // False once the stamp has stood still for two seconds; to be asked again and again.
  bool Alive();
  // Whether it has been seen to change.
  bool HasMoved() const { return moved_; }

 private:
  const unsigned char* sys_;
  shared::Field<std::uint64_t> stamp_;
  std::uint64_t last_;
  Clock::time_point changed_;
  bool moved_ = false;
};

StampWatch WatchVek(const unsigned char* sys);
StampWatch WatchDru(const unsigned char* sys);

// The group's words.
int GroupState(const AreaView& sys, const GroupRow& group);
int TrajState(const AreaView& udp, const GroupRow& group);
bool StandsStill(const AreaView& sys, const GroupRow& group);
// Largest distance of the group's leading `joints` from a position, ju.
double DistanceFrom(const AreaView& sys, const GroupRow& group, const Axes& pos,
                    std::size_t joints);
inline constexpr double kArrived = 1e-3;  // ju: a servo drive rests that close to its target
// Frames in the group's ring; -1 when its positions are out of range.
int RingFrames(const AreaView& vek2dru, const GroupRow& group);
// Name of a trajectory-run state.
const char* TrajStateName(int state);
