// A Vek object at work, without clock or servo task: all five groups stream, four of them play a
// sample motion over and over, the head follows joint commands, the body's shaper is on.
#pragma once

#include <memory>
#include <string>

#include "platform/debug_log.h"
#include "tools/area_view.h"
#include "tools/waypoints.h"
#include "vek/vek.h"

// A folder in memory, removed at the end.
class MemoryFolder {
 public:
  MemoryFolder();
  ~MemoryFolder();
  MemoryFolder(const MemoryFolder&) = delete;
  MemoryFolder& operator=(const MemoryFolder&) = delete;
  std::string Path(const char* name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// The waypoints that a group plays.
const Waypoints& SampleMotion(const GroupRow& group);

class Robot {
 public:
  // The process's one robot, since a Vek object keeps state in statics. A failure throws.
  static Robot& Get();

  // What the other processes do between two cycles: the servo task empties the rings, the front end
  // starts a run that has ended anew and, now and then, commands the head.
  void ServeOthers();
  void EmptyRing(const GroupRow& group) { readers_[group.index].OnEmpty(); }
  void RestartRun(const GroupRow& group);
  // All new-data bytes of the set channel; all state requests.
  void RequestEverything();
  void RequestStates(int state);

  // Writes what was logged so far and forgets it; the number of lines, or -1 when messages were
  // lost.
  long TakeLogLines();

  Vek vek;
  SysInfo* sys() const { return reinterpret_cast<SysInfo*>(sys_area_->get()); }
  CfgConfig* cfg() const { return reinterpret_cast<CfgConfig*>(cfg_area_->get()); }

 private:
  Robot();
  void SetUpAreas();

  MemoryFolder folder_;
  std::string log_;
  DebugLogSrv log_server_;
  std::unique_ptr<AreaView> sys_area_, cfg_area_, mac_area_, udp_area_, vek2dru_area_;
  std::unique_ptr<AreaView> trajbuf_area_;  // made by Vek
  std::array<KACBReader, kGroupCount> readers_;
  unsigned cycles_ = 0;
};
