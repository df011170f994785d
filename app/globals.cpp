#include "app/globals.h"

#include "vek/vek.h"

std::atomic<bool> g_exit{false};
SysInfo* g_sysinfo_ptr = nullptr;
CfgConfig* g_cfg_ptr = nullptr;
KShm g_sysinfo_kshm;
KShm g_cfg_kshm;
DebugLogSrv g_log_srv;
DebugLogClt g_log_clt;
RT_TASK g_rt_vek;

const std::uint32_t g_sdk_version = AREA_INTERFACE_VERSION;
const std::uint32_t g_sdk_version_number = 1;
