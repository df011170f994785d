// The one object of the process: the areas, the rings, robot.ini, the planners and the state of the
// groups.
//
// Two threads use it without a lock: the real-time task calls the cycle's operations, the main
// thread all others. Every operation returns at once when what it needs was not set up.
#pragma once

#include <array>
#include <atomic>

#include "cuter/ccuter50.h"
#include "ini/ini_handler.h"
#include "ini/ini_parser.h"
#include "platform/gyro.h"
#include "platform/motion_maths.h"
#include "platform/shared_memory.h"
#include "vek/frame.h"
#include "vek/groups.h"
#include "vek/input_shaper.h"
#include "vek/shared_areas.h"

// Exit request, set by SIGINT; both loops poll it.
extern std::atomic<bool> g_exit;
static_assert(sizeof g_exit == 1 && std::atomic<bool>::is_always_lock_free);
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
  // False at the first failure, after its message, leaving what was done in place. Called once, by
  // the main thread, before the real-time task starts.
  bool OnInit(SysInfo* sys, CfgConfig* cfg);

  // The cycle: called in this order by the real-time task. Real-time safe.

  // Takes over new joint targets, speed and acceleration scales.
  void OnProcessUdpSet();
  // Judges the groups' state requests and mirrors their states.
  void OnProcessRtUdpState();
  // One cycle of a group's position controller: up to three frames into its ring.
  void OnProcessPosCtrlArm0();
  void OnProcessPosCtrlArm1();
  void OnProcessPosCtrlHead();
  void OnProcessPosCtrlBody();
  void OnProcessPosCtrlLift();

  // A pass of the main loop: called in this order by the main thread.

  // Watches the stop input: while it is set or cannot be read, all groups but the lift are asked
  // for TRANS_TO_POSITION.
  void OnProcessGpio();
  // Feeds the gyro's bytes to its decoder and watches for a frozen gyro.
  void OnProcessGyro();
  // Executes at most one operation of the mailbox.
  void OnProcessOp();
  // Publishes the local time.
  void OnProcessSystemTime();

  // Reads the level of a GPIO input; false, leaving `level` alone, when that is not possible. Main
  // thread only.
  bool GetGpio(int input, int& level);

  // Whether none of `count` servo command words is busy, that is positive; the first that is one is
  // logged. True when `count` is below 1.
  static bool IsServoCmdIdle(int count, int* words);
  // Waits, 10 ms at least and without a limit, until none of the words is busy. True when all ended
  // well; negative words are counted and logged. False, too, as soon as the process is told to end.
  // Main thread only.
  static bool WaitServoCmdProcess(int count, int* words);

  // Splits "section.key" at the last dot, which becomes a zero byte; false, changing nothing, when
  // there is none or the name is null. The caller's buffers have room for either half.
  static bool SplitParamFullName(char* full_name, char* section, char* key);

  // Runs a shell command; false, after a line on standard output, when it does not end with
  // status 0. Waits for its end; main thread only.
  bool RunShell(const char* command);
  // Runs a shell command and takes its first line, at most size - 2 characters with the line feed
  // if that fits. False when there is none, or no room for one: the buffer is left alone then.
  bool RunShellWithReturn(const char* command, char* buffer, unsigned size);

  // Advance a group's trajectory by at most one sample, into `target` (eight axes, ju). Parts of
  // the cycle; public for whoever plays trajectories without a ring.
  void ComputeArmTraj(int arm, double* target);
  void ComputeBodyTraj(double* target);
  void ComputeLiftTraj(double* target);

  // Clamps axis 7 of an arm's position (pos[6], ju) against axis 6 by the quadratic limit that
  // `cfg` holds for the quadrant they are in.
  void ComputeArmCoupling(int arm, CfgConfig* cfg, double* pos);

  // State names. The head and the lift know fewer states than the arms and the body.
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
  // What a controller and a trajectory keep from cycle to cycle.
  struct PosCtrlState;
  struct TrajState;
  struct ScaleCommand;
  // An operation of the mailbox while it is executed.
  class OperationRun;

  bool MapAreas();
  bool AttachRings();
  bool MapTrajBuf();
  bool LoadRobotIni();
  bool SaveRobotIni();
  bool InitPositionCtrl();
  void InitCutters();
  bool OpenGyro();
  bool OpenGpio();
  void WatchGyro();
  void ReadGyro();

  void TakeJointCommand(const GroupRow& group);
  void AbortRun(const GroupRow& group);
  void TakeScale(const GroupRow& group, const ScaleCommand& command);

  bool IsBrakeUnlock(const GroupRow& group) const;
  void ProcessStateRequest(const GroupRow& group);
  std::size_t Dof(const GroupRow& group) const;

  void ProcessPosCtrl(const GroupRow& group);
  void EnterPosition(const GroupRow& group, PosCtrlState& state);
  bool BuildStartFrame(const GroupRow& group, PosCtrlState& state);
  void StreamFrames(const GroupRow& group, PosCtrlState& state);

  void ComputeTraj(const GroupRow& group, double* target);
  int StepTraj(const GroupRow& group, int traj_state, TrajState& state, double* target);
  int StartTraj(const GroupRow& group, TrajState& state, double* target);
  int TakeTrajPoint(const GroupRow& group, TrajState& state, double* target);
  int EndTraj(const GroupRow& group, TrajState& state, double* target);

  KShm mac_shm_;
  KShm udp_shm_;
  KShm sysdbg_shm_;  // mapped for debug tools, neither read nor written
  KShm vek2dru_shm_;
  Shm trajbuf_shm_;
  SysInfo* sys_ = nullptr;
  CfgConfig* cfg_ = nullptr;
  // Starts of the areas; null until mapped.
  void* mac_ = nullptr;
  void* udp_ = nullptr;
  void* vek2dru_ = nullptr;
  void* trajbuf_ = nullptr;

  std::array<KACB, kGroupCount> rings_;
  CACB ei_acb_;  // the body's unshaped frames
  InputShaper shaper_;
  IniParser robot_ini_;
  bool has_robot_ini_ = false;  // the document was read: saving it loses nothing
  IniHandler ini_handler_;      // a facility: nothing calls it at run time
  SerialPort serial_port_;
  CYIS100DK gyro_;
  bool gyro_open_ = false;
  int gpio_fd_ = -1;

  bool position_ctrl_ready_ = false;
  std::array<ZQNSyncDTS, kGroupCount> pos_dt_{};
  std::array<ZQAVGF, kGroupCount> pos_filt_{};
  std::array<Axes, kGroupCount> pos_target_{};
  std::array<CCuter50, kGroupCount> cutters;  // the head's is never initialised
};
