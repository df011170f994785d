// The logging client that the INI parser reports to. The tools start no log: such messages are
// dropped.
#include "platform/debug_log.h"

DebugLogClt g_log_clt;
