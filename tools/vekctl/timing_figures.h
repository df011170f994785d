// What a task's timing record says, in plain figures.
#pragma once

#include <string>
#include <vector>

#include "platform/task_timing.h"

struct TimingFigures {
  std::uint64_t count = 0;
  double last = 0, min = 0, mean = 0, max = 0;  // us
  std::uint64_t max_cycle = 0;
  double p50 = 0, p99 = 0, p999 = 0;  // us, out of the histogram: rounded up to its bins
  std::uint64_t overflow = 0;         // beyond the histogram
};
TimingFigures FiguresOf(const task_timing::Series& series);

// The names of what the task has to do without.
std::vector<std::string> LacksOf(const task_timing::Record& record);

// "good", or what is not.
std::string VerdictOn(const task_timing::Record& record);
