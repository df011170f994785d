// drusim: plays the servo task of the controller on Vek's shared areas.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>

#include "tools/drusim/simulation.h"
#include "tools/failure.h"
#include "tools/group_argument.h"
#include "tools/tool_main.h"

namespace {

std::atomic<bool> g_stop{false};

void OnStop(int) {
  g_stop = true;
}

struct Arguments {
  RootOption root;
  std::string axes;
  std::vector<std::string> poses;
  std::string groups;
  std::string script;
  SimulationOptions simulation;
};

void AddOptions(CLI::App& app, Arguments& arguments) {
  AddRootOptions(app, arguments.root);
  app.add_option("--axes", arguments.axes, "Servo axes, GROUP=N,… (default 7,7,3,6,2)");
  app.add_option("--pose", arguments.poses, "Where a group stands at first, GROUP=q1,q2,…")
      ->allow_extra_args(false);
  app.add_option("--transition-cycles", arguments.simulation.transition_cycles,
                 "Cycles that a change of state takes (default 50)")
      ->check(CLI::Range(0, 1000000));
  app.add_option("--cycles", arguments.simulation.cycles, "End after that many cycles")
      ->check(CLI::Range(1LL, 1000000000000LL));
  app.add_option("--script", arguments.script,
                 "Actions at given cycles, one CYCLE ACTION … a line");
  app.add_option("--record", arguments.simulation.record,
                 "Write every consumed frame to a CSV file");
  app.add_option("--groups", arguments.groups, "Groups to record, GROUP,… (default all)");
}

void ParseAxes(const std::string& text, SimulationOptions& options) {
  if (text.empty()) return;
  for (const std::string_view part : Split(text, ',')) {
    const auto [group, value] = SplitGroupValue("--axes", part);
    const auto count = ParseInteger(value);
    if (!count || *count < 0 || *count > AREA_AXES) {
      FailUsage("--axes: '", value, "' is no number from 0 to ", int{AREA_AXES});
    }
    options.axes[group->index] = static_cast<int>(*count);
  }
}

void ParsePose(const std::string& text, SimulationOptions& options) {
  const auto [group, values] = SplitGroupValue("--pose", text);
  const auto cells = Split(values, ',');
  if (cells.size() > AREA_AXES) FailUsage("--pose: more than ", int{AREA_AXES}, " axes");
  for (std::size_t j = 0; j < cells.size(); ++j) {
    const auto value = ParseDouble(cells[j]);
    if (!value) FailUsage("--pose: '", cells[j], "' is no number");
    options.pose[group->index][j] = *value;
  }
}

void ParseGroups(const Arguments& arguments, SimulationOptions& options) {
  if (!arguments.groups.empty() && options.record.empty()) FailUsage("--groups needs --record");
  std::vector<bool> chosen(kGroupCount, arguments.groups.empty());
  if (!arguments.groups.empty()) {
    for (const std::string_view key : Split(arguments.groups, ',')) {
      chosen[GroupByKey(key).index] = true;
    }
  }
  for (const GroupRow& group : kGroups) {
    if (chosen[group.index]) options.record_groups.push_back(&group);
  }
}

int Simulate(Arguments& arguments) {
  SimulationOptions& options = arguments.simulation;
  ParseAxes(arguments.axes, options);
  for (const std::string& pose : arguments.poses) ParsePose(pose, options);
  ParseGroups(arguments, options);
  if (!arguments.script.empty()) options.script = ReadScript(arguments.script);
  SettleRoot(arguments.root);

  std::signal(SIGINT, OnStop);
  std::signal(SIGTERM, OnStop);
  Simulation simulation(std::move(options));
  const bool complete = simulation.Run(g_stop);
  simulation.PrintSummary();
  return complete ? 0 : kStatusFailed;
}

int Drusim(int argc, char** argv) {
  CLI::App app("Plays the servo task on Vek's shared areas, until SIGINT or SIGTERM.", "drusim");
  Arguments arguments;
  AddOptions(app, arguments);
  return ParseArguments(app, argc, argv) ? Simulate(arguments) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  return RunTool("drusim", Drusim, argc, argv);
}
