// The benchmarks.
//
//   vek_bench [--benchmark_…]          measures, and prints what was reached beside the goals
//   vek_bench report FILE [--bench…]   the same, with the page's tables going to FILE
//   vek_bench count NAME RUNS          does one work so many times, for callgrind to count
//   vek_bench drift SAMPLES            checks the averaging filter over so many samples
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "bench/checks.h"
#include "bench/report.h"
#include "bench/work.h"

namespace {

long Number(const char* text) {
  return std::strtol(text, nullptr, 10);
}

int Count(const char* name, long runs) {
  const auto found = bench::CountedWorks().find(name);
  if (found == bench::CountedWorks().end()) {
    std::printf("%s: no such work\n", name);
    return 2;
  }
  found->second(runs);
  return 0;
}

// 0 when every goal holds.
int Measure(const char* report) {
  CheckFloor();
  bench::Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  std::FILE* const to = report != nullptr ? std::fopen(report, "w") : stdout;
  if (to == nullptr) {
    std::perror(report);
    return 2;
  }
  const bool all_hold = bench::PrintReport(medians.times(), to);
  const bool written = to == stdout || std::fclose(to) == 0;
  return all_hold && written && !medians.failed() ? 0 : 1;
}

int Run(int argc, char** argv) {
  const std::string_view word = argc > 1 ? argv[1] : "";
  if (word == "count" && argc == 4) return Count(argv[2], Number(argv[3]));
  if (word == "drift" && argc == 3) return CheckDrift(Number(argv[2])) ? 0 : 1;
  const bool to_file = word == "report" && argc == 3;
  if (argc == 1 || to_file) return Measure(to_file ? argv[2] : nullptr);
  std::puts("usage: vek_bench [report FILE | count NAME RUNS | drift SAMPLES]");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  // The log's lines, which go to standard error.
  if (std::freopen("/dev/null", "w", stderr) == nullptr) return 2;
  try {
    return Run(argc, argv);
  } catch (const std::exception& failure) {
    std::puts(failure.what());
    return 2;
  }
}
