// What a front end asks of Vek through the shared areas.
#pragma once

#include <vector>

#include "tools/waypoints.h"
#include "vek/groups.h"

// Asks for a state; Vek judges the request in its next cycle.
void RequestState(unsigned char* udp, const GroupRow& group, int state);

// The set channel: values that each have an enable byte, which stays set, and a new-data byte,
// which announces the value and which Vek clears once it has taken it over.
enum class SetValue { Joints, Speed, Acceleration };
inline constexpr std::size_t kSetValues = 3;
struct SetBytes {
  const char* name;  // in messages
  shared::Field<std::uint8_t> enable, fresh;
};
SetBytes BytesOf(const GroupRow& group, SetValue value);

bool IsPending(const unsigned char* udp, const GroupRow& group, SetValue value);
// Writes the leading joints of a command, ju, and announces it.
void SendJointCommand(unsigned char* udp, const GroupRow& group, const std::vector<float>& joints);
// Writes the percent of Speed or Acceleration and announces it.
void SendPercent(unsigned char* udp, const GroupRow& group, SetValue value, float percent);

// Puts the waypoints into the group's block of the trajectory file.
void WriteTrajectory(unsigned char* trajbuf, const GroupRow& group, const Waypoints& waypoints);
// Starts the run of what was written; false when the group has a run already.
bool StartTrajectory(unsigned char* udp, const GroupRow& group);
// Asks a run that was started to stop; false when there is none.
bool StopTrajectory(unsigned char* udp, const GroupRow& group);
