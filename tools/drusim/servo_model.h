// One group of the simulated servo task: its state machine, and a drive that follows the frames of
// its ring without error.
#pragma once

#include <vector>

#include "platform/shared_memory.h"
#include "tools/drusim/servo_commands.h"
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

// How long things take, in cycles.
struct ServoTimes {
  int transition = 50;  // a change of state, 0 or more
  int command = 5;      // the answer to a servo command, 1 or more
};

class ServoModel {
 public:
  ServoModel(const GroupRow& group, const ServoAreas& areas, const ServoTimes& times);

  // Switches the group on: IDLE, standing still at the pose (ju), no request pending and no fault.
  void OnStart(int axes, const Axes& pose);
  // One cycle of `period_s` seconds; true when a frame was consumed.
  bool OnCycle(double period_s);

  const GroupRow& group() const { return group_; }
  const Frame& frame() const { return frame_; }  // the last one consumed
  const ServoCounts& counts() const { return counts_; }

  // While true, no frame is taken from the ring.
  void SetPaused(bool paused) { paused_ = paused; }
  // Gives a servo of the group a fault: the group goes to ERROR at once, and to IDLE when no servo
  // has a fault any more. A Failure for an axis that the group has not got.
  void SetFault(std::size_t axis, std::uint32_t code);
  ServoCommands& servos() { return servos_; }
  const ServoCommands& servos() const { return servos_; }

 private:
  void FollowFaults();
  void FollowRequest();
  void EnterTarget();
  bool TakeFrame();
  void Follow(double period_s);
  void SetState(int state);
  std::size_t AxisCount() const;

  const GroupRow& group_;
  ServoAreas areas_;
  int transition_cycles_;
  ServoCommands servos_;
  KACBReader ring_;
  int state_ = GROUP_STATE_IDLE;   // IDLE … RELEASE, a transition or ERROR
  int target_ = GROUP_STATE_IDLE;  // where the state leads to
  int cycles_left_ = 0;            // of the transition
  bool streaming_ = false;         // the start frame of this entry into POSITION was taken
  bool paused_ = false;
  Frame frame_;
  Axes joint_pos_{};
  ServoCounts counts_;
};
