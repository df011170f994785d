// The logging call from the cycle, for every kind of message that the real-time task has.
#include <ctime>

#include "bench/robot.h"
#include "bench/work.h"

namespace {

// Half of what the log's queue holds: it is empty before and never full.
constexpr int kBatch = 512;
constexpr int kBatches = 100;

// With formats and arguments as the callers give them.
struct Message {
  const char* name;
  void (*log)();
};

constexpr Message kMessages[] = {
    {"log/start_position",
     [] {
       g_log_clt.INFO_LOG("%s: %s {%lf,%lf,%lf,%lf,%lf,%lf,%lf}", "Arm0", "Set start position", 0.1,
                          -0.2, 0.3, -0.4, 0.5, -0.6, 0.7);
     }},
    {"log/body_stop",
     [] {
       g_log_clt.INFO_LOG("%s: %s {%lf,%lf,%lf,%lf,%lf,%lf}", "Body", "Run traj plan stop at", 0.1,
                          -0.2, 0.3, -0.4, 0.5, -0.6);
     }},
    {"log/lift_finish",
     [] { g_log_clt.INFO_LOG("%s: %s {%lf,%lf}", "Lift", "Run traj plan finish at", 0.1, -0.2); }},
    {"log/sub_state",
     [] { g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: go to sub state 1", "Head"); }},
    {"log/bad_position",
     [] {
       g_log_clt.ERROR_LOG("%s: Failed to set start position, position of axis %d is not finite",
                           "Lift", 1);
     }},
    {"log/traj_refused",
     [] { g_log_clt.ERROR_LOG("%s: Failed to plan traj mid, OnCutPoint(P%d)", "Arm1", 4999); }},
    {"log/run_aborted",
     [] {
       g_log_clt.WARN_LOG("%s: UDP_ARM%zu_RT_CmdJointPos is set, abort traj plan moving", "Arm1",
                          std::size_t{1});
     }},
    {"log/state_refused",
     [] {
       g_log_clt.ERROR_LOG("%s: Failed to transfer to %s, some axes's brake is enforced unlocked",
                           "Body", "TRANS_TO_POSITION");
     }},
    {"log/shaper_refused",
     [] { g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: EI write acb faile", "Body"); }},
    {"log/cycle_time",
     [] { g_log_clt.WARN_LOG("Warning CycleTime: Vek = %lld, Dru = %lld", 12LL, 801LL); }},
    {"log/wait_error",
     [] {
       g_log_clt.WARN_LOG("RTVEK: rt_task_wait_period error: %ld, error count: %d, overruns: %u",
                          -110L, 7, 3U);
     }},
};

// Of this thread alone, s: the drain may have the processor meanwhile.
double ThreadTime() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The time of one message, in batches that the drain has written before the next one begins.
void TimeBatches(benchmark::State& state, void (*log)()) {
  Robot& robot = Robot::Get();
  robot.TakeLogLines();
  while (state.KeepRunning()) {
    const double start = ThreadTime();
    for (int k = 0; k < kBatch; ++k) log();
    state.SetIterationTime((ThreadTime() - start) / kBatch);
    if (robot.TakeLogLines() != kBatch) {
      state.SkipWithError("messages were lost");
      break;
    }
  }
}

const bool kRegistered = [] {
  for (const auto& [name, log] : kMessages) {
    bench::CountedWorks()[name] = [log = log](long runs) {
      Robot::Get();  // starts the log
      bench::Count(runs, log);
    };
    benchmark::RegisterBenchmark(name, TimeBatches, log)->UseManualTime()->Iterations(kBatches);
  }
  return true;
}();

}  // namespace
