// What the processes that take turns in simulated time share: a small file beneath the root.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <limits>

#include "platform/rt_task.h"

namespace lockstep {

// Who may have the turn, in the order of a tick: the controller's real-time task and its plain
// loop, then the servo task.
enum Party : std::uint32_t { kNobody, kTask, kLoop, kServo };
inline constexpr std::uint32_t kParties = 4;  // kNobody included

inline constexpr RTIME kTick = 1'000'000;  // ns
inline constexpr RTIME kAway = std::numeric_limits<RTIME>::max();

// One party's place. Cache lines of their own: each is polled by another thread.
struct alignas(64) Seat {
  // The time from which it is due; kAway while it takes no part. Written by the party.
  std::atomic<RTIME> wake{kAway};
  // 1 while the party sleeps in the kernel, on this word.
  std::atomic<std::uint32_t> dozing{0};
};

// The layout is the same in 32- and 64-bit processes.
struct State {
  // The party that runs; all others wait. Changed by that party, or under the file's guard while it
  // is kNobody: time stands still.
  alignas(64) std::atomic<std::uint32_t> holder{kNobody};
  alignas(64) std::atomic<RTIME> now{0};    // ns, by the holder
  std::atomic<RTIME> hold{0};               // the controller is not due before, by the servo task
  std::atomic<std::uint32_t> processor{0};  // that of the first process
  std::array<Seat, kParties> seat;
};

enum class Side : int { kController, kServo };

constexpr Side side_of(std::uint32_t party) {
  return party == kServo ? Side::kServo : Side::kController;
}
constexpr Side other(Side side) {
  return side == Side::kServo ? Side::kController : Side::kServo;
}

// Takes out what a process of the side that has ended left behind.
void clear(State& state, Side side);

static_assert(sizeof(State) == 64UL * (2 + kParties));
// So aligned it needs no lock, which the other process would not see; clang says so only on 64
// bits.
static_assert(alignof(std::atomic<RTIME>) == sizeof(RTIME));

}  // namespace lockstep
