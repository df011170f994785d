#include "bench/report.h"

#include <sys/utsname.h>

#include <vector>

namespace bench {
namespace {

// A measured thing, and what it is to stay below: so many times what stands beside it, so many ns.
// 0: no such goal.
struct Row {
  const char* text;
  const char* name;
  const char* beside = nullptr;
  double most_ratio = 0;
  double most_ns = 0;
};

struct Section {
  const char* title;
  std::vector<Row> rows;
};

const std::vector<Section>& Sections() {
  static const std::vector<Section> sections = {
      {"The cycle, beside its bare arithmetic",
       {{"whole cycle: five groups, three frames each, four runs, shaper on", "cycle",
         "cycle/floor", 2, 5000},
        {"generator, a step of 8 axes (`OnDT2`)", "generator", "generator/floor", 1.3, 150},
        {"generator, following samples beyond its limits", "generator/following",
         "generator/floor"},
        {"planner, a block of 20 samples × 7 axes (`OnCutPoint`)", "cut_block", "cut_block/floor",
         1.5},
        {"filter, 8 axes (`OnFilt`)", "filter", "filter/floor"}}},
      {"Its stages alone",
       {{"set channel, nothing new", "set_channel"},
        {"set channel, 15 commands", "set_channel/15_commands"},
        {"state channel, nothing asked", "state_channel"},
        {"state channel, 5 requests", "state_channel/5_requests"},
        {"controller of an arm, three frames of a run", "controller/arm0"},
        {"controller of the body, shaped", "controller/body_shaped"},
        {"trajectory, one sample", "trajectory_step"},
        {"shaper, one frame at 3 Hz", "shaper"},
        {"frame packed and written into a ring", "frame_into_ring"}}},
      {"robot.ini",
       {{"load, beside inih into nested maps", "ini_load", "ini_load/inih_map", 0.5},
        {"load, beside SimpleIni", "ini_load", "ini_load/simpleini", 0.5},
        {"format and write in place, beside nested maps", "ini_save", "ini_save/inih_map", 0.5},
        {"format and write in place, beside SimpleIni", "ini_save", "ini_save/simpleini", 0.5},
        {"the same into a new file that replaces the former, in memory", "ini_save/replaced"},
        {"the same on this machine's disk, syncs included (wall time)",
         "ini_save/replaced_and_synced"}}},
      {"A message from the cycle, until the call returns",
       {{"start position, seven doubles", "log/start_position", nullptr, 0, 300},
        {"end of a run, six doubles", "log/body_stop", nullptr, 0, 300},
        {"end of a run, two doubles", "log/lift_finish", nullptr, 0, 300},
        {"streaming begins", "log/sub_state", nullptr, 0, 300},
        {"bad start position", "log/bad_position", nullptr, 0, 300},
        {"planner refuses", "log/traj_refused", nullptr, 0, 300},
        {"run aborted", "log/run_aborted", nullptr, 0, 300},
        {"state refused", "log/state_refused", nullptr, 0, 300},
        {"shaper's ring refuses", "log/shaper_refused", nullptr, 0, 300},
        {"cycle time", "log/cycle_time", nullptr, 0, 300},
        {"missed periods", "log/wait_error", nullptr, 0, 300}}}};
  return sections;
}

std::string Time(double ns) {
  char text[32];
  if (ns < 1000) {
    std::snprintf(text, sizeof text, "%.0f ns", ns);
  } else {
    std::snprintf(text, sizeof text, "%.*f µs", ns < 10000 ? 2 : 0, ns / 1000);
  }
  return text;
}

std::string Number(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string Goal(const Row& row) {
  std::string goal;
  if (row.most_ratio > 0) goal = Number("≤ %g ×", row.most_ratio);
  if (row.most_ns > 0) goal += (goal.empty() ? "< " : ", < ") + Time(row.most_ns);
  return goal;
}

// Prints a row of the table; false when its goal is missed or could not be measured.
bool PrintRow(const Row& row, const std::map<std::string, double>& times, std::FILE* to) {
  const auto found = times.find(row.name);
  const auto beside = row.beside != nullptr ? times.find(row.beside) : times.end();
  const std::string goal = Goal(row);
  const bool measured = found != times.end() && (row.beside == nullptr || beside != times.end());
  if (!measured) {
    std::fprintf(to, "| %s | not measured | | | %s | |\n", row.text, goal.c_str());
    return goal.empty();
  }
  const double time = found->second;
  const double ratio = row.beside != nullptr ? time / beside->second : 0;
  const bool holds =
      (row.most_ratio == 0 || ratio <= row.most_ratio) && (row.most_ns == 0 || time < row.most_ns);
  const std::string other = row.beside != nullptr ? Time(beside->second) : "";
  const std::string times_other = row.beside != nullptr ? Number("%.2f", ratio) : "";
  const char* verdict = "";
  if (!goal.empty()) verdict = holds ? "yes" : "**no**";
  std::fprintf(to, "| %s | %s | %s | %s | %s | %s |\n", row.text, Time(time).c_str(), other.c_str(),
               times_other.c_str(), goal.c_str(), verdict);
  return holds;
}

void PrintMachine(std::FILE* to) {
  const benchmark::CPUInfo& cpu = benchmark::CPUInfo::Get();
  utsname system{};
  uname(&system);
  std::fprintf(to, "%d cores of %.1f GHz, %s %s, Linux %s, medians.\n", cpu.num_cpus,
               cpu.cycles_per_second / 1e9,
#ifdef __clang__
               "",
#else
               "GCC",
#endif
               __VERSION__, system.release);
}

}  // namespace

void Medians::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    failed_ = failed_ || run.error_occurred;
    if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
    const bool own_time = !run.run_name.time_type.empty();
    times_[run.run_name.function_name] =
        own_time ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
  }
}

bool PrintReport(const std::map<std::string, double>& times, std::FILE* to) {
  bool all_hold = true;
  PrintMachine(to);
  for (const Section& section : Sections()) {
    std::fprintf(to, "\n| %s | time | beside | ratio | goal | holds |\n|---|--:|--:|--:|--:|---|\n",
                 section.title);
    for (const Row& row : section.rows) all_hold = PrintRow(row, times, to) && all_hold;
  }
  return all_hold;
}

}  // namespace bench
