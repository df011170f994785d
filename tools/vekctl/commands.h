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

struct PlotOptions {
  std::string frames;
  std::string output;
  std::vector<std::string> groups;     // empty: all in the recording
  std::vector<std::string> waypoints;  // GROUP=FILE
};
// Draws position, velocity and acceleration of recorded frames.
int RunPlot(const PlotOptions& options);

struct VerifyOptions {
  RootOption root;
  std::string frames;
  std::vector<std::string> trajectories;  // GROUP=FILE
  std::string log;
};
// Checks that recorded frames are exactly those that Vek produces for these trajectories.
int RunVerify(const VerifyOptions& options);
