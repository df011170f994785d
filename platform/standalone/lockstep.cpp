#include "platform/standalone/lockstep.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/simulated_time.h"
#include "platform/standalone/host_root.h"
#include "platform/standalone/lockstep_turns.h"
#include "platform/standalone/platform_warning.h"

namespace lockstep {
namespace {

constexpr RTIME kNsPerSecond = 1'000'000'000;
constexpr std::time_t kCalendarStart = 1767225600;  // 2026-01-01 00:00:00 UTC

// Never destroyed: the turn may be waited for until the process ends.
std::atomic<Turns*> g_turns{nullptr};
thread_local Party t_party = kNobody;

Turns& turns() {
  return *g_turns.load(std::memory_order_relaxed);
}

bool is_asked_for() {
  const char* const clock = std::getenv("VEK_CLOCK");
  if (clock == nullptr || *clock == '\0') return false;
  if (std::strcmp(clock, "lockstep") != 0) {
    logging::platform_warning("time is real: VEK_CLOCK=%s is not known", clock);
    return false;
  }
  if (!standalone::has_root()) {
    logging::platform_warning("time is real: VEK_CLOCK=lockstep needs VEK_ROOT");
    return false;
  }
  return true;
}

void join(Side side, Party party) {
  if (active() || !is_asked_for()) return;
  static File file;
  const char* const problem = file.Open(side);
  if (problem != nullptr) {
    logging::platform_warning("time is real: /var/lockstep: %s", problem);
    return;
  }
  static Turns taken(file);
  t_party = party;
  g_turns.store(&taken, std::memory_order_relaxed);
}

auto asked(const std::atomic<bool>& stop) {
  return [&stop] { return stop.load(std::memory_order_acquire); };
}

sigset_t interrupts() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  return set;
}

// The loop looks at what SIGINT's handler has set before it sleeps, and a sleep may last for ever.
// So the loop's thread has SIGINT blocked but for the end of each sleep: none gets lost in between.
void hold_interrupts() {
  const sigset_t set = interrupts();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool is_interrupted() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGINT) == 1;
}

void take_interrupt() {
  const sigset_t set = interrupts();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

}  // namespace

bool active() {
  return g_turns.load(std::memory_order_relaxed) != nullptr;
}

void join_as_controller() {
  join(Side::kController, kLoop);
  if (t_party == kLoop) hold_interrupts();
}

RTIME now() {
  return turns().now();
}

std::timespec calendar() {
  const RTIME time = now();
  return {.tv_sec = kCalendarStart + static_cast<std::time_t>(time / kNsPerSecond),
          .tv_nsec = static_cast<long>(time % kNsPerSecond)};
}

bool add_task() {
  return turns().Enter(kTask, now());
}

void remove_task() {
  turns().Leave(kTask);
}

void begin_task(const std::atomic<bool>& stop) {
  t_party = kTask;
  turns().SettleThread();
  turns().Await(kTask, asked(stop));
}

RTIME sleep_until(RTIME time, const std::atomic<bool>& stop) {
  if (time > now()) turns().Sleep(t_party, time, asked(stop));
  return std::max(time, now());
}

bool sleep_in_loop(RTIME duration) {
  if (t_party != kLoop) return false;
  static const bool settled = (turns().SettleThread(), true);
  static_cast<void>(settled);
  turns().Sleep(kLoop, now() + duration, is_interrupted);
  if (is_interrupted()) take_interrupt();
  return true;
}

}  // namespace lockstep

namespace simulated_time {

bool join_as_servo(const std::atomic<bool>& stop) {
  lockstep::join(lockstep::Side::kServo, lockstep::kServo);
  if (!lockstep::active()) return false;
  lockstep::turns().SettleThread();
  lockstep::turns().Enter(lockstep::kServo, lockstep::now());
  lockstep::turns().Await(lockstep::kServo, lockstep::asked(stop));
  return true;
}

void leave() {
  if (lockstep::active()) lockstep::turns().Leave(lockstep::kServo);
}

bool hold_controller(RTIME duration) {
  if (!lockstep::active()) return false;
  lockstep::turns().HoldController(lockstep::now() + duration);
  return true;
}

}  // namespace simulated_time
