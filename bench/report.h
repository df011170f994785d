// What the benchmarks are to reach, and the page's tables.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace bench {

// Gathers each benchmark's median beside showing it.
class Medians : public benchmark::ConsoleReporter {
 public:
  Medians() : ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  // By benchmark, ns: processor time, or what the benchmark itself measured.
  const std::map<std::string, double>& times() const { return times_; }
  // Whether a benchmark ended with an error.
  bool failed() const { return failed_; }

 private:
  std::map<std::string, double> times_;
  bool failed_ = false;
};

// Prints machine and results in Markdown; true when every goal was measured and holds.
bool PrintReport(const std::map<std::string, double>& times, std::FILE* to);

}  // namespace bench
