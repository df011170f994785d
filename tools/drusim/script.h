// Scripts: what happens at which cycle, one "CYCLE ACTION …" a line. Words are separated by blanks,
// # begins a comment.
//
//   state GROUP NAME              asks Vek for a state, as a front end does
//   traj GROUP FILE.csv           loads waypoints and starts the run; the file's folder is that of
//                                 the script unless it is absolute
//   stop GROUP                    asks the run to stop
//   brake GROUP on|off            holds a brake unlocked
//   pause GROUP on|off            takes no frames from the ring
//   set AREA OFFSET TYPE VALUE    writes any word: sysinfo, mac, udp; u8 i16 u16 i32 u32 f32 f64
//   stall MS                      lets the cycle take that long
//   quit                          ends the simulation
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "tools/area_view.h"
#include "tools/waypoints.h"
#include "vek/groups.h"

struct StateAction {
  const GroupRow* group;
  int state;
};
struct TrajAction {
  const GroupRow* group;
  Waypoints waypoints;
};
struct StopAction {
  const GroupRow* group;
};
struct BrakeAction {
  const GroupRow* group;
  bool on;
};
struct PauseAction {
  const GroupRow* group;
  bool on;
};
struct SetAction {
  const AreaInfo* area;
  std::size_t offset;
  std::vector<unsigned char> bytes;
};
struct StallAction {
  int milliseconds;
};
struct QuitAction {};

struct ScriptLine {
  long long cycle = 0;
  std::string where;  // "FILE:LINE"
  std::variant<QuitAction, StateAction, TrajAction, StopAction, BrakeAction, PauseAction, SetAction,
               StallAction>
      action;
};

// Reads a script, the files that it names included: its lines by ascending cycle, those of the same
// cycle in the file's order. A Failure (status 2) names file and line.
std::vector<ScriptLine> ReadScript(const std::string& file);
