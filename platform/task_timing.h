// What the real-time layer records about the timing of a task: a file of the task's own, outside
// the shared areas, which any program may map while the task runs and after it. A platform may lack
// it.
//
// The task alone writes, reset_request apart. Times are ns of the task time base. A cycle is
// numbered by the periods since the task's start, missed ones included, from 1 on: cycle number
// times period is when it was due.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "platform/shared_access.h"

namespace task_timing {

inline constexpr std::uint32_t kMagic = 0x4d54'4b56;  // "VKTM"
inline constexpr std::uint32_t kVersion = 1;
inline constexpr std::size_t kBins = 1000;  // of a microsecond each

// A time that is taken once a cycle; all zero before the first.
struct Series {
  std::uint64_t count;
  std::uint64_t sum, last, min, max;  // ns
  std::uint64_t max_cycle;            // number of the cycle of `max`
  std::uint64_t overflow;             // times of kBins us and more
  std::uint64_t bin[kBins];           // times from k us to below k + 1 us
};

// What a task has to do without.
enum Lack : std::uint32_t {
  kNoPriority = 1U << 0,
  kMemoryNotLocked = 1U << 1,
  kHeapShrinks = 1U << 2,
  kDeepSleep = 1U << 3,
  kNotBound = 1U << 4,
  kTimerSlack = 1U << 5,
};
struct LackName {
  Lack lack;
  const char* name;
};
inline constexpr LackName kLackNames[] = {
    {kNoPriority, "no real-time priority"},    {kMemoryNotLocked, "memory not locked"},
    {kHeapShrinks, "heap gives memory back"},  {kDeepSleep, "processors may sleep deeply"},
    {kNotBound, "not bound to its processor"}, {kTimerSlack, "timers not sharp"},
};

struct Record {
  std::uint32_t magic;     // kMagic once the rest is valid
  std::uint32_t version;   // kVersion
  std::uint32_t sequence;  // odd while the task writes; see ReadWhole
  std::uint32_t running;   // 1 until the task has ended
  std::uint32_t lacks;     // Lack bits
  // A reader counts it up to have `missed`, `late` and the series begin anew in the next cycle.
  std::uint32_t reset_request;
  std::uint32_t resets_done;  // the request that was last fulfilled
  std::uint32_t reserved_28;
  std::uint64_t period;  // ns
  std::uint64_t cycles;  // number of the last cycle
  std::uint64_t missed;  // periods
  std::uint64_t late;    // cycles that had no wait before them: work had gone on past their release
  Series wake_up;        // release to return from the wait, for cycles that had one
  Series execution;      // return from the wait to the next wait
};
static_assert(sizeof(Series) == 56 + 8 * kBins && sizeof(Record) == 64 + 2 * sizeof(Series));
static_assert(offsetof(Record, period) == 32 && offsetof(Record, execution) == 8120);

// Where the record of a task lies. With a root (`rooted`) it is a path beneath it; without one it
// is a folder that only a service manager makes. No folder: no record.
inline std::array<char, 64> PathOf(const char* task, bool rooted) {
  std::array<char, 64> path{};
  std::snprintf(path.data(), path.size(), rooted ? "/var/%s.timing" : "/run/vek/%s.timing", task);
  return path;
}

// Copies a record; false when the task wrote to it meanwhile.
inline bool ReadWhole(void* record, Record& copy) {
  constexpr auto kSequence = SHARED_FIELD(Record, sequence);
  const std::uint32_t before = shared::load_acquire(record, kSequence);
  shared::read_bytes(&copy, record, sizeof copy);
  // An exchange of the number for itself, because a mere load could be done before the copy.
  return before % 2 == 0 && shared::replace(record, kSequence, before, before);
}

}  // namespace task_timing
