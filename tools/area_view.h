// The shared areas as a tool sees them.
#pragma once

#include <array>

#include "platform/shared_memory.h"
#include "vek/shared_areas.h"

struct AreaInfo {
  const char* key;   // on command lines and in scripts
  const char* path;  // on the controller
  long size;
};

inline constexpr AreaInfo kSysInfoArea{"sysinfo", "/dev/ZQSysInfo", AREA_SYSINFO_SIZE};
inline constexpr AreaInfo kCfgConfigArea{"cfgconfig", "/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE};
inline constexpr AreaInfo kMacArea{"mac", "/dev/ZQMac", AREA_MAC_SIZE};
inline constexpr AreaInfo kUdpArea{"udp", "/dev/ZQUdp", AREA_UDP_SIZE};
inline constexpr AreaInfo kSysDbgArea{"sysdbg", "/dev/ZQSysDbg", AREA_SYSDBG_SIZE};
inline constexpr AreaInfo kVek2DruArea{"vek2dru", "/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE};
// A plain file, made by Vek.
inline constexpr AreaInfo kTrajBufArea{"trajbuf", "/home/QUARLE/Tags/TrajBuf.shm",
                                       AREA_TRAJBUF_SIZE};

// The configuration; its path on the controller.
inline constexpr const char* kRobotIni = "/home/QUARLE/Config/cfg/robot.ini";

// The areas behind device nodes.
inline constexpr std::array kDeviceAreas{kSysInfoArea, kCfgConfigArea, kMacArea,
                                         kUdpArea,     kSysDbgArea,    kVek2DruArea};

// A Failure (status 1) that says why a file of the controller cannot be mapped, as far as can be
// seen without opening it; device nodes have no size.
void CheckMappable(const char* path, long size, const char* if_missing);

// An existing area, mapped. Nothing is created.
class AreaView {
 public:
  // A Failure (status 1) that names the area, and both sizes when it is too short.
  explicit AreaView(const AreaInfo& area);

  // Start of the area. The bytes belong to all processes, so they may be written through a constant
  // view as well.
  unsigned char* get() const { return address_; }

 private:
  KShm device_;
  Shm file_;
  unsigned char* address_ = nullptr;
};
