// The objects that a program defines once.
#include "platform/debug_log.h"
#include "vek/vek.h"

DebugLogClt g_log_clt;
std::atomic<bool> g_exit{false};
SysInfo* g_sysinfo_ptr = nullptr;
CfgConfig* g_cfg_ptr = nullptr;
