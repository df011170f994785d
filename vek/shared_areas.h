/* The shared areas: one packed struct each, in the layout that all processes of the controller
 * agree on.
 *
 * Little-endian, no gaps but those shown. Compiles as C11 and C++20. Members are packed: copy them
 * in and out by value, never form a pointer or reference to one. Arrays of five are in group order:
 * Arm0, Arm1, Head, Body, Lift. Beside each field stand its unit, joint units (ju) being radians
 * and on the lift metres, and its writer:
 *
 * - vek: this process
 * - dru: the servo task
 * - front: the UDP front end, or whoever plays its part (vekctl) */
#ifndef VEK_SHARED_AREAS_H
#define VEK_SHARED_AREAS_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

enum {
  AREA_SYSINFO_SIZE = 204800,
  AREA_CFGCONFIG_SIZE = 15360,
  AREA_MAC_SIZE = 30720,
  AREA_UDP_SIZE = 4096,
  AREA_SYSDBG_SIZE = 6144,
  AREA_VEK2DRU_SIZE = 15360,
  AREA_TRAJBUF_SIZE = 0x100000,

  AREA_GROUPS = 5,
  AREA_AXES = 8,         /* axis slots of every group */
  AREA_TEXT_SIZE = 512,  /* bytes of a text of SysInfo */
  AREA_WAYPOINTS = 5000, /* room of one trajectory block */
  AREA_WAYPOINT_FLOATS = 7,
  AREA_RING_SIZE = 2048, /* bytes of one ring, head included */
  AREA_RING_CAPACITY = 2032,
  AREA_FRAME_SIZE = 196,
  AREA_INTERFACE_VERSION = 0x40500
};

/* Group state codes: group_state, state_cmd, state_transfer_cmd, group_state_request. */
enum {
  GROUP_STATE_IDLE = 0,
  GROUP_STATE_POSITION = 1,
  GROUP_STATE_TORQUE = 2,
  GROUP_STATE_RELEASE = 3,
  GROUP_STATE_ERROR = 100,
  GROUP_STATE_TRANS_TO_POSITION = 101,
  GROUP_STATE_TRANS_TO_TORQUE = 102,
  GROUP_STATE_TRANS_TO_RELEASE = 103,
  GROUP_STATE_TRANS_TO_IDLE = 109,
  GROUP_STATE_REQUEST_GYRO_FROZEN = 115 /* only as a request */
};

/* axis_state of an axis whose servo holds it. */
enum { AXIS_STATE_ENABLED = 5 };

/* servo_cmd: what vek asks of an axis's servo; dru answers with 0 (done) or a negative number. */
enum {
  SERVO_CMD_RESET = 3,
  SERVO_CMD_CLEAR_ENCODER_ERROR = 7,
  SERVO_CMD_RESET_MULTI_TURN = 8,
  SERVO_CMD_RESET_SINGLE_TURN = 9,
  SERVO_CMD_SET_SENSOR_OFFSET = 10, /* argument in sensor_offset_arg */
  SERVO_CMD_BRAKE_LOCK = 11,
  SERVO_CMD_BRAKE_UNLOCK = 12,
  SERVO_CMD_RESET_CSP = 13 /* first stage of the lift's reset */
};

/* Trajectory-run state byte. 1 and 2 belong to the process that loads the waypoints. */
enum {
  TRAJ_IDLE = 0,
  TRAJ_START = 3, /* request */
  TRAJ_PLAY_START = 4,
  TRAJ_NEXT_POINT = 5,
  TRAJ_PLAY_MID = 6,
  TRAJ_END = 7,
  TRAJ_PLAY_END = 8,
  TRAJ_STOP = 9 /* request */
};

#pragma pack(push, 1)

/* --- SysInfo: /dev/ZQSysInfo, the live system --- */

typedef struct GroupBlock {
  int32_t state_transfer_cmd;   /* vek: accepted target state */
  int32_t group_state;          /* dru: state now */
  int32_t group_state_request;  /* vek, dru: requested state */
  int32_t servo_cmd[8];         /* vek: >0 command; dru: 0 done, <0 failed */
  int32_t sensor_offset_arg[8]; /* vek */
  int32_t axis_state[8];        /* dru: 5 is enabled */
  uint32_t servo_error_code[8]; /* dru; cleared by vek after a reset */
  uint8_t reserved_140[8];
  int32_t standstill; /* dru: non-zero when the group is not moving */
  uint8_t reserved_152[8];
  uint32_t sensor_version[8]; /* dru */
  uint32_t sensor_serial[8];  /* dru */
  uint8_t reserved_224[4];
  uint32_t gyro_fresh; /* vek: 1 with a new gyro frame (Arm0, Arm1, Body) */
  uint8_t reserved_232[44];
  int32_t brake_unlock; /* dru: non-zero when a brake is held unlocked (not used for Lift) */
  uint8_t reserved_280[28];
  int32_t
      soft_limit_disable; /* vek: bit i: axis i not clamped; bit 6: no arm coupling limit either */
  uint8_t reserved_312[44];
  uint32_t servo_config_version[8]; /* dru */
  uint8_t reserved_388[3612];
} GroupBlock;

typedef struct JointPosBlock {
  double joint_pos[8]; /* dru: actual joint positions, ju */
  uint8_t reserved_64[7936];
} JointPosBlock;

typedef struct SysInfo {
  uint32_t version_word;       /* vek: AREA_INTERFACE_VERSION */
  uint64_t vek_cycle_start_ns; /* vek: task time */
  uint64_t vek_cycle_end_ns;   /* vek */
  uint64_t dru_cycle_start_ns; /* dru */
  uint64_t dru_cycle_end_ns;   /* dru */
  uint8_t reserved_36[368];
  uint32_t trajbuf_ready; /* vek: 1 once TrajBuf is mapped and cleared */
  uint8_t reserved_408[440];
  uint32_t group_physic_state[5]; /* dru */
  uint32_t gyro_used;             /* vek: 1 when open */
  uint32_t gpio_used;             /* vek: 1 when open */
  int32_t pd_cmd_cycle_time;      /* vek: 0..20, ms */
  uint8_t reserved_880[3120];
  GroupBlock group[5];
  uint8_t reserved_24000[16000];
  double gyro_values[6]; /* vek: acceleration x, y, z (m/s^2), angular rate x, y, z (deg/s) */
  uint8_t reserved_40048[7952];
  JointPosBlock joints[5];
  uint8_t reserved_88000[32512];
  /* dru: per group (no Lift) and servo, zero-terminated */
  char firmware_text[4][8][AREA_TEXT_SIZE];
  uint8_t reserved_136896[4096];
  char system_time_text[AREA_TEXT_SIZE]; /* vek: local time */
  uint8_t reserved_141504[63296];
} SysInfo;

/* --- CfgConfig: /dev/ZQCfgConfig, robot.ini in binary; all written by vek --- */

typedef struct CfgDh {
  double A, D, Alpha, Theta;
} CfgDh;

typedef struct CfgDynamic {
  double M, MRX, MRY, MRZ, InertiaXX, InertiaXY, InertiaXZ, InertiaYY, InertiaYZ, InertiaZZ;
} CfgDynamic;

typedef struct CfgMotor {
  double IRated, KtDefault, KtIdentify, TorqueMax, RotorInertia;
} CfgMotor;

typedef struct CfgReducer {
  double FrontRatio1, FrontRatio2;
} CfgReducer;

typedef struct CfgJoint { /* arms and body */
  int32_t EncRes, EncDir, ExtEncRes, ExtEncDir;
  double Ratio1, Ratio2;
  double LimitPos, LimitNeg; /* ju */
  double SensorK;
  int32_t SensorOffset, SensorDir, TorqueDir;
  double VelMax; /* ju/s */
  double AccMax; /* ju/s^2 */
  double TorqueMax, LoadOffsetK;
  CfgDh dh;
  CfgDynamic dynamic;
  CfgMotor motor;
  CfgReducer reducer;
} CfgJoint;

typedef struct CfgArm {
  int32_t Dof, Type;
  double GravityX, GravityY, GravityZ;
  int32_t LoadOffsetSwitch;
  double BDRange, BDToqR;
  int32_t DynFloatTag;
  double GyroSetA, GyroSetB, GyroSetC, EncErrorValve;
  int32_t TerminalType, TerminalPolar, CtrlType, JointImpPIDType, CartImpPIDType;
  CfgJoint joint[8];
  CfgDh flange;
  double JointLimitStiff[7], JointLimitDamp[7], JointDefaultStiff[7], JointDefaultDamp[7];
  double DragEnableStiff[7], DragEnableDamp[7], DragAbortDamp[7];
  double CartLimitStiff[7], CartLimitDamp[7], CartDefaultStiff[7],
      CartDefaultDamp[7]; /* X Y Z A B C N */
  double CartJNTDampJ[7];
  int32_t FricFltWidth;
  double FricDamp[7], FricSaturation[7], StopDamp[7];
  double BD67PP[3], BD67PN[3], BD67NN[3], BD67NP[3];
  int32_t SensorErrorValve[7];
  uint8_t reserved_3252[72];
} CfgArm;

typedef struct CfgBody {
  int32_t Dof, Type;
  double GravityX, GravityY, GravityZ;
  int32_t LoadOffsetSwitch;
  double BDRange, BDToqR;
  int32_t DynFloatTag;
  double GyroSetA, GyroSetB, GyroSetC, EncErrorValve;
  CfgJoint joint[8];
  CfgDh flange;
  double JointLimitStiff[7], JointLimitDamp[7], JointDefaultStiff[7], JointDefaultDamp[7],
      StopDamp[7];
  double ISFrequency; /* Hz, 0 is off */
  double ISThreshold, ISDamp;
  int32_t SensorErrorValve[7];
  double SafeZoneXMax, SafeZoneXMin, SafeZoneYMax, SafeZoneYMin;
  uint8_t reserved_2628[72];
} CfgBody;

typedef struct CfgHeadJoint {
  int32_t EncRes, EncDir, ExtEncRes, ExtEncDir;
  double Ratio1, Ratio2, LimitPos, LimitNeg;
  int32_t TorqueDir;
  double VelMax, AccMax;
  CfgDh dh;
  CfgDynamic dynamic;
} CfgHeadJoint;

typedef struct CfgHead {
  int32_t Dof;
  CfgHeadJoint joint[8];
  uint8_t reserved_1444[72];
} CfgHead;

typedef struct CfgLiftJoint {
  int32_t EncRes, EncDir, EncOffset;
  double Ratio1, Ratio2, LimitPos, LimitNeg;
  int32_t TorqueDir;
  double VelMax, AccMax;
} CfgLiftJoint;

typedef struct CfgLift {
  int32_t Dof;
  CfgLiftJoint joint[8];
} CfgLift;

typedef struct CfgRail {
  int32_t Dof;
  double BaseX0, BaseY0, BaseZ0, BaseX1, BaseY1, BaseZ1;
  double RemoteX0, RemoteY0, RemoteZ0, RemoteX1, RemoteY1, RemoteZ1;
  double Stroke0, Stroke1, Length0, Length1;
} CfgRail;

typedef struct CfgConfig {
  int32_t load_complete; /* 1 only after a complete load */
  char Name[32];
  char SubName[32];
  int32_t BusFreq; /* Hz */
  int32_t UseEMG, GyroType, GyroId, LanguageType;
  CfgArm arm[2];
  CfgBody body;
  CfgHead head;
  CfgLift lift;
  CfgRail rail[2];
  uint8_t reserved_11732[3628];
} CfgConfig;

/* --- Mac: /dev/ZQMac, the servo side's data --- */

typedef struct MacLiftAxis {
  int32_t encoder_offset; /* dru */
  uint8_t reserved_4[328];
} MacLiftAxis;

typedef struct MacArea {
  uint8_t reserved_0[8];
  int32_t axes[5]; /* dru: servo axes of each group */
  uint8_t reserved_28[13816];
  MacLiftAxis lift[8];
  uint8_t reserved_16500[14220];
} MacArea;

/* --- Udp: /dev/ZQUdp, the command area of remote clients --- */

typedef struct UdpArmCommand {
  uint16_t state_echo;         /* vek: mirror of group_state */
  uint16_t state_cmd;          /* front: wanted state; vek: present state, on rejection */
  uint32_t state_request_echo; /* vek: mirror of group_state_request */
  uint8_t reserved_8[28];
  float joint_cmd[7]; /* front: ju */
  uint8_t reserved_64[244];
} UdpArmCommand;

typedef struct UdpArmSet { /* enable bytes: front; new-data bytes: front sets, vek clears; percents:
                              front, % */
  float vel_percent;
  float acc_percent;
  uint8_t reserved_8[176];
  uint8_t joint_cmd_enable;
  uint8_t reserved_185[3];
  uint8_t vel_enable;
  uint8_t acc_enable;
  uint8_t reserved_190[10];
  uint8_t joint_cmd_new;
  uint8_t reserved_201[3];
  uint8_t vel_new;
  uint8_t acc_new;
  uint8_t reserved_206[75];
  uint8_t traj_state; /* front: 3 and 9; vek: 0 and 4..8 */
  uint8_t reserved_282[6];
} UdpArmSet;

typedef struct UdpMailbox {
  int16_t op_code; /* front: code, written last; vek: 0 when done */
  char op_text[30];
  int32_t op_value;
  float op_float;
  uint16_t op_seq;   /* front */
  uint16_t op_reply; /* vek: op_seq + status */
} UdpMailbox;

typedef struct UdpArea {
  uint8_t reserved_0[30];
  struct {
    uint16_t state_echo, state_cmd;
    uint32_t state_request_echo;
    float joint_cmd[3];
  } head;
  uint8_t reserved_50[20];
  UdpArmCommand arm[2];
  uint8_t reserved_686[352];
  struct {
    uint16_t state_echo, state_cmd;
    uint32_t state_request_echo;
    uint8_t reserved_8[4];
    float joint_cmd[6];
    uint8_t reserved_36[84];
  } body;
  struct {
    uint16_t state_echo, state_cmd;
    uint32_t state_request_echo;
    float joint_cmd[2];
  } lift;
  uint8_t reserved_1174[880];
  struct {
    float vel_percent, acc_percent;
    uint8_t joint_cmd_enable, vel_enable, acc_enable;
    uint8_t reserved_11[1];
    uint8_t joint_cmd_new, vel_new, acc_new;
    uint8_t reserved_15[33];
  } head_set;
  UdpArmSet arm_set[2];
  uint8_t reserved_2678[268];
  struct {
    float vel_percent, acc_percent;
    uint8_t reserved_8[48];
    uint8_t joint_cmd_enable;
    uint8_t reserved_57[1];
    uint8_t vel_enable, acc_enable;
    uint8_t reserved_60[2];
    uint8_t joint_cmd_new;
    uint8_t reserved_63[1];
    uint8_t vel_new, acc_new;
    uint8_t reserved_66[56];
    uint8_t traj_state;
    uint8_t reserved_123[1];
  } body_set;
  struct {
    float vel_percent, acc_percent;
    uint8_t joint_cmd_enable, vel_enable, acc_enable;
    uint8_t reserved_11[1];
    uint8_t joint_cmd_new, vel_new, acc_new;
    uint8_t reserved_15[9];
    uint8_t traj_state;
    uint8_t reserved_25[3];
  } lift_set;
  UdpMailbox mailbox;
  uint8_t reserved_3142[954];
} UdpArea;

/* --- SysDbg: /dev/ZQSysDbg, mapped and neither read nor written --- */

typedef struct SysDbg {
  struct {
    uint8_t head[2];
    uint8_t data[1198];
  } channel[4];
  uint8_t reserved_4800[1344];
} SysDbg;

/* --- Vek2Dru: /dev/ZQVek2Dru, one ring of position frames a group --- */

typedef struct PvtFrame {
  uint32_t stream_flag; /* 0 in the first frame after entry into POSITION, 1 in every later one */
  double pos[8];        /* ju */
  double vel[8];        /* ju/s */
  double dt_out[8];     /* the generator's third output, ju/s^2 */
} PvtFrame;

typedef struct FrameRing {
  uint32_t write_pos; /* vek: 0..2*2032-1 */
  uint32_t read_pos;  /* dru: 0..2*2032-1 */
  uint8_t reserved_8[8];
  uint8_t data[2032];
  uint8_t reserved_2048[952];
} FrameRing;

typedef struct Vek2Dru {
  FrameRing ring[5];
  uint8_t reserved_15000[360];
} Vek2Dru;

/* --- TrajBuf: /home/QUARLE/Tags/TrajBuf.shm, waypoints --- */

typedef struct TrajBlock {
  int32_t point_count; /* front */
  uint8_t reserved_4[8];
  int32_t next_point; /* vek: next waypoint to take */
  uint8_t reserved_16[100];
  float points[5000][7]; /* front: ju */
} TrajBlock;

typedef struct TrajBuf {
  TrajBlock group[5];
  uint8_t reserved_700580[347996];
} TrajBuf;

#pragma pack(pop)

#define AREA_AT(type, member, at) static_assert(offsetof(type, member) == (at), #type "." #member)

static_assert(sizeof(SysInfo) == AREA_SYSINFO_SIZE, "SysInfo");
static_assert(sizeof(CfgConfig) == AREA_CFGCONFIG_SIZE, "CfgConfig");
static_assert(sizeof(MacArea) == AREA_MAC_SIZE, "Mac");
static_assert(sizeof(UdpArea) == AREA_UDP_SIZE, "Udp");
static_assert(sizeof(SysDbg) == AREA_SYSDBG_SIZE, "SysDbg");
static_assert(sizeof(Vek2Dru) == AREA_VEK2DRU_SIZE, "Vek2Dru");
static_assert(sizeof(TrajBuf) == AREA_TRAJBUF_SIZE, "TrajBuf");
static_assert(sizeof(PvtFrame) == AREA_FRAME_SIZE, "frame");

AREA_AT(SysInfo, vek_cycle_start_ns, 4);
AREA_AT(SysInfo, dru_cycle_end_ns, 28);
AREA_AT(SysInfo, trajbuf_ready, 404);
AREA_AT(SysInfo, group_physic_state, 848);
AREA_AT(SysInfo, gyro_used, 868);
AREA_AT(SysInfo, gpio_used, 872);
AREA_AT(SysInfo, pd_cmd_cycle_time, 876);
AREA_AT(SysInfo, group, 4000);
AREA_AT(SysInfo, gyro_values, 40000);
AREA_AT(SysInfo, joints, 48000);
AREA_AT(SysInfo, firmware_text, 120512);
AREA_AT(SysInfo, system_time_text, 140992);
static_assert(sizeof(GroupBlock) == 4000, "GroupBlock");
static_assert(sizeof(JointPosBlock) == 8000, "JointPosBlock");
AREA_AT(GroupBlock, group_state, 4);
AREA_AT(GroupBlock, group_state_request, 8);
AREA_AT(GroupBlock, servo_cmd, 12);
AREA_AT(GroupBlock, sensor_offset_arg, 44);
AREA_AT(GroupBlock, axis_state, 76);
AREA_AT(GroupBlock, servo_error_code, 108);
AREA_AT(GroupBlock, standstill, 148);
AREA_AT(GroupBlock, sensor_version, 160);
AREA_AT(GroupBlock, sensor_serial, 192);
AREA_AT(GroupBlock, gyro_fresh, 228);
AREA_AT(GroupBlock, brake_unlock, 276);
AREA_AT(GroupBlock, soft_limit_disable, 308);
AREA_AT(GroupBlock, servo_config_version, 356);

AREA_AT(CfgConfig, Name, 4);
AREA_AT(CfgConfig, SubName, 36);
AREA_AT(CfgConfig, BusFreq, 68);
AREA_AT(CfgConfig, LanguageType, 84);
AREA_AT(CfgConfig, arm, 88);
AREA_AT(CfgConfig, body, 6736);
AREA_AT(CfgConfig, head, 9436);
AREA_AT(CfgConfig, lift, 10952);
AREA_AT(CfgConfig, rail, 11468);
AREA_AT(CfgConfig, reserved_11732, 11732);
static_assert(sizeof(CfgJoint) == 268, "CfgJoint");
AREA_AT(CfgJoint, SensorOffset, 56);
AREA_AT(CfgJoint, VelMax, 68);
AREA_AT(CfgJoint, dh, 100);
AREA_AT(CfgJoint, dynamic, 132);
AREA_AT(CfgJoint, motor, 212);
AREA_AT(CfgJoint, reducer, 252);
static_assert(sizeof(CfgArm) == 3324, "CfgArm");
AREA_AT(CfgArm, EncErrorValve, 80);
AREA_AT(CfgArm, joint, 108);
AREA_AT(CfgArm, flange, 2252);
AREA_AT(CfgArm, JointLimitStiff, 2284);
AREA_AT(CfgArm, JointLimitDamp, 2340);
AREA_AT(CfgArm, JointDefaultStiff, 2396);
AREA_AT(CfgArm, JointDefaultDamp, 2452);
AREA_AT(CfgArm, DragEnableStiff, 2508);
AREA_AT(CfgArm, DragEnableDamp, 2564);
AREA_AT(CfgArm, DragAbortDamp, 2620);
AREA_AT(CfgArm, CartLimitStiff, 2676);
AREA_AT(CfgArm, CartLimitDamp, 2732);
AREA_AT(CfgArm, CartDefaultStiff, 2788);
AREA_AT(CfgArm, CartDefaultDamp, 2844);
AREA_AT(CfgArm, CartJNTDampJ, 2900);
AREA_AT(CfgArm, FricFltWidth, 2956);
AREA_AT(CfgArm, FricDamp, 2960);
AREA_AT(CfgArm, FricSaturation, 3016);
AREA_AT(CfgArm, StopDamp, 3072);
AREA_AT(CfgArm, BD67PP, 3128);
AREA_AT(CfgArm, BD67PN, 3152);
AREA_AT(CfgArm, BD67NN, 3176);
AREA_AT(CfgArm, BD67NP, 3200);
AREA_AT(CfgArm, SensorErrorValve, 3224);
AREA_AT(CfgArm, reserved_3252, 3252);
static_assert(sizeof(CfgBody) == 2700, "CfgBody");
AREA_AT(CfgBody, EncErrorValve, 80);
AREA_AT(CfgBody, joint, 88);
AREA_AT(CfgBody, flange, 2232);
AREA_AT(CfgBody, JointLimitStiff, 2264);
AREA_AT(CfgBody, StopDamp, 2488);
AREA_AT(CfgBody, ISFrequency, 2544);
AREA_AT(CfgBody, SensorErrorValve, 2568);
AREA_AT(CfgBody, SafeZoneXMax, 2596);
AREA_AT(CfgBody, reserved_2628, 2628);
static_assert(sizeof(CfgHeadJoint) == 180, "CfgHeadJoint");
AREA_AT(CfgHeadJoint, VelMax, 52);
AREA_AT(CfgHeadJoint, dh, 68);
AREA_AT(CfgHeadJoint, dynamic, 100);
static_assert(sizeof(CfgHead) == 1516, "CfgHead");
static_assert(sizeof(CfgLiftJoint) == 64, "CfgLiftJoint");
AREA_AT(CfgLiftJoint, VelMax, 48);
static_assert(sizeof(CfgLift) == 516, "CfgLift");
static_assert(sizeof(CfgRail) == 132, "CfgRail");

AREA_AT(MacArea, axes, 8);
AREA_AT(MacArea, lift, 13844);
static_assert(sizeof(MacLiftAxis) == 332, "MacLiftAxis");

AREA_AT(UdpArea, head, 30);
AREA_AT(UdpArea, head.joint_cmd, 38);
AREA_AT(UdpArea, arm, 70);
AREA_AT(UdpArmCommand, joint_cmd, 36);
static_assert(sizeof(UdpArmCommand) == 308, "UdpArmCommand");
AREA_AT(UdpArea, body, 1038);
AREA_AT(UdpArea, body.joint_cmd, 1050);
AREA_AT(UdpArea, lift, 1158);
AREA_AT(UdpArea, lift.joint_cmd, 1166);
AREA_AT(UdpArea, head_set, 2054);
AREA_AT(UdpArea, head_set.joint_cmd_enable, 2062);
AREA_AT(UdpArea, head_set.joint_cmd_new, 2066);
AREA_AT(UdpArea, arm_set, 2102);
AREA_AT(UdpArmSet, joint_cmd_enable, 184);
AREA_AT(UdpArmSet, vel_enable, 188);
AREA_AT(UdpArmSet, acc_enable, 189);
AREA_AT(UdpArmSet, joint_cmd_new, 200);
AREA_AT(UdpArmSet, vel_new, 204);
AREA_AT(UdpArmSet, acc_new, 205);
AREA_AT(UdpArmSet, traj_state, 281);
static_assert(sizeof(UdpArmSet) == 288, "UdpArmSet");
AREA_AT(UdpArea, body_set, 2946);
AREA_AT(UdpArea, body_set.joint_cmd_enable, 3002);
AREA_AT(UdpArea, body_set.vel_enable, 3004);
AREA_AT(UdpArea, body_set.joint_cmd_new, 3008);
AREA_AT(UdpArea, body_set.vel_new, 3010);
AREA_AT(UdpArea, body_set.traj_state, 3068);
AREA_AT(UdpArea, lift_set, 3070);
AREA_AT(UdpArea, lift_set.joint_cmd_enable, 3078);
AREA_AT(UdpArea, lift_set.joint_cmd_new, 3082);
AREA_AT(UdpArea, lift_set.traj_state, 3094);
AREA_AT(UdpArea, mailbox, 3098);
AREA_AT(UdpMailbox, op_text, 2);
AREA_AT(UdpMailbox, op_value, 32);
AREA_AT(UdpMailbox, op_float, 36);
AREA_AT(UdpMailbox, op_seq, 40);
AREA_AT(UdpMailbox, op_reply, 42);

AREA_AT(PvtFrame, pos, 4);
AREA_AT(PvtFrame, vel, 68);
AREA_AT(PvtFrame, dt_out, 132);
static_assert(sizeof(FrameRing) == 3000, "FrameRing");
AREA_AT(FrameRing, data, 16);
static_assert(sizeof(TrajBlock) == 140116, "TrajBlock");
AREA_AT(TrajBlock, next_point, 12);
AREA_AT(TrajBlock, points, 116);

#endif
