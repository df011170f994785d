#include "tools/drusim/simulation.h"

#include <sched.h>
#include <sys/prctl.h>

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "platform/rt_task.h"
#include "platform/simulated_time.h"
#include "tools/failure.h"

namespace {

constexpr std::int64_t kSecond_ns = 1'000'000'000;
constexpr int kDefaultBusFreq = 1000;
constexpr int kHighestBusFreq = 10000;
constexpr int kPriority = 90;  // below Vek's

std::int64_t Now_ns() {
  return static_cast<std::int64_t>(rt_timer_read());
}

void SleepUntil(std::int64_t time_ns, const std::atomic<bool>& stop) {
  simulated_time::sleep_until(static_cast<RTIME>(time_ns), stop);
}

// Real-time priority for the calling thread alone, if it may; else at least sharp timers.
bool RaisePriority() {
  const sched_param parameters{.sched_priority = kPriority};
  prctl(PR_SET_TIMERSLACK, 1UL);
  return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

void PrintSensorOffsets(const ServoModel& model) {
  for (std::size_t k = 0; k < AREA_AXES; ++k) {
    const auto offset = model.servos().SensorOffset(k);
    if (!offset) continue;
    std::printf("%s sensor %zu offset %" PRId32 "\n", model.group().key.data(), k, *offset);
  }
}

}  // namespace

Simulation::Simulation(SimulationOptions options)
    : options_(std::move(options)), robot_(options_.robot) {
  // First all that can go wrong, then what overwrites a file, then what others see.
  if (!options_.control.empty()) control_ = std::make_unique<ControlPipe>(options_.control);
  if (!options_.record.empty()) {
    recorder_ = std::make_unique<Recorder>(options_.record, options_.record_groups);
  }
  robot_.OnStart(options_.robot);
}

bool Simulation::Run(const std::atomic<bool>& stop) {
  lockstep_ = simulated_time::join_as_servo(stop);
  if (!lockstep_) fifo_ = RaisePriority();
  std::int64_t next = Now_ns();
  while (!stop && !robot_.quit && (options_.cycles == 0 || cycles_ < options_.cycles)) {
    Cycle(stop);
    const std::int64_t period = Period_ns();
    next += period;
    elapsed_ns_ += period;
    // Beats that have passed already are skipped; the phase is kept. A tick of simulated time has
    // one cycle, so there the beat at which a long cycle ends is over, too.
    const std::int64_t late = Now_ns() - next + (lockstep_ ? period : 0);
    if (late >= period) {
      const std::int64_t skipped = late / period;
      missed_ += skipped;
      next += skipped * period;
      elapsed_ns_ += skipped * period;
    }
    SleepUntil(next, stop);
  }
  simulated_time::leave();
  if (recorder_ == nullptr) return !failed_;
  const std::string problem = recorder_->Finish();
  if (!problem.empty()) std::fprintf(stderr, "drusim: %s\n", problem.c_str());
  return !failed_ && problem.empty();
}

void Simulation::Cycle(const std::atomic<bool>& stop) {
  // The end stamp goes first: whoever reads the pair now must not see a cycle that ends before it
  // begins.
  const std::uint64_t start = rt_timer_read();
  shared::store(robot_.sys.get(), SHARED_FIELD(SysInfo, dru_cycle_end_ns), start);
  shared::store(robot_.sys.get(), SHARED_FIELD(SysInfo, dru_cycle_start_ns), start);
  RunScript();
  if (control_) control_->OnCycle(robot_);
  if (robot_.stall_ns > 0) SleepUntil(Now_ns() + std::exchange(robot_.stall_ns, 0), stop);
  MoveGroups();
  if (robot_.gyro) robot_.gyro->OnCycle(elapsed_ns_);
  ObserveVek();
  ++cycles_;
  shared::store(robot_.sys.get(), SHARED_FIELD(SysInfo, dru_cycle_end_ns), rt_timer_read());
}

void Simulation::RunScript() {
  for (; next_line_ < options_.script.size() && options_.script[next_line_].cycle <= cycles_;
       ++next_line_) {
    const ScriptLine& line = options_.script[next_line_];
    try {
      line.action(robot_);
    } catch (const Failure& failure) {
      std::fprintf(stderr, "drusim: %s: %s\n", line.where.c_str(), failure.what());
      failed_ = true;
    }
  }
}

void Simulation::MoveGroups() {
  const double period_s = static_cast<double>(Period_ns()) / static_cast<double>(kSecond_ns);
  for (ServoModel& group : robot_.groups) {
    if (group.OnCycle(period_s) && recorder_) recorder_->Take(group.group(), group.frame());
  }
  if (recorder_) {
    recorder_->EndCycle(elapsed_ns_);
    if (lockstep_) recorder_->AwaitRoom();
  }
}

void Simulation::ObserveVek() {
  const auto start = shared::load(robot_.sys.get(), SHARED_FIELD(SysInfo, vek_cycle_start_ns));
  const auto end = shared::load(robot_.sys.get(), SHARED_FIELD(SysInfo, vek_cycle_end_ns));
  // Inside a cycle the end is that of the one before.
  if (end > start && end - start > worst_vek_ns_) worst_vek_ns_ = end - start;
}

std::int64_t Simulation::Period_ns() const {
  int bus_freq = kDefaultBusFreq;
  if (shared::load_acquire(robot_.cfg.get(), SHARED_FIELD(CfgConfig, load_complete)) == 1) {
    const int configured = shared::load(robot_.cfg.get(), SHARED_FIELD(CfgConfig, BusFreq));
    if (configured >= 1 && configured <= kHighestBusFreq) bus_freq = configured;
  }
  return kSecond_ns / bus_freq;
}

void Simulation::PrintSummary() const {
  std::printf("cycles %lld\n", cycles_);
  std::printf("missed periods %lld\n", missed_);
  std::printf("scheduling %s\n", lockstep_ ? "lockstep" : fifo_ ? "real-time" : "ordinary");
  std::printf("worst vek cycle %.1f us\n", static_cast<double>(worst_vek_ns_) / 1000);
  for (const ServoModel& model : robot_.groups) {
    const ServoCounts& counts = model.counts();
    std::printf("%s frames %ld starved %ld dropped %ld\n", model.group().key.data(), counts.frames,
                counts.starved, counts.dropped);
    PrintSensorOffsets(model);
  }
  std::fflush(stdout);
}
