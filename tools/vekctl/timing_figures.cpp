#include "tools/vekctl/timing_figures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "tools/text.h"

namespace {

double Microseconds(std::uint64_t ns) {
  return static_cast<double>(ns) / 1000;
}

// The end of the bin that `share` of all times lie in or before, and never more than the maximum.
double Quantile(const task_timing::Series& series, double share) {
  const auto total = std::accumulate(std::begin(series.bin), std::end(series.bin), series.overflow);
  const double wanted = share * static_cast<double>(total);
  const double max = Microseconds(series.max);
  std::uint64_t below = 0;
  for (std::size_t k = 0; k < std::size(series.bin); ++k) {
    below += series.bin[k];
    if (static_cast<double>(below) >= wanted) return std::min(static_cast<double>(k + 1), max);
  }
  return max;
}

}  // namespace

TimingFigures FiguresOf(const task_timing::Series& series) {
  if (series.count == 0) return {};
  return {.count = series.count,
          .last = Microseconds(series.last),
          .min = Microseconds(series.min),
          .mean = Microseconds(series.sum) / static_cast<double>(series.count),
          .max = Microseconds(series.max),
          .max_cycle = series.max_cycle,
          .p50 = Quantile(series, 0.5),
          .p99 = Quantile(series, 0.99),
          .p999 = Quantile(series, 0.999),
          .overflow = series.overflow};
}

std::vector<std::string> LacksOf(const task_timing::Record& record) {
  std::vector<std::string> names;
  for (const auto& [lack, name] : task_timing::kLackNames) {
    if ((record.lacks & lack) != 0) names.emplace_back(name);
  }
  return names;
}

std::string VerdictOn(const task_timing::Record& record) {
  if (record.execution.count == 0) return "no cycle yet";
  std::string verdict;
  const char* const periods = record.missed == 1 ? " period" : " periods";
  if (record.missed > 0) verdict = Text("missed ", record.missed, periods);
  for (const std::string& lack : LacksOf(record)) {
    const bool first = verdict.find("degraded") == std::string::npos;
    verdict += Text(verdict.empty() ? "" : first ? "; " : ", ", first ? "degraded: " : "", lack);
  }
  return verdict.empty() ? "good" : verdict;
}
