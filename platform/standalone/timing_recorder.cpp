#include "platform/standalone/timing_recorder.h"

#include "platform/standalone/host_root.h"
#include "platform/task_timing.h"

namespace real_time {
namespace {

using task_timing::Record;
using task_timing::Series;

constexpr RTIME kNsPerBin = 1000;
constexpr std::size_t kWakeUp = offsetof(Record, wake_up);
constexpr std::size_t kExecution = offsetof(Record, execution);
constexpr Series kEmptySeries{};

void* at(void* record, std::size_t offset) {
  return static_cast<unsigned char*>(record) + offset;
}

void add(void* base, shared::Field<std::uint64_t> field, std::uint64_t amount,
         std::size_t index = 0) {
  shared::store(base, field, shared::load(base, field, index) + amount, index);
}

void add_time(void* series, RTIME time, std::uint64_t cycle) {
  constexpr auto kMin = SHARED_FIELD(Series, min);
  constexpr auto kMax = SHARED_FIELD(Series, max);
  const bool first = shared::load(series, SHARED_FIELD(Series, count)) == 0;
  add(series, SHARED_FIELD(Series, count), 1);
  add(series, SHARED_FIELD(Series, sum), time);
  shared::store(series, SHARED_FIELD(Series, last), time);
  if (first || time < shared::load(series, kMin)) shared::store(series, kMin, time);
  if (first || time > shared::load(series, kMax)) {
    shared::store(series, kMax, time);
    shared::store(series, SHARED_FIELD(Series, max_cycle), cycle);
  }
  const RTIME bin = time / kNsPerBin;
  if (bin < task_timing::kBins) {
    add(series, SHARED_FIELD(Series, bin), 1, static_cast<std::size_t>(bin));
  } else {
    add(series, SHARED_FIELD(Series, overflow), 1);
  }
}

void clear_figures(void* record) {
  shared::store(record, SHARED_FIELD(Record, missed), 0);
  shared::store(record, SHARED_FIELD(Record, late), 0);
  for (const std::size_t series : {kWakeUp, kExecution}) {
    shared::write_bytes(at(record, series), &kEmptySeries, sizeof kEmptySeries);
  }
}

}  // namespace

void TimingRecorder::Open(const char* task) {
  const auto path = task_timing::PathOf(task, standalone::has_root());
  if (!file_.OnOpen(path.data(), sizeof(Record))) return;
  record_ = file_.OnGetAddr();
  // Whoever still watches the record of an earlier task finds none until this one is whole.
  shared::store_release(record_, SHARED_FIELD(Record, magic), 0);
  shared::store(record_, SHARED_FIELD(Record, version), task_timing::kVersion);
  shared::store(record_, SHARED_FIELD(Record, sequence), 0);
  shared::store(record_, SHARED_FIELD(Record, running), 1);
  shared::store(record_, SHARED_FIELD(Record, lacks), 0);
  shared::store(record_, SHARED_FIELD(Record, period), 0);
  shared::store(record_, SHARED_FIELD(Record, cycles), 0);
  clear_figures(record_);
  resets_done_ = shared::load(record_, SHARED_FIELD(Record, reset_request));
  shared::store(record_, SHARED_FIELD(Record, resets_done), resets_done_);
  shared::store_release(record_, SHARED_FIELD(Record, magic), task_timing::kMagic);
}

void TimingRecorder::Close() {
  if (record_ != nullptr) shared::store_release(record_, SHARED_FIELD(Record, running), 0);
  record_ = nullptr;
  file_.OnClose();
}

void TimingRecorder::SetLacks(std::uint32_t lacks) {
  if (record_ != nullptr) shared::store(record_, SHARED_FIELD(Record, lacks), lacks);
}

void TimingRecorder::BeginCycle(const Wake& wake) {
  wake_ = wake;
  in_cycle_ = record_ != nullptr;
}

void TimingRecorder::EndCycle(RTIME now) {
  if (!in_cycle_) return;
  in_cycle_ = false;
  constexpr auto kSequence = SHARED_FIELD(Record, sequence);
  // An exchange, because what follows must not become visible before a mere store.
  shared::replace(record_, kSequence, sequence_, sequence_ + 1);
  FulfilReset();
  const std::uint64_t cycle = cycles_ + 1;
  cycles_ = cycle + wake_.overruns;
  shared::store(record_, SHARED_FIELD(Record, period), wake_.period);
  shared::store(record_, SHARED_FIELD(Record, cycles), cycles_);
  add(record_, SHARED_FIELD(Record, missed), wake_.overruns);
  if (wake_.waited) {
    add_time(at(record_, kWakeUp), wake_.now - wake_.release, cycle);
  } else {
    add(record_, SHARED_FIELD(Record, late), 1);
  }
  add_time(at(record_, kExecution), now - wake_.now, cycle);
  sequence_ += 2;
  shared::store_release(record_, kSequence, sequence_);
}

void TimingRecorder::FulfilReset() {
  const std::uint32_t request = shared::load_acquire(record_, SHARED_FIELD(Record, reset_request));
  if (request == resets_done_) return;
  clear_figures(record_);
  resets_done_ = request;
  shared::store(record_, SHARED_FIELD(Record, resets_done), request);
}

}  // namespace real_time
