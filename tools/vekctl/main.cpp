// vekctl: what an operator or a developer may ask of Vek, from a shell.
#include "tools/command_line.h"
#include "tools/failure.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/operation_commands.h"
#include "vek/shared_areas.h"

namespace {

using Commands = std::vector<Command>;

struct Options {
  RootOption root;
  InitOptions init;
  TimingOptions timing;
  StateOptions state;
  TrajOptions traj;
  StopOptions stop;
  MoveOptions move;
  SpeedOptions speed;
  BrakeFreeOptions brake_free;
  WhyOptions why;
  MergeOptions merge;
  PlotOptions plot;
  VibrationOptions vibration;
  VerifyOptions verify;
  OperationOptions mailbox;
  OpOptions op;
  OpsOptions ops;
  ParamOptions param;
  SystemOptions system;
  GpioOptions gpio;
};

constexpr NumberRange kSeconds{0.1, 3600};
constexpr NumberRange kAboveZero{1e-12, 1e12};
constexpr const char* kGroupHelp = "arm0, arm1, head, body or lift";
constexpr const char* kPlayerHelp = "arm0, arm1, body or lift";

// Runs a command on its options, in the root that was given.
template <class CommandOptions>
std::function<int()> With(Options& all, CommandOptions& options,
                          int (*run)(const CommandOptions&)) {
  return [&, run] {
    if constexpr (requires { options.root; }) options.root = all.root;
    return run(options);
  };
}

Commands GeneralCommands(Options& all) {
  return {
      {"init",
       "Make a root folder with all areas",
       {{"--ini", &all.init.ini, "robot.ini to copy (default the sample)"},
        {"--force", &all.init.force, "Make areas of a wrong size anew"}},
       With(all, all.init, RunInit)},
      {"status",
       "Show Vek, the servo task and the groups",
       {},
       [&] { return RunStatus(all.root); }},
      {"timing",
       "Show how punctual Vek's cycles are and how long they take",
       {{"--reset", &all.timing.reset, "Then begin the figures anew"},
        {"--json", &all.timing.json, "Print one JSON object"}},
       With(all, all.timing, RunTiming)},
      {"merge",
       "Bring an INI file into the layout of a reference",
       {{"TARGET", &all.merge.target, "INI file, which keeps its values"},
        {"REFERENCE", &all.merge.reference, "INI file with the sections and keys"},
        {"SCRIPT", &all.merge.script, "Operations, one a line"}},
       With(all, all.merge, RunMerge)},
  };
}

Commands MotionCommands(Options& all) {
  return {
      {"state",
       "Ask for a group's state and wait for it",
       {{"GROUP", &all.state.group, kGroupHelp},
        {"NAME", &all.state.state, "IDLE, POSITION, TORQUE or RELEASE"},
        {"--timeout", &all.state.timeout_s, "Seconds to wait (default 10)", kSeconds}},
       With(all, all.state, RunState)},
      {"traj",
       "Load waypoints, run them and follow the run",
       {{"GROUP", &all.traj.group, kPlayerHelp},
        {"FILE", &all.traj.file, "Waypoints, one a line, 20 ms apart"},
        {"--no-wait", &all.traj.no_wait, "Return once the run is started"}},
       With(all, all.traj, RunTraj)},
      {"stop",
       "Stop a group's run",
       {{"GROUP", &all.stop.group, kPlayerHelp}},
       With(all, all.stop, RunStop)},
      {"move",
       "Command joint positions and wait for them",
       {{"GROUP", &all.move.group, kGroupHelp},
        {"POSITION", &all.move.positions, "rad, or m on the lift, one a joint"},
        {"--no-wait", &all.move.no_wait, "Return once the command is given"},
        {"--timeout", &all.move.timeout_s, "Seconds to wait (default 30)", kSeconds}},
       With(all, all.move, RunMove)},
      {"speed",
       "Set a group's speed and acceleration percent",
       {{"GROUP", &all.speed.group, kGroupHelp},
        {"PERCENT", &all.speed.percent, "Speed, 1 to 100"},
        {"--acc", &all.speed.acc, "Acceleration, 1 to 100"}},
       With(all, all.speed, RunSpeed)},
      {"brake-free",
       "Simulate a brake that is held unlocked",
       {{"GROUP", &all.brake_free.group, "arm0, arm1, head or body"},
        {"STATE", &all.brake_free.on_off, "on or off"}},
       With(all, all.brake_free, RunBrakeFree)},
      {"why",
       "Name the first reason why a group does not move",
       {{"GROUP", &all.why.group, kGroupHelp}},
       With(all, all.why, RunWhy)},
  };
}

Command Vibration(Options& all) {
  VibrationOptions& options = all.vibration;
  return {"vibration",
          "Tell what a flexible tip would still vibrate after a motion",
          {{"FRAMES", &options.frames, "Recording of drusim"},
           {.name = "--frequency",
            .target = &options.frequency_hz,
            .help = "Of the vibration, Hz",
            .range = NumberRange{0.01, 1000},
            .required = true},
           {"--damping", &options.damping, "Damping ratio (default 0)", NumberRange{0, 0.99}},
           {"--group", &options.group, "Group to look at (default body)"},
           {"--axis", &options.axis, "Its axis, from 1 (default 1)", NumberRange{1, AREA_AXES}},
           {"--from", &options.from_s, "Seconds: where to begin"},
           {"--to", &options.to_s, "Seconds: where to end"},
           {"--against", &options.against, "Recording to compare with"},
           {.name = "--below",
            .target = &options.below,
            .help = "Fail unless the ratio lies below this",
            .range = kAboveZero,
            .needs = "--against"},
           {.name = "--least",
            .target = &options.least,
            .help = "Fail unless the other vibrates that much",
            .range = kAboveZero,
            .needs = "--against"},
           {"--plot", &options.plot, "Picture to write, .png or .svg"}},
          With(all, options, RunVibration)};
}

Commands RecordingCommands(Options& all) {
  return {
      {"plot",
       "Draw recorded frames",
       {{"FRAMES", &all.plot.frames, "Recording of drusim"},
        {"OUT", &all.plot.output, "Picture to write, .png or .svg"},
        {"--group", &all.plot.groups, "Group to draw (default all)"},
        {"--waypoints", &all.plot.waypoints, "Waypoints to mark, GROUP=FILE"}},
       With(all, all.plot, RunPlot)},
      {"verify",
       "Check recorded frames against their waypoints",
       {{"FRAMES", &all.verify.frames, "Recording of drusim"},
        {"--traj", &all.verify.trajectories, "Waypoints that ran, GROUP=FILE"},
        {"--move", &all.verify.moves, "Command that was given, GROUP=q1,q2,…"},
        {"--log", &all.verify.log, "Vek's log of the run"}},
       With(all, all.verify, RunVerify)},
      Vibration(all),
  };
}

// An argument list with what all commands take that use the mailbox.
std::vector<Argument> Asking(OperationOptions& options, std::vector<Argument> arguments = {}) {
  arguments.push_back(
      {"--timeout", &options.timeout_s, "Seconds to wait for the reply (default 10)", kSeconds});
  arguments.push_back({"--json", &options.json, "Print one JSON object"});
  return arguments;
}

Commands OperationCommands(Options& all) {
  OperationArguments& given = all.op.arguments;
  return {
      {"op", "Have Vek carry out any operation",
       Asking(all.op, {{"NAME", &all.op.name, "Name or code (vekctl ops lists them)"},
                       {"--axes", &given.axes, "Axes, from 0: 0,3"},
                       {"--value", &given.value, "Number or mask, decimal or 0x…"},
                       {"--index", &given.index, "Servo or sensor, from 0"},
                       {"--sensor", &given.sensor, "Sensor that the operation acts on, 0 to 7"},
                       {"--float", &given.real, "Number"},
                       {"--text", &given.text, "Parameter, time or address"}}),
       With(all, all.op, RunOp)},
      {"ops",
       "List all operations",
       {{"--json", &all.ops.json, "Print a JSON list"},
        {"--markdown", &all.ops.markdown, "Print the page of all operations"}},
       With(all, all.ops, RunOps)},
      {"reboot", "Reboot the controller", Asking(all.system), With(all, all.system, RunReboot)},
      {"version", "Print the interface version, or check one",
       Asking(all.system, {{"CHECK", &all.system.check, "Version that a client needs, 0x…"}}),
       With(all, all.system, RunVersion)},
  };
}

Command Param(Options& all) {
  ParamOptions& options = all.param;
  const Argument name{"NAME", &options.name, "SECTION.KEY of robot.ini"};
  const Argument type{"--type", &options.type, "int, float or string (default the schema's)"};
  return {"param",
          "Single parameters of the live configuration",
          {},
          {},
          {{"get", "Print a value", Asking(options, {name, type}), With(all, options, RunParamGet)},
           {"set", "Set a value, until the next start",
            Asking(options, {name,
                             {"VALUE", &options.value, "Number"},
                             type,
                             {"--force", &options.force, "Even where that is dangerous"}}),
            With(all, options, RunParamSet)},
           {"save", "Write robot.ini", Asking(all.mailbox), With(all, all.mailbox, RunParamSave)},
           {"diff",
            "List what is not saved in robot.ini, of keys that the schema has",
            {{"--json", &all.mailbox.json, "Print a JSON list"}},
            With(all, all.mailbox, RunParamDiff)}}};
}

Commands GetAndSetCommands(Options& all) {
  SystemOptions& system = all.system;
  return {
      Param(all),
      {"time",
       "The controller's clock",
       {},
       {},
       {{"get", "Print it", Asking(system), With(all, system, RunTimeGet)},
        {"set", "Set it", Asking(system, {{"TIME", &system.words, "2026-11-21 12:00:00, local"}}),
         With(all, system, RunTimeSet)}}},
      {"ip",
       "The controller's network address",
       {},
       {},
       {{"get", "Print those in use", Asking(system), With(all, system, RunIpGet)},
        {"set", "Set it for the next start of networking",
         Asking(system, {{"ADDRESS", &system.words, "192.168.0.2"}}),
         With(all, system, RunIpSet)}}},
      {"gpio",
       "The input levels of a root",
       {},
       {},
       {{"get",
         "Print one",
         {{"INPUT", &all.gpio.input, "From 0"}},
         With(all, all.gpio, RunGpioGet)},
        {"set",
         "Set one",
         {{"INPUT", &all.gpio.input, "From 0"}, {"LEVEL", &all.gpio.level, "32-bit word"}},
         With(all, all.gpio, RunGpioSet)}}},
  };
}

int Vekctl(int argc, char** argv) {
  Options options;
  Commands commands;
  for (Commands (*const part)(Options&) :
       {GeneralCommands, MotionCommands, RecordingCommands, OperationCommands, GetAndSetCommands}) {
    for (Command& command : part(options)) commands.push_back(std::move(command));
  }
  return RunCommandLine("vekctl", "Operates Vek through its shared areas.", options.root, commands,
                        argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
  return RunTool("vekctl", Vekctl, argc, argv);
}
