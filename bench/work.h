// What is measured: in time by Google Benchmark, in instructions by callgrind.
#pragma once

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <functional>
#include <map>
#include <string>

namespace bench {

// Does a work so many times under callgrind's eyes.
using Counted = std::function<void(long runs)>;
// By the benchmark's name.
inline std::map<std::string, Counted>& CountedWorks() {
  static std::map<std::string, Counted> works;
  return works;
}

// A tenth of the runs goes uncounted before.
template <class Run>
void Count(long runs, const Run& run) {
  for (long k = 0; k < runs / 10; ++k) run();
  CALLGRIND_TOGGLE_COLLECT;
  for (long k = 0; k < runs; ++k) run();
  CALLGRIND_TOGGLE_COLLECT;
}

// Registers a work, which its constructor sets up and Run() does once.
template <class Work>
benchmark::internal::Benchmark* Register(const char* name) {
  CountedWorks()[name] = [](long runs) {
    Work work;
    Count(runs, [&work] { work.Run(); });
  };
  return benchmark::RegisterBenchmark(name, [](benchmark::State& state) {
    Work work;
    for (auto _ : state) {
      work.Run();
      benchmark::ClobberMemory();
    }
  });
}

}  // namespace bench
