// One group of the simulated servo task: its state machine, and a drive that follows the frames of
// its ring without error.
#pragma once

#include <vector>

#include "platform/shared_memory.h"
#include "vek/frame.h"
#include "vek/groups.h"

// The areas of the servo task.
struct ServoAreas {
  unsigned char* sys = nullptr;
  unsigned char* mac = nullptr;
  unsigned char* udp = nullptr;
  unsigned char* vek2dru = nullptr;
};

struct ServoCounts {
  long frames = 0;   // consumed
  long starved = 0;  // cycles without a frame after the first one
  long dropped = 0;  // frames of an earlier stream
};

class ServoModel {
 public:
  // A change of state takes `transition_cycles` cycles, 0 or more.
  ServoModel(const GroupRow& group, const ServoAreas& areas, int transition_cycles);

  // Switches the group on: IDLE, standing still at the pose (ju), no request pending.
  void OnStart(int axes, const Axes& pose);
  // One cycle of `period_s` seconds; true when a frame was consumed.
  bool OnCycle(double period_s);

  const GroupRow& group() const { return group_; }
  const Frame& frame() const { return frame_; }  // the last one consumed
  const ServoCounts& counts() const { return counts_; }

  // While true, no frame is taken from the ring.
  void SetPaused(bool paused) { paused_ = paused; }
  // Holds a brake unlocked.
  void SetBrakeUnlocked(bool unlocked);

 private:
  void FollowRequest();
  void EnterTarget();
  bool TakeFrame();
  void Follow(double period_s);
  void SetState(int state);

  const GroupRow& group_;
  ServoAreas areas_;
  int transition_cycles_;
  KACBReader ring_;
  int state_ = GROUP_STATE_IDLE;   // IDLE … RELEASE or a transition
  int target_ = GROUP_STATE_IDLE;  // where the state leads to
  int cycles_left_ = 0;            // of the transition
  bool streaming_ = false;         // the start frame of this entry into POSITION was taken
  bool paused_ = false;
  Frame frame_;
  Axes joint_pos_{};
  ServoCounts counts_;
};
