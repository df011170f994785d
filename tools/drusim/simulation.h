// The simulated servo task: its cycle, the robot, the script and the recording.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "tools/drusim/control.h"
#include "tools/drusim/recorder.h"
#include "tools/drusim/robot.h"
#include "tools/drusim/script.h"

struct SimulationOptions {
  RobotOptions robot;
  long long cycles = 0;  // 0: until stopped
  std::vector<ScriptLine> script;
  std::string control;                         // FIFO, empty: none
  std::string record;                          // file, empty: none
  std::vector<const GroupRow*> record_groups;  // in group order
};

class Simulation {
 public:
  // Maps the areas, opens the files and switches all groups on; a Failure, before anything is
  // changed, when that is not possible.
  explicit Simulation(SimulationOptions options);

  // Runs until `stop`, the script or the number of cycles ends it. False when a script action
  // failed or the recording is incomplete, after a message.
  bool Run(const std::atomic<bool>& stop);
  // Prints what happened, one plain line a figure.
  void PrintSummary() const;

 private:
  void Cycle(const std::atomic<bool>& stop);
  void RunScript();
  void MoveGroups();
  void ObserveVek();
  std::int64_t Period_ns() const;

  SimulationOptions options_;
  Robot robot_;
  std::unique_ptr<Recorder> recorder_;
  std::unique_ptr<ControlPipe> control_;
  std::size_t next_line_ = 0;  // of the script
  bool failed_ = false;
  bool lockstep_ = false;  // time is simulated
  bool fifo_ = false;      // the cycle has real-time priority
  long long cycles_ = 0;
  long long missed_ = 0;         // periods
  std::int64_t elapsed_ns_ = 0;  // nominal time since the start
  std::uint64_t worst_vek_ns_ = 0;
};
