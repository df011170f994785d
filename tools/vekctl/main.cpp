// vekctl: what an operator or a developer may ask of Vek, from a shell.
#include "tools/tool_main.h"
#include "tools/vekctl/commands.h"

namespace {

struct Arguments {
  RootOption root;
  InitOptions init;
  StateOptions state;
  TrajOptions traj;
  StopOptions stop;
  PlotOptions plot;
  VerifyOptions verify;
};

constexpr const char* kGroupHelp = "arm0, arm1, head, body or lift";

void AddLiveCommands(CLI::App& app, Arguments& arguments) {
  app.add_subcommand("status", "Show Vek, the servo task and the groups");

  CLI::App* state = app.add_subcommand("state", "Ask for a group's state and wait for it");
  state->add_option("GROUP", arguments.state.group, kGroupHelp)->required();
  state->add_option("NAME", arguments.state.state, "IDLE, POSITION, TORQUE or RELEASE")->required();
  state->add_option("--timeout", arguments.state.timeout_s, "Seconds to wait (default 10)")
      ->check(CLI::Range(0.1, 3600.0));

  CLI::App* traj = app.add_subcommand("traj", "Load waypoints, run them and follow the run");
  traj->add_option("GROUP", arguments.traj.group, kGroupHelp)->required();
  traj->add_option("FILE", arguments.traj.file, "Waypoints, one a line, 20 ms apart")->required();
  traj->add_flag("--no-wait", arguments.traj.no_wait, "Return once the run is started");

  CLI::App* stop = app.add_subcommand("stop", "Stop a group's run");
  stop->add_option("GROUP", arguments.stop.group, kGroupHelp)->required();
}

void AddRecordingCommands(CLI::App& app, Arguments& arguments) {
  CLI::App* plot = app.add_subcommand("plot", "Draw recorded frames");
  plot->add_option("FRAMES", arguments.plot.frames, "Recording of drusim")->required();
  plot->add_option("OUT", arguments.plot.output, "Picture to write, .png or .svg")->required();
  plot->add_option("--group", arguments.plot.groups, "Group to draw (default all)")
      ->allow_extra_args(false);
  plot->add_option("--waypoints", arguments.plot.waypoints, "Waypoints to mark, GROUP=FILE")
      ->allow_extra_args(false);

  CLI::App* verify = app.add_subcommand("verify", "Check recorded frames against their waypoints");
  verify->add_option("FRAMES", arguments.verify.frames, "Recording of drusim")->required();
  verify->add_option("--traj", arguments.verify.trajectories, "Waypoints that ran, GROUP=FILE")
      ->allow_extra_args(false)
      ->required();
  verify->add_option("--log", arguments.verify.log, "Vek's log of the run");
}

void AddCommands(CLI::App& app, Arguments& arguments) {
  AddRootOptions(app, arguments.root);
  app.require_subcommand(1);
  app.fallthrough();  // --root is understood behind the command as well

  CLI::App* init = app.add_subcommand("init", "Make a root folder with all areas");
  init->add_option("--ini", arguments.init.ini, "robot.ini to copy (default the sample)");
  init->add_flag("--force", arguments.init.force, "Make areas of a wrong size anew");
  AddLiveCommands(app, arguments);
  AddRecordingCommands(app, arguments);
}

int RunCommand(const CLI::App& app, Arguments& arguments) {
  const RootOption& root = arguments.root;
  arguments.init.root = arguments.state.root = arguments.traj.root = arguments.stop.root =
      arguments.verify.root = root;
  const std::string name = app.get_subcommands().front()->get_name();
  if (name == "init") return RunInit(arguments.init);
  if (name == "status") return RunStatus(root);
  if (name == "state") return RunState(arguments.state);
  if (name == "traj") return RunTraj(arguments.traj);
  if (name == "stop") return RunStop(arguments.stop);
  if (name == "plot") return RunPlot(arguments.plot);
  return RunVerify(arguments.verify);
}

int Vekctl(int argc, char** argv) {
  CLI::App app("Operates Vek through its shared areas.", "vekctl");
  Arguments arguments;
  AddCommands(app, arguments);
  return ParseArguments(app, argc, argv) ? RunCommand(app, arguments) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  return RunTool("vekctl", Vekctl, argc, argv);
}
