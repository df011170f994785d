// The logging client that the INI parser reports to. Only vekctl's merge starts the log; without it
// messages are dropped.
#include "platform/debug_log.h"

DebugLogClt g_log_clt;
