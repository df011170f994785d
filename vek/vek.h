// The one object of the process: the areas, the rings, robot.ini, the planners and the state of the
// groups.
//
// Two threads use it without a lock: the real-time task calls the cycle's operations, the main
// thread all others. Every operation returns at once when what it needs was not set up.
#pragma once

#include <array>
#include <atomic>

#include "cuter/ccuter50.h"
#include "ini/ini_parser.h"
#include "platform/gyro.h"
#include "platform/motion_maths.h"
#include "platform/shared_memory.h"
#include "vek/groups.h"
#include "vek/shared_areas.h"

// Exit request, set by SIGINT; both loops poll it.
extern std::atomic<bool> g_exit;
// The two areas that the program maps itself; null until then.
extern SysInfo* g_sysinfo_ptr;
extern CfgConfig* g_cfg_ptr;

class Vek {
 public:
  Vek();
  virtual ~Vek();
  Vek(const Vek&) = delete;
  Vek& operator=(const Vek&) = delete;

  // Maps the secondary areas, loads robot.ini, sets up position control and opens the peripherals.
  // False at the first failure, after its message, leaving what was done in place. Once, main
  // thread, before the task runs.
  bool OnInit(SysInfo* sys, CfgConfig* cfg);

  // The cycle, in this order, by the real-time task. Real-time safe.

  // Takes over new joint targets, speed and acceleration scales.
  void OnProcessUdpSet();
  // Judges state requests and mirrors the groups' states.
  void OnProcessRtUdpState();
  // One cycle of a group's position controller: up to three frames into its ring.
  void OnProcessPosCtrlArm0();
  void OnProcessPosCtrlArm1();
  void OnProcessPosCtrlHead();
  void OnProcessPosCtrlBody();
  void OnProcessPosCtrlLift();

  // A pass of the main loop, in this order, by the main thread.

  // Watches the stop input.
  void OnProcessGpio();
  // Feeds the gyro's bytes to its decoder and watches for a frozen one.
  void OnProcessGyro();
  // Executes at most one operation of the mailbox.
  void OnProcessOp();
  // Publishes the local time.
  void OnProcessSystemTime();

  // State names; the head and the lift know fewer states.
  static const char* GetArmStateStr(int state);
  static const char* GetHeadStateStr(int state);
  static const char* GetBodyStateStr(int state);
  static const char* GetLiftStateStr(int state);

  // Whether some axis of the group has its brake held unlocked. The lift has no such query.
  bool IsBrakeUnlockArm0() const;
  bool IsBrakeUnlockArm1() const;
  bool IsBrakeUnlockHead() const;
  bool IsBrakeUnlockBody() const;

 private:
  bool MapAreas();
  bool AttachRings();
  bool OpenTrajBuf();
  bool LoadRobotIni();
  bool LoadRobotIniSection(const std::string& name);
  bool InitPositionCtrl();
  bool OpenGyro();
  bool OpenGpio();

  void ProcessStateRequest(const GroupRow& group);
  bool IsBrakeUnlock(const GroupRow& group) const;

  KShm mac_shm_, udp_shm_, sysdbg_shm_, vek2dru_shm_;
  Shm trajbuf_shm_;
  SysInfo* sys_ = nullptr;
  CfgConfig* cfg_ = nullptr;
  unsigned char* mac_ = nullptr;
  unsigned char* udp_ = nullptr;
  unsigned char* vek2dru_ = nullptr;
  unsigned char* trajbuf_ = nullptr;

  std::array<KACB, kGroupCount> rings_;
  CACB ei_acb_;  // unshaped frames of the body
  IniParser ini_;
  SerialPort serial_;
  CYIS100DK gyro_;
  int gpio_fd_ = -1;

  bool position_ctrl_ready_ = false;
  std::array<ZQNSyncDTS, kGroupCount> pos_dt_{};
  std::array<ZQAVGF, kGroupCount> pos_filt_{};
  std::array<std::array<double, AREA_AXES>, kGroupCount> pos_target_{};
  std::array<CCuter50, kGroupCount> cutters;  // the head's is never initialised
};
