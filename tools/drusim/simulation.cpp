#include "tools/drusim/simulation.h"

#include <sched.h>
#include <sys/prctl.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <thread>
#include <utility>

#include "platform/rt_task.h"
#include "tools/failure.h"
#include "tools/requests.h"

namespace {

constexpr std::int64_t kSecond_ns = 1'000'000'000;
constexpr int kDefaultBusFreq = 1000;
constexpr int kHighestBusFreq = 10000;
constexpr int kPriority = 90;  // below Vek's

std::int64_t Now_ns() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kSecond_ns + now.tv_nsec;
}

void SleepUntil(std::int64_t time_ns) {
  timespec until{};
  until.tv_sec = static_cast<time_t>(time_ns / kSecond_ns);
  until.tv_nsec = static_cast<long>(time_ns % kSecond_ns);
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

// Real-time priority for the calling thread alone, if it may; else at least sharp timers.
bool RaisePriority() {
  const sched_param parameters{.sched_priority = kPriority};
  prctl(PR_SET_TIMERSLACK, 1UL);
  return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

}  // namespace

Simulation::Simulation(SimulationOptions options) : options_(std::move(options)) {
  const ServoAreas areas{
      .sys = sys_.get(), .mac = mac_.get(), .udp = udp_.get(), .vek2dru = vek2dru_.get()};
  if (!options_.record.empty()) {
    recorder_ = std::make_unique<Recorder>(options_.record, options_.record_groups);
  }
  for (const GroupRow& group : kGroups) {
    groups_.emplace_back(group, areas, options_.transition_cycles);
    groups_.back().OnStart(options_.axes[group.index], options_.pose[group.index]);
  }
}

bool Simulation::Run(const std::atomic<bool>& stop) {
  fifo_ = RaisePriority();
  std::int64_t next = Now_ns();
  while (!stop && !quit_ && (options_.cycles == 0 || cycles_ < options_.cycles)) {
    Cycle();
    const std::int64_t period = Period_ns();
    next += period;
    elapsed_ns_ += period;
    // Beats that have passed already are skipped; the phase is kept.
    const std::int64_t late = Now_ns() - next;
    if (late >= period) {
      const std::int64_t skipped = late / period;
      missed_ += skipped;
      next += skipped * period;
      elapsed_ns_ += skipped * period;
    }
    SleepUntil(next);
  }
  if (recorder_ == nullptr) return !failed_;
  const std::string problem = recorder_->Finish();
  if (!problem.empty()) std::fprintf(stderr, "drusim: %s\n", problem.c_str());
  return !failed_ && problem.empty();
}

void Simulation::Cycle() {
  // The end stamp goes first: whoever reads the pair now must not see a cycle that ends before it
  // begins.
  const std::uint64_t start = rt_timer_read();
  shared::store(sys_.get(), SHARED_FIELD(SysInfo, dru_cycle_end_ns), start);
  shared::store(sys_.get(), SHARED_FIELD(SysInfo, dru_cycle_start_ns), start);
  RunScript();
  const double period_s = static_cast<double>(Period_ns()) / static_cast<double>(kSecond_ns);
  for (ServoModel& group : groups_) {
    if (group.OnCycle(period_s) && recorder_) recorder_->Take(group.group(), group.frame());
  }
  if (recorder_) recorder_->EndCycle(elapsed_ns_);
  ObserveVek();
  ++cycles_;
  shared::store(sys_.get(), SHARED_FIELD(SysInfo, dru_cycle_end_ns), rt_timer_read());
}

void Simulation::RunScript() {
  for (; next_line_ < options_.script.size() && options_.script[next_line_].cycle <= cycles_;
       ++next_line_) {
    const ScriptLine& line = options_.script[next_line_];
    try {
      Perform(line);
    } catch (const Failure& failure) {
      std::fprintf(stderr, "drusim: %s: %s\n", line.where.c_str(), failure.what());
      failed_ = true;
    }
  }
}

void Simulation::Perform(const ScriptLine& line) {
  struct Visitor {
    Simulation& sim;
    ServoModel& Model(const GroupRow* group) const { return sim.groups_[group->index]; }

    void operator()(const QuitAction&) const { sim.quit_ = true; }
    void operator()(const StateAction& action) const {
      RequestState(sim.udp_.get(), *action.group, action.state);
    }
    void operator()(const TrajAction& action) const { sim.Perform(action); }
    void operator()(const StopAction& action) const {
      if (!StopTrajectory(sim.udp_.get(), *action.group)) {
        Fail(action.group->key, " has no run to stop");
      }
    }
    void operator()(const BrakeAction& action) const {
      Model(action.group).SetBrakeUnlocked(action.on);
    }
    void operator()(const PauseAction& action) const { Model(action.group).SetPaused(action.on); }
    void operator()(const SetAction& action) const {
      const AreaView& area = action.area == &kSysInfoArea ? sim.sys_
                             : action.area == &kMacArea   ? sim.mac_
                                                          : sim.udp_;
      shared::write_bytes(area.get() + action.offset, action.bytes.data(), action.bytes.size());
    }
    void operator()(const StallAction& action) const {
      std::this_thread::sleep_for(std::chrono::milliseconds(action.milliseconds));
    }
  };
  std::visit(Visitor{*this}, line.action);
}

void Simulation::Perform(const TrajAction& action) {
  if (!trajbuf_) trajbuf_.emplace(kTrajBufArea);
  if (shared::load_acquire(udp_.get(), action.group->udp.traj_state) != TRAJ_IDLE) {
    Fail(action.group->key, " has a run already");
  }
  WriteTrajectory(trajbuf_->get(), *action.group, action.waypoints);
  if (!StartTrajectory(udp_.get(), *action.group)) Fail(action.group->key, " has a run already");
}

void Simulation::ObserveVek() {
  const auto start = shared::load(sys_.get(), SHARED_FIELD(SysInfo, vek_cycle_start_ns));
  const auto end = shared::load(sys_.get(), SHARED_FIELD(SysInfo, vek_cycle_end_ns));
  // Inside a cycle the end is that of the one before.
  if (end > start && end - start > worst_vek_ns_) worst_vek_ns_ = end - start;
}

std::int64_t Simulation::Period_ns() const {
  int bus_freq = kDefaultBusFreq;
  if (shared::load_acquire(cfg_.get(), SHARED_FIELD(CfgConfig, load_complete)) == 1) {
    const int configured = shared::load(cfg_.get(), SHARED_FIELD(CfgConfig, BusFreq));
    if (configured >= 1 && configured <= kHighestBusFreq) bus_freq = configured;
  }
  return kSecond_ns / bus_freq;
}

void Simulation::PrintSummary() const {
  std::printf("cycles %lld\n", cycles_);
  std::printf("missed periods %lld\n", missed_);
  std::printf("scheduling %s\n", fifo_ ? "real-time" : "ordinary");
  std::printf("worst vek cycle %.1f us\n", static_cast<double>(worst_vek_ns_) / 1000);
  for (const ServoModel& model : groups_) {
    const ServoCounts& counts = model.counts();
    std::printf("%s frames %ld starved %ld dropped %ld\n", model.group().key.data(), counts.frames,
                counts.starved, counts.dropped);
  }
  std::fflush(stdout);
}
