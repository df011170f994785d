// The servos of one group: they execute the command words, fail when told so, and have faults and
// brakes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "vek/groups.h"

class ServoCommands {
 public:
  // A command is answered `delay` cycles, 1 or more, after it was seen.
  ServoCommands(const GroupRow& group, unsigned char* sys, int delay);

  // Switches the servos on: no fault, brakes locked, no results of earlier commands. A command that
  // waits already is executed.
  void OnStart();
  // One cycle: executes the commands whose time has come, each with the answer 0, or -1 when the
  // servo fails or knows no such command.
  void OnCycle();

  // While false, no command is executed and no word answered.
  void SetAnswering(bool answering) { answering_ = answering; }
  // Lets all commands to a servo fail. Axes are 0..7, here and below.
  void SetFailing(std::size_t axis, bool failing);
  // Gives a servo a fault, which only a reset (command 3) takes away, and publishes its code.
  void SetFault(std::size_t axis, std::uint32_t code);
  bool HasFault() const { return faults_ != 0; }
  // Unlocks the brake of axis 0, or locks all.
  void SetBrakeUnlocked(bool unlocked) { SetUnlocked(unlocked ? unlocked_ | 1U : 0); }

  // The offset that a sensor was last given, if any.
  std::optional<std::int32_t> SensorOffset(std::size_t sensor) const { return offsets_[sensor]; }

 private:
  shared::Field<std::int32_t> Word(std::size_t axis) const;
  bool Execute(int command, std::size_t axis);
  void SetUnlocked(unsigned axes);

  const GroupRow& group_;
  unsigned char* sys_;
  int delay_;
  bool answering_ = true;
  std::array<int, AREA_AXES> waited_{};  // cycles since the command was seen
  std::array<std::optional<std::int32_t>, AREA_AXES> offsets_;
  // One bit an axis.
  unsigned failing_ = 0;
  unsigned faults_ = 0;
  unsigned unlocked_ = 0;
};
