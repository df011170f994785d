// Why a group does not move, judged from what the areas say.
#pragma once

#include <array>
#include <string>

#include "tools/requests.h"
#include "vek/groups.h"

// One look at a group. What only time tells (whether stamps and positions move on) is gathered over
// a while.
struct GroupSnapshot {
  bool vek_runs = false;  // its cycle stamps move on
  int load_complete = 0;
  int state = GROUP_STATE_IDLE;
  int state_cmd = GROUP_STATE_IDLE;
  bool brake_unlocked = false;
  float vel_percent = 0;
  float acc_percent = 0;
  int axes = 0;         // of the servo side
  int dof = 0;          // of the configuration
  int ring_frames = 0;  // -1: the ring's positions are out of range
  bool ring_taken_from = false;
  struct SetByte {
    bool enabled = false;
    bool pending = false;
  };
  std::array<SetByte, kSetValues> set{};  // in the order of SetValue
  int traj_state = TRAJ_IDLE;             // TRAJ_IDLE for a group that plays no trajectories
};

// The first reason in words; empty when nothing keeps the group from moving.
std::string WhyItStands(const GroupRow& group, const GroupSnapshot& snapshot);
