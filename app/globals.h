// The process-wide objects that only main uses; the others are declared where they are used.
#pragma once

#include <cstdint>

#include "platform/debug_log.h"
#include "platform/rt_task.h"
#include "platform/shared_memory.h"

extern KShm g_sysinfo_kshm;
extern KShm g_cfg_kshm;
extern DebugLogSrv g_log_srv;
extern RT_TASK g_rt_vek;

// Version of the shared areas' layout, and the number of that interface.
extern const std::uint32_t g_sdk_version;
extern const std::uint32_t g_sdk_version_number;
