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
  std::vector<std::string> failing;
  std::string groups;
  std::string script;
  SimulationOptions simulation;
};

void AddOptions(CLI::App& app, Arguments& arguments) {
  RobotOptions& robot = arguments.simulation.robot;
  AddRootOptions(app, arguments.root);
  app.add_option("--axes", arguments.axes, "Servo axes, GROUP=N,… (default 7,7,3,6,2)");
  app.add_option("--pose", arguments.poses, "Where a group stands at first, GROUP=q1,q2,…")
      ->allow_extra_args(false);
  app.add_option("--transition-cycles", robot.times.transition,
                 "Cycles that a change of state takes (default 50)")
      ->check(CLI::Range(0, 1000000));
  app.add_option("--servo-delay", robot.times.command,
                 "Cycles until a servo command is answered (default 5)")
      ->check(CLI::Range(1, 1000000));
  app.add_option("--fail", arguments.failing, "Let commands to a servo fail, GROUP:AXIS")
      ->allow_extra_args(false);
  app.add_flag("--gyro", robot.gyro, "Feed a simulated gyro, beneath the root alone");
  app.add_option("--cycles", arguments.simulation.cycles, "End after that many cycles")
      ->check(CLI::Range(1LL, 1000000000000LL));
  app.add_option("--script", arguments.script,
                 "Actions at given cycles, one CYCLE ACTION … a line");
  app.add_option("--control", arguments.simulation.control,
                 "Make a FIFO and perform the actions written into it, one a line");
  app.add_option("--record", arguments.simulation.record,
                 "Write every consumed frame to a CSV file");
  app.add_option("--groups", arguments.groups, "Groups to record, GROUP,… (default all)");
  app.footer("Actions:\n" + ActionList());
}

void ParseAxes(const std::string& text, RobotOptions& options) {
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

void ParsePose(const std::string& text, RobotOptions& options) {
  const auto [group, values] = SplitGroupValue("--pose", text);
  const auto cells = Split(values, ',');
  if (cells.size() > AREA_AXES) FailUsage("--pose: more than ", int{AREA_AXES}, " axes");
  for (std::size_t j = 0; j < cells.size(); ++j) {
    const auto value = ParseDouble(cells[j]);
    if (!value) FailUsage("--pose: '", cells[j], "' is no number");
    options.pose[group->index][j] = *value;
  }
}

RobotOptions::Servo ParseServo(std::string_view text) {
  const auto parts = Split(text, ':');
  if (parts.size() != 2) FailUsage("--fail: '", text, "' is not GROUP:AXIS");
  return {&GroupByKey(parts[0]), ParseAxis(parts[1])};
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
  if (options.robot.gyro && arguments.root.host) FailUsage("--gyro: never on the real paths");
  ParseAxes(arguments.axes, options.robot);
  for (const std::string& pose : arguments.poses) ParsePose(pose, options.robot);
  for (const std::string& servo : arguments.failing) {
    options.robot.failing.push_back(ParseServo(servo));
  }
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
