#include <cinttypes>
#include <cstdio>

#include "tools/json.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"
#include "tools/vekctl/timing_figures.h"

namespace {

using task_timing::Record;

constexpr const char* kTask = "RTVEK";
constexpr int kAttempts = 100;
constexpr std::chrono::seconds kPatience{1};

// Polls until `condition` holds; false when it does not for too long.
template <class Condition>
bool ComesTrue(Condition condition) {
  for (const auto start = Clock::now(); !condition(); ShortPause()) {
    if (Clock::now() - start > kPatience) return false;
  }
  return true;
}

class TimingFile {
 public:
  explicit TimingFile(bool rooted) {
    const auto path = task_timing::PathOf(kTask, rooted);
    CheckMappable(path.data(), sizeof(Record),
                  "is not there; the task makes it when it starts, if its folder exists");
    if (!file_.OnOpen(path.data(), sizeof(Record))) Fail(path.data(), ": cannot be mapped");
    record_ = file_.OnGetAddr();
    const auto magic = shared::load_acquire(record_, SHARED_FIELD(Record, magic));
    const auto version = shared::load(record_, SHARED_FIELD(Record, version));
    if (magic != task_timing::kMagic) Fail(path.data(), ": is no timing record");
    if (version != task_timing::kVersion) {
      Fail(path.data(), ": has version ", version, ", not ", task_timing::kVersion);
    }
  }

  // A task that was killed in the middle of writing leaves a record that never gets whole.
  void Read(Record& copy) const {
    for (int k = 0; k < kAttempts && !task_timing::ReadWhole(record_, copy); ++k) ShortPause();
  }

  const char* State() const {
    if (shared::load_acquire(record_, SHARED_FIELD(Record, running)) == 0) return "ended";
    const auto cycles = [this] { return shared::load(record_, SHARED_FIELD(Record, cycles)); };
    const std::uint64_t before = cycles();
    return ComesTrue([&] { return cycles() != before; }) ? "running" : "standing still";
  }

  // A Failure unless the task does it.
  void Reset() const {
    const auto done = SHARED_FIELD(Record, resets_done);
    const std::uint32_t request = shared::load(record_, done) + 1;
    shared::store_release(record_, SHARED_FIELD(Record, reset_request), request);
    if (!ComesTrue([&] { return shared::load_acquire(record_, done) == request; })) {
      Fail(kTask, " does not run: the figures stay");
    }
  }

 private:
  KShm file_;
  void* record_ = nullptr;
};

void PrintSeries(const char* name, const task_timing::Series& series, std::uint64_t period_ns) {
  const TimingFigures f = FiguresOf(series);
  std::printf("%-10s %8.1f %8.1f %8.1f %8.1f %6.0f %6.0f %6.0f %8" PRIu64, name, f.last, f.min,
              f.mean, f.max, f.p50, f.p99, f.p999, f.overflow);
  const auto due_s = static_cast<double>(f.max_cycle) * static_cast<double>(period_ns) / 1e9;
  std::printf("   in cycle %" PRIu64 ", %.3f s after the start\n", f.max_cycle, due_s);
}

void PrintText(const Record& record, const char* state) {
  std::printf("%s %s, %" PRIu64 " cycles of %g us\n", kTask, state, record.cycles,
              static_cast<double>(record.period) / 1e3);
  std::printf("%-10s %8s %8s %8s %8s %6s %6s %6s %8s   %s\n", "us", "last", "min", "mean", "max",
              "p50", "p99", "p99.9", ">=1000", "the max was");
  PrintSeries("wake-up", record.wake_up, record.period);
  PrintSeries("execution", record.execution, record.period);
  std::printf("missed periods %" PRIu64 ", cycles begun late %" PRIu64 "\n", record.missed,
              record.late);
  std::printf("verdict: %s\n", VerdictOn(record).c_str());
}

std::string SeriesJson(const task_timing::Series& series) {
  const TimingFigures f = FiguresOf(series);
  std::vector<std::string> bins;
  for (std::size_t k = 0; k < std::size(series.bin); ++k) {
    if (series.bin[k] > 0) bins.push_back(Text('[', k, ',', series.bin[k], ']'));
  }
  const auto number = [](double us) {
    std::string text;
    AppendDouble(text, us);
    return text;
  };
  return JsonObject()
      .Add("count", std::to_string(f.count))
      .Add("last", number(f.last))
      .Add("min", number(f.min))
      .Add("mean", number(f.mean))
      .Add("max", number(f.max))
      .Add("max_cycle", std::to_string(f.max_cycle))
      .Add("p50", number(f.p50))
      .Add("p99", number(f.p99))
      .Add("p99.9", number(f.p999))
      .Add("overflow", std::to_string(f.overflow))
      .Add("histogram", JsonList(bins))
      .Text();
}

void PrintJson(const Record& record, const char* state) {
  std::vector<std::string> lacks;
  for (const std::string& lack : LacksOf(record)) lacks.push_back(JsonText(lack));
  const std::string text = JsonObject()
                               .Add("task", JsonText(kTask))
                               .Add("state", JsonText(state))
                               .Add("period_ns", std::to_string(record.period))
                               .Add("cycles", std::to_string(record.cycles))
                               .Add("missed", std::to_string(record.missed))
                               .Add("late", std::to_string(record.late))
                               .Add("lacks", JsonList(lacks))
                               .Add("verdict", JsonText(VerdictOn(record)))
                               .Add("wake_up_us", SeriesJson(record.wake_up))
                               .Add("execution_us", SeriesJson(record.execution))
                               .Text();
  std::puts(text.c_str());
}

}  // namespace

int RunTiming(const TimingOptions& options) {
  SettleRoot(options.root);
  const TimingFile file(!options.root.host);
  const char* const state = file.State();
  Record record;
  file.Read(record);
  (options.json ? PrintJson : PrintText)(record, state);
  if (options.reset) file.Reset();
  return 0;
}
