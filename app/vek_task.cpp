#include "app/vek_task.h"

#include "platform/debug_log.h"
#include "platform/rt_task.h"
#include "vek/vek.h"

namespace {

constexpr RTIME kPeriod_ns = 1'000'000;
constexpr std::int64_t kVekMax_us = 500;
constexpr std::int64_t kDruMax_us = 800;
constexpr std::int64_t kDruRunAway_us = 10'000;

// Unsigned on purpose: stamps out of order give a huge time, never a negative one.
std::int64_t Elapsed_us(shared::Field<std::uint64_t> start, shared::Field<std::uint64_t> end) {
  const std::uint64_t ns = shared::load(g_sysinfo_ptr, end) - shared::load(g_sysinfo_ptr, start);
  return static_cast<std::int64_t>(ns / 1000);
}

void RunCycle(Vek& vek) {
  shared::store(g_sysinfo_ptr, SHARED_FIELD(SysInfo, vek_cycle_start_ns), rt_timer_read());
  vek.OnProcessUdpSet();
  vek.OnProcessRtUdpState();
  vek.OnProcessPosCtrlArm0();
  vek.OnProcessPosCtrlArm1();
  vek.OnProcessPosCtrlHead();
  vek.OnProcessPosCtrlBody();
  vek.OnProcessPosCtrlLift();
  shared::store(g_sysinfo_ptr, SHARED_FIELD(SysInfo, vek_cycle_end_ns), rt_timer_read());
}

void SuperviseCycle(bool& cycle_error_latched) {
  const std::int64_t vek_us = Elapsed_us(SHARED_FIELD(SysInfo, vek_cycle_start_ns),
                                         SHARED_FIELD(SysInfo, vek_cycle_end_ns));
  const std::int64_t dru_us = Elapsed_us(SHARED_FIELD(SysInfo, dru_cycle_start_ns),
                                         SHARED_FIELD(SysInfo, dru_cycle_end_ns));
  const CycleVerdict verdict = JudgeCycle(vek_us, dru_us);
  if (verdict == CycleVerdict::Warning) {
    g_log_clt.WARN_LOG("Warning CycleTime: Vek = %lld, Dru = %lld", static_cast<long long>(vek_us),
                       static_cast<long long>(dru_us));
  } else if (verdict == CycleVerdict::RunAway && !cycle_error_latched) {
    g_log_clt.ERROR_LOG("Error CycleTime: Vek = %lld, Dru = %lld, DRU RT task is run away!",
                        static_cast<long long>(vek_us), static_cast<long long>(dru_us));
    cycle_error_latched = true;
  }
}

}  // namespace

CycleVerdict JudgeCycle(std::int64_t vek_us, std::int64_t dru_us) {
  if (dru_us <= kDruMax_us && vek_us <= kVekMax_us) return CycleVerdict::Good;
  if (dru_us > kDruMax_us && dru_us < kDruRunAway_us) return CycleVerdict::Warning;
  return CycleVerdict::RunAway;
}

void VekTask(void* arg) {
  Vek& vek = *static_cast<Vek*>(arg);
  unsigned long overruns = 0;
  int wait_error_count = 0;
  bool cycle_error_latched = false;  // the run-away error is logged once a run

  rt_task_set_periodic(nullptr, TM_NOW, kPeriod_ns);
  g_log_clt.INFO_LOG("RTVEK: VekTask is working");
  while (!g_exit) {
    const int result = rt_task_wait_period(&overruns);
    if (result != 0) {
      ++wait_error_count;
      g_log_clt.WARN_LOG("RTVEK: rt_task_wait_period error: %ld, error count: %d, overruns: %u",
                         static_cast<long>(result), wait_error_count,
                         static_cast<unsigned>(overruns));
    }
    RunCycle(vek);
    SuperviseCycle(cycle_error_latched);
  }
  g_log_clt.INFO_LOG("RTVEK: RTVEK exit");
}
