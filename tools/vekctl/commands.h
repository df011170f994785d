// The commands of vekctl. Each takes its arguments as parsed and gives the exit status; a Failure
// carries one line and a status.
#pragma once

#include <string>
#include <vector>

#include "tools/root_option.h"

struct InitOptions {
  RootOption root;
  std::string ini;  // robot.ini to copy; empty: the sample
  bool force = false;
};
// Makes a root with all areas; what is there stays.
int RunInit(const InitOptions& options);

// Prints what the areas say, one line a group.
int RunStatus(const RootOption& root);

struct TimingOptions {
  RootOption root;
  bool reset = false;
  bool json = false;
};
// Prints what the real-time layer has recorded about Vek's cycles.
int RunTiming(const TimingOptions& options);

struct StateOptions {
  RootOption root;
  std::string group;
  std::string state;
  double timeout_s = 10;
};
// Asks for a state and waits for Vek's answer and the servo side's doing.
int RunState(const StateOptions& options);

struct TrajOptions {
  RootOption root;
  std::string group;
  std::string file;
  bool no_wait = false;
};
// Checks and loads waypoints, starts the run and follows it to its end.
int RunTraj(const TrajOptions& options);

struct StopOptions {
  RootOption root;
  std::string group;
};
// Asks a run to stop and waits until it has.
int RunStop(const StopOptions& options);

struct MoveOptions {
  RootOption root;
  std::string group;
  std::vector<std::string> positions;  // ju, one a joint
  bool no_wait = false;
  double timeout_s = 30;
};
// Commands joint positions and waits until the group stands there.
int RunMove(const MoveOptions& options);

struct SpeedOptions {
  RootOption root;
  std::string group;
  std::string percent;
  std::string acc;  // empty: stays
};
// Sets speed and acceleration percents and waits until Vek has taken them over.
int RunSpeed(const SpeedOptions& options);

struct BrakeFreeOptions {
  RootOption root;
  std::string group;
  std::string on_off;
};
// Simulates a brake that is held unlocked.
int RunBrakeFree(const BrakeFreeOptions& options);

struct WhyOptions {
  RootOption root;
  std::string group;
};
// Names the first reason why a group does not move; status 1 when there is one. Changes nothing.
int RunWhy(const WhyOptions& options);

struct MergeOptions {
  std::string target;  // to be brought into the layout of the reference
  std::string reference;
  std::string script;  // of operations
};
// Merges INI files, given by their literal paths; the log on standard error tells of it.
int RunMerge(const MergeOptions& options);

struct PlotOptions {
  std::string frames;
  std::string output;
  std::vector<std::string> groups;     // empty: all in the recording
  std::vector<std::string> waypoints;  // GROUP=FILE
};
// Draws position, velocity and acceleration of recorded frames.
int RunPlot(const PlotOptions& options);

struct VibrationOptions {
  std::string frames;
  std::string group = "body";
  int axis = 1;
  double frequency_hz = 0;
  double damping = 0;
  double from_s = 0;
  double to_s = 1e9;
  std::string against;  // a second recording; empty: none
  double below = 0;     // the ratio to the second has to lie below it; 0: anywhere
  double least = 0;     // ju: the second has to vibrate at least that much
  std::string plot;     // picture to write; empty: none
};
// Feeds a recorded axis to a simulated flexible tip and prints what still vibrates after the
// motion.
int RunVibration(const VibrationOptions& options);

struct VerifyOptions {
  RootOption root;
  std::string frames;
  std::vector<std::string> trajectories;  // GROUP=FILE
  std::vector<std::string> moves;         // GROUP=q1,q2,…
  std::string log;
};
// Checks that recorded frames are exactly those that Vek produces for these runs and commands.
int RunVerify(const VerifyOptions& options);
