// vekctl: what an operator or a developer may ask of Vek, from a shell.
#include "tools/tool_main.h"
#include "tools/vekctl/commands.h"
#include "vek/shared_areas.h"

namespace {

struct Arguments {
  RootOption root;
  InitOptions init;
  StateOptions state;
  TrajOptions traj;
  StopOptions stop;
  MoveOptions move;
  SpeedOptions speed;
  BrakeFreeOptions brake_free;
  WhyOptions why;
  PlotOptions plot;
  VibrationOptions vibration;
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

void AddSetCommands(CLI::App& app, Arguments& arguments) {
  CLI::App* move = app.add_subcommand("move", "Command joint positions and wait for them");
  move->add_option("GROUP", arguments.move.group, kGroupHelp)->required();
  move->add_option("POSITION", arguments.move.positions, "rad, or m on the lift, one a joint")
      ->required();
  move->add_flag("--no-wait", arguments.move.no_wait, "Return once the command is given");
  move->add_option("--timeout", arguments.move.timeout_s, "Seconds to wait (default 30)")
      ->check(CLI::Range(0.1, 3600.0));

  CLI::App* speed = app.add_subcommand("speed", "Set a group's speed and acceleration percent");
  speed->add_option("GROUP", arguments.speed.group, kGroupHelp)->required();
  speed->add_option("PERCENT", arguments.speed.percent, "Speed, 1 to 100")->required();
  speed->add_option("--acc", arguments.speed.acc, "Acceleration, 1 to 100");

  CLI::App* brake = app.add_subcommand("brake-free", "Simulate a brake that is held unlocked");
  brake->add_option("GROUP", arguments.brake_free.group, "arm0, arm1, head or body")->required();
  brake->add_option("STATE", arguments.brake_free.on_off, "on or off")->required();

  CLI::App* why = app.add_subcommand("why", "Name the first reason why a group does not move");
  why->add_option("GROUP", arguments.why.group, kGroupHelp)->required();
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
      ->allow_extra_args(false);
  verify->add_option("--move", arguments.verify.moves, "Command that was given, GROUP=q1,q2,…")
      ->allow_extra_args(false);
  verify->add_option("--log", arguments.verify.log, "Vek's log of the run");
}

void AddVibration(CLI::App& app, VibrationOptions& options) {
  CLI::App* vibration = app.add_subcommand(
      "vibration", "Tell what a flexible tip would still vibrate after a motion");
  vibration->add_option("FRAMES", options.frames, "Recording of drusim")->required();
  vibration->add_option("--frequency", options.frequency_hz, "Of the vibration, Hz")
      ->required()
      ->check(CLI::Range(0.01, 1000.0));
  vibration->add_option("--damping", options.damping, "Damping ratio (default 0)")
      ->check(CLI::Range(0.0, 0.99));
  vibration->add_option("--group", options.group, "Group to look at (default body)");
  vibration->add_option("--axis", options.axis, "Its axis, from 1 (default 1)")
      ->check(CLI::Range(1, int{AREA_AXES}));
  vibration->add_option("--from", options.from_s, "Seconds: where to begin");
  vibration->add_option("--to", options.to_s, "Seconds: where to end");
  CLI::Option* against =
      vibration->add_option("--against", options.against, "Recording to compare with");
  vibration->add_option("--below", options.below, "Fail unless the ratio lies below this")
      ->needs(against)
      ->check(CLI::PositiveNumber);
  vibration->add_option("--least", options.least, "Fail unless the other vibrates that much")
      ->needs(against)
      ->check(CLI::PositiveNumber);
  vibration->add_option("--plot", options.plot, "Picture to write, .png or .svg");
}

void AddCommands(CLI::App& app, Arguments& arguments) {
  AddRootOptions(app, arguments.root);
  app.require_subcommand(1);
  app.fallthrough();  // --root is understood behind the command as well

  CLI::App* init = app.add_subcommand("init", "Make a root folder with all areas");
  init->add_option("--ini", arguments.init.ini, "robot.ini to copy (default the sample)");
  init->add_flag("--force", arguments.init.force, "Make areas of a wrong size anew");
  AddLiveCommands(app, arguments);
  AddSetCommands(app, arguments);
  AddRecordingCommands(app, arguments);
  AddVibration(app, arguments.vibration);
}

int RunCommand(const CLI::App& app, Arguments& arguments) {
  const RootOption& root = arguments.root;
  arguments.init.root = arguments.state.root = arguments.traj.root = arguments.stop.root =
      arguments.move.root = arguments.speed.root = arguments.brake_free.root = arguments.why.root =
          arguments.verify.root = root;
  const std::string name = app.get_subcommands().front()->get_name();
  if (name == "init") return RunInit(arguments.init);
  if (name == "status") return RunStatus(root);
  if (name == "state") return RunState(arguments.state);
  if (name == "traj") return RunTraj(arguments.traj);
  if (name == "stop") return RunStop(arguments.stop);
  if (name == "move") return RunMove(arguments.move);
  if (name == "speed") return RunSpeed(arguments.speed);
  if (name == "brake-free") return RunBrakeFree(arguments.brake_free);
  if (name == "why") return RunWhy(arguments.why);
  if (name == "plot") return RunPlot(arguments.plot);
  if (name == "vibration") return RunVibration(arguments.vibration);
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
