// The process: start-up, the plain 1 ms loop and shutdown.
#include <csignal>
#include <cstdio>

#include "app/globals.h"
#include "app/vek_task.h"
#include "platform/host.h"
#include "vek/vek.h"

namespace {

constexpr int kTaskPriority = 95;
constexpr unsigned kLoopSleep_us = 1000;

void OnQuit(int) {
  g_exit = true;
}

bool MapArea(KShm& kshm, const char* path, long size) {
  KShmOnInit(&kshm);
  if (kshm.OnOpen(path, size)) return true;
  std::printf("Failed to map %s\n", path);
  return false;
}

// Maps the two central areas and brings up logging; false after a message on standard output.
bool OpenBase() {
  if (!MapArea(g_sysinfo_kshm, "/dev/ZQSysInfo", AREA_SYSINFO_SIZE)) return false;
  g_sysinfo_ptr = static_cast<SysInfo*>(g_sysinfo_kshm.OnGetAddr());
  shared::store(g_sysinfo_ptr, SHARED_FIELD(SysInfo, version_word), g_sdk_version);
  if (!MapArea(g_cfg_kshm, "/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE)) return false;
  g_cfg_ptr = static_cast<CfgConfig*>(g_cfg_kshm.OnGetAddr());
  if (!g_log_srv.OnInit(g_sysinfo_ptr)) {
    std::puts("Failed to init DebugLogSrv");
    return false;
  }
  if (!g_log_clt.OnInit(LOG_MODULE_VEK, g_sysinfo_ptr, g_cfg_ptr)) {
    std::puts("Failed to init DebugLogClt for VEK");
    return false;
  }
  return true;
}

bool StartTask(Vek& vek) {
  if (rt_task_create(&g_rt_vek, "RTVEK", 0, kTaskPriority, T_FPU | T_CPU(1)) != 0) {
    g_log_clt.ERROR_LOG("Failed to create rt task RTVEK");
    return false;
  }
  if (rt_task_start(&g_rt_vek, VekTask, &vek) != 0) {
    g_log_clt.ERROR_LOG("Failed to start rt task RTVEK");
    rt_task_delete(&g_rt_vek);
    return false;
  }
  g_log_clt.INFO_LOG("Vek is running...");
  return true;
}

bool Start(Vek& vek) {
  if (!OpenBase()) return false;
  g_log_clt.INFO_LOG("Orlynd system version is 0x%08x",
                     shared::load(g_sysinfo_ptr, SHARED_FIELD(SysInfo, version_word)));
  if (vek.OnInit(g_sysinfo_ptr, g_cfg_ptr)) return StartTask(vek);
  // Deliberately no reason to stop: the mailbox, the peripherals and the clock are served without
  // the real-time task.
  g_log_clt.ERROR_LOG("Failed to init Vek");
  return true;
}

void RunLoop(Vek& vek) {
  while (!g_exit) {
    host_usleep(kLoopSleep_us);
    vek.OnProcessGpio();
    vek.OnProcessGyro();
    vek.OnProcessOp();
    vek.OnProcessSystemTime();
  }
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  rt_print_auto_init(1);
  std::signal(SIGINT, OnQuit);
  Vek vek;
  if (Start(vek)) RunLoop(vek);
  std::puts("VEK exit");
  rt_task_delete(&g_rt_vek);
  g_sysinfo_kshm.OnClose();
  g_cfg_kshm.OnClose();
  return 0;
}
