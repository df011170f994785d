// vekctl timing: figures out of a record, and what it says to records of all kinds.
#include "tools/vekctl/timing_figures.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <tuple>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"

namespace {

using task_timing::Record, task_timing::Series;

// 1000 times: 500 below 3 us, 490 below 5, 9 below 41 and one of 2 ms.
Record Sample() {
  Record r{};
  r.magic = task_timing::kMagic;
  r.version = task_timing::kVersion;
  r.execution = {1000, 4'000'000, 2'000, 1'500, 2'000'000, 77, 1, {}};
  r.execution.bin[2] = 500;
  r.execution.bin[4] = 490;
  r.execution.bin[40] = 9;
  return r;
}

TEST(TimingFigures, QuantilesAndVerdicts) {
  Record r = Sample();
  EXPECT_EQ(VerdictOn(r), "good");
  const TimingFigures f = FiguresOf(r.execution);
  EXPECT_EQ((std::vector{f.min, f.mean, f.p50, f.p99, f.p999, f.max}),
            (std::vector<double>{1.5, 4, 3, 5, 41, 2000}));
  r.execution.overflow = 1'000'000;
  EXPECT_EQ(FiguresOf(r.execution).p50, 2000) << "beyond the histogram";
  r.execution.max = 2'100;
  EXPECT_EQ(FiguresOf(r.execution).p50, 2.1) << "never above the maximum";
  r.missed = 3;
  EXPECT_EQ(VerdictOn(r), "missed 3 periods");
  r.lacks = task_timing::kNoPriority | task_timing::kDeepSleep;
  EXPECT_EQ(VerdictOn(r),
            "missed 3 periods; degraded: no real-time priority, processors may sleep deeply");
  EXPECT_EQ(VerdictOn({}), "no cycle yet");
}

TEST(TimingFigures, AreToldFromRecordsOfAllKinds) {
  TempRoot root;
  root.MakeAreas();
  const auto timing = [](const std::string& option, int status, const std::string& words) {
    const Outcome outcome = RunProgram("vekctl", {"timing", option});
    EXPECT_EQ(outcome.status, status) << words;
    EXPECT_NE((outcome.out + outcome.err).find(words), std::string::npos)
        << words << ": " << outcome.out << outcome.err;
  };
  timing("--json", 1, "/var/RTVEK.timing: is not there");
  Record ended = Sample(), killed = ended, other = ended, garbage = ended;
  killed.running = killed.sequence = 1;
  other.version = 2;
  std::memset(&garbage.lacks, 0xff, sizeof garbage - offsetof(Record, lacks));
  const std::tuple<Record*, const char*, int, const char*> kCases[] = {
      {&ended, "--json=0", 0, "RTVEK ended, 0 cycles"},
      {&ended, "--reset", 1, "does not run: the figures stay"},
      {&killed, "--json", 0, "\"state\":\"standing still\""},
      {&other, "--json", 1, "has version 2, not 1"},
      {&garbage, "--json", 0, "\"p99.9\":"}};
  for (const auto& [record, option, status, words] : kCases) {
    root.Write("/var/RTVEK.timing", {reinterpret_cast<const char*>(record), sizeof *record});
    timing(option, status, words);
  }
  ChildProcess vek("vek");
  ASSERT_TRUE(vek.WaitForText("VekTask is working"));
  timing("--reset", 0, "RTVEK running, ");
  vek.Signal(SIGINT);
  EXPECT_EQ(vek.Wait(), 0);
  timing("--json", 0, "\"state\":\"ended\"");
}

}  // namespace
