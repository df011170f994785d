#include "platform/standalone/lockstep_turns.h"

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace lockstep {
namespace {

constexpr std::int64_t kDozeNs = 10'000'000;
// Longer than a sleeper takes to wake up, so that one that came too late does not make all others
// sleep from then on.
constexpr std::int64_t kSpinNs = 50'000;

#ifdef SYS_futex_time64
constexpr long kFutex = SYS_futex_time64;
#else
constexpr long kFutex = SYS_futex;
#endif
struct FutexTime {
  std::int64_t s;
  std::int64_t ns;
};

long futex(std::atomic<std::uint32_t>& word, int operation, std::uint32_t value,
           const FutexTime* timeout) {
  return syscall(kFutex, &word, operation, value, timeout, nullptr, 0);
}

void pause_processor() {
#if defined(__SSE2__)
  _mm_pause();
#endif
}

// Whether there is a processor for each party, and one for the threads that write.
bool has_processors_to_spin() {
  constexpr int kNeeded = 4;
  cpu_set_t usable;
  return sched_getaffinity(0, sizeof usable, &usable) == 0 && CPU_COUNT(&usable) >= kNeeded;
}

std::int64_t real_ns() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

}  // namespace

Turns::Turns(File& file) : file_(file), state_(file.state()), spins_(has_processors_to_spin()) {}

void Turns::SettleThread() const {
  if (spins_) return;
  cpu_set_t shared;
  CPU_ZERO(&shared);
  CPU_SET(static_cast<std::size_t>(state_.processor), &shared);
  // Not allowed, it only takes longer.
  static_cast<void>(sched_setaffinity(0, sizeof shared, &shared));
}

bool Turns::Enter(Party party, RTIME wake) {
  RTIME away = kAway;
  if (!seat(party).wake.compare_exchange_strong(away, wake)) return false;
  Resume();
  return true;
}

void Turns::Leave(Party party) {
  seat(party).wake = kAway;
  std::uint32_t holder = party;
  if (state_.holder.compare_exchange_strong(holder, kNobody)) Resume();
}

RTIME Turns::DueTime(std::uint32_t party) const {
  const RTIME wake = state_.seat[party].wake;
  return side_of(party) == Side::kController ? std::max<RTIME>(wake, state_.hold) : wake;
}

bool Turns::BothSidesTakePart() const {
  return state_.seat[kLoop].wake != kAway && state_.seat[kServo].wake != kAway;
}

std::uint32_t Turns::FirstDueAfter(std::uint32_t party) const {
  const RTIME time = now();
  for (std::uint32_t next = party + 1; next < kParties; ++next) {
    if (DueTime(next) <= time) return next;
  }
  return kNobody;
}

// Who is next, in this tick or in the one that it begins; nobody when a side is missing. To be
// called by the holder, or under the guard while nobody is.
std::uint32_t Turns::Choose(std::uint32_t after) {
  if (!BothSidesTakePart()) return kNobody;
  const std::uint32_t next = FirstDueAfter(after);
  if (next != kNobody) return next;
  RTIME earliest = kAway;
  for (std::uint32_t party = kTask; party < kParties; ++party) {
    earliest = std::min(earliest, DueTime(party));
  }
  const RTIME ticks = earliest / kTick + (earliest % kTick != 0 ? 1 : 0);
  state_.now = std::max(ticks * kTick, now() + kTick);
  return FirstDueAfter(kNobody);
}

// False when the party has left meanwhile, without seeing that it has the turn: nobody has it then.
bool Turns::Grant(std::uint32_t party) {
  state_.holder = party;
  Seat& granted = seat(party);
  // Pairs with Doze(): either the party sees that it has the turn, or it is seen to doze here.
  if (granted.dozing != 0) {
    granted.dozing = 0;
    futex(granted.dozing, FUTEX_WAKE, 1, nullptr);
  }
  if (granted.wake != kAway) return true;
  return !state_.holder.compare_exchange_strong(party, kNobody);
}

void Turns::HandOver(Party party, RTIME wake) {
  seat(party).wake = wake;
  if (!Has(party)) return Resume();
  const std::uint32_t next = Choose(party);
  if (next != kNobody && Grant(next)) return;
  if (next == kNobody) state_.holder = kNobody;
  Resume();
}

// Lets time go on if it stands still and need not.
void Turns::Resume() {
  const File::Guard guard(file_);
  while (state_.holder == kNobody) {
    const std::uint32_t next = Choose(kNobody);
    if (next == kNobody || Grant(next)) return;
  }
}

// Takes out what the other process left when it ended without a word.
void Turns::ForgetTheDead() {
  if (file_.OtherIsThere()) return;
  const File::Guard guard(file_);
  if (!file_.OtherIsThere()) clear(state_, other(file_.side()));
}

bool Turns::Spin(Party party) const {
  if (!spins_) return Has(party);
  for (const std::int64_t end = real_ns() + kSpinNs; !Has(party); pause_processor()) {
    if (real_ns() > end) return false;
  }
  return true;
}

// Sleeps in the kernel until the party is handed the turn, or for a while; whether it has it.
bool Turns::Doze(Party party) {
  Seat& own = seat(party);
  own.dozing = 1;
  if (!Has(party)) {
    const FutexTime timeout{.s = 0, .ns = kDozeNs};
    const bool timed_out = futex(own.dozing, FUTEX_WAIT, 1, &timeout) != 0 && errno == ETIMEDOUT;
    if (timed_out) ForgetTheDead();
  }
  own.dozing = 0;
  return Has(party);
}

}  // namespace lockstep
