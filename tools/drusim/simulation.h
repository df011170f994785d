// The simulated servo task: its cycle, the five groups, the script and the recording.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/area_view.h"
#include "tools/drusim/recorder.h"
#include "tools/drusim/script.h"
#include "tools/drusim/servo_model.h"

struct SimulationOptions {
  std::array<int, kGroupCount> axes{7, 7, 3, 6, 2};  // servo axes of each group
  std::array<Axes, kGroupCount> pose{};              // where the axes stand at the start, ju
  int transition_cycles = 50;
  long long cycles = 0;  // 0: until stopped
  std::vector<ScriptLine> script;
  std::string record;                          // file, empty: none
  std::vector<const GroupRow*> record_groups;  // in group order
};

class Simulation {
 public:
  // Maps the areas and switches all groups on; a Failure when that is not possible.
  explicit Simulation(SimulationOptions options);

  // Runs until `stop`, the script or the number of cycles ends it. False when a script action
  // failed or the recording is incomplete, after a message.
  bool Run(const std::atomic<bool>& stop);
  // Prints what happened, one plain line a figure.
  void PrintSummary() const;

 private:
  void Cycle();
  void RunScript();
  void Perform(const ScriptLine& line);
  void Perform(const TrajAction& action);
  void ObserveVek();
  std::int64_t Period_ns() const;

  SimulationOptions options_;
  AreaView sys_{kSysInfoArea}, cfg_{kCfgConfigArea}, mac_{kMacArea}, udp_{kUdpArea},
      vek2dru_{kVek2DruArea};
  std::optional<AreaView> trajbuf_;  // mapped by the first trajectory: Vek makes it
  std::vector<ServoModel> groups_;
  std::unique_ptr<Recorder> recorder_;
  std::size_t next_line_ = 0;  // of the script
  bool quit_ = false;
  bool failed_ = false;
  bool fifo_ = false;  // the cycle has real-time priority
  long long cycles_ = 0;
  long long missed_ = 0;         // periods
  std::int64_t elapsed_ns_ = 0;  // nominal time since the start
  std::uint64_t worst_vek_ns_ = 0;
};
