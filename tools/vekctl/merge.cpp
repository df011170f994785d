#include <cstdio>

#include "ini/ini_handler.h"
#include "platform/debug_log.h"
#include "tools/failure.h"
#include "tools/vekctl/commands.h"
#include "vek/shared_areas.h"

int RunMerge(const MergeOptions& options) {
  // The merge tells what it does by the log only, and no log starts without areas to look at.
  static SysInfo sys;
  static CfgConfig cfg;
  DebugLogSrv log;
  if (!log.OnInit(&sys) || !g_log_clt.OnInit(LOG_MODULE_VEK, &sys, &cfg)) {
    Fail("the log cannot be opened");
  }
  std::string target = options.target;
  std::string reference = options.reference;
  std::string script = options.script;
  IniHandler handler;
  if (!handler.OnProcess(target.data(), reference.data(), script.data())) return kStatusFailed;
  std::printf("%s: merged\n", target.c_str());
  return 0;
}
