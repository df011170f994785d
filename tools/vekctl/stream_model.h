// The frames that Vek's position control produces for one entry into POSITION and one run,
// recomputed from the planner and the motion maths.
#pragma once

#include <string>
#include <vector>

#include "platform/motion_maths.h"
#include "platform/shared_memory.h"
#include "tools/group_limits.h"
#include "tools/waypoints.h"
#include "vek/frame.h"
#include "vek/input_shaper.h"

struct StreamSetup {
  GroupLimits limits;    // of the configuration
  std::size_t axes = 0;  // servo axes: so many limits are scaled
  double period_ms = 1;  // 1000 / BusFreq
  float vel_percent = 0;
  float acc_percent = 0;
  // The configuration, as long as the model lives, when the group's frames are shaped.
  const CfgConfig* shaper = nullptr;
};

// Where a group is to go, one target a frame.
struct Course {
  std::vector<Axes> targets;
  bool is_run = false;  // samples, which are followed, and not a joint command
};
Course RunCourse(const Waypoints& waypoints, const GroupRow& group, std::size_t dof);

class StreamModel {
 public:
  // Enters POSITION with the axes at `start`.
  StreamModel(const StreamSetup& setup, const Axes& start);

  // The frame built last; at first the start frame.
  const Frame& frame() const { return frame_; }
  // Whether the targets from now on are a run's.
  void OnFollow(bool on);
  // Builds the next frame, towards `target` on the group's axes.
  void OnStep(const Axes& target);
  // The same towards the target of before.
  void OnHold() { OnStep(target_); }

 private:
  ZQNSyncDTS generator_;
  ZQAVGF filter_;
  std::size_t dof_;
  Axes target_;
  Frame frame_;
  const CfgConfig* shaper_cfg_;
  CACB unshaped_;
  InputShaper shaper_;
};

struct StreamComparison {
  bool same = false;
  std::size_t first_target = 0;  // frame at which the course begins
  std::size_t frame = 0;         // the first that differs, when not the same
  std::string problem;           // in words, when not the same
};

// Compares a recording with what the model gives: the start frame, a hold, the whole course, then a
// hold. The frame at which the course begins is searched for.
StreamComparison CompareStream(const std::vector<Frame>& frames, const StreamSetup& setup,
                               const Course& course);
