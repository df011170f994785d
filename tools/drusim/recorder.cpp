#include "tools/drusim/recorder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "tools/failure.h"
#include "tools/frames_csv.h"

namespace {

constexpr std::uint32_t kRows = 8192;  // eight seconds of a 1 kHz cycle; a power of two
constexpr std::size_t kWriteBytes = 1 << 16;

}  // namespace

Recorder::Recorder(std::string file, std::vector<const GroupRow*> groups)
    : file_(std::move(file)), groups_(std::move(groups)), rows_(kRows) {
  out_ = std::fopen(file_.c_str(), "wb");
  if (out_ == nullptr) FailUsage(file_, ": ", std::strerror(errno));
  text_ = FramesHeader(groups_);
  thread_ = std::thread(&Recorder::Run, this);
}

Recorder::~Recorder() {
  Finish();
}

void Recorder::Take(const GroupRow& group, const Frame& frame) {
  const auto at = std::find(groups_.begin(), groups_.end(), &group);
  if (at == groups_.end()) return;
  const auto k = static_cast<std::size_t>(at - groups_.begin());
  row_.frames[k] = frame;
  row_.groups |= 1U << k;
}

void Recorder::EndCycle(std::int64_t time_ns) {
  if (row_.groups == 0) return;
  row_.time_ns = time_ns;
  const std::uint32_t written = written_.load(std::memory_order_relaxed);
  if (!HasRoom()) {
    ++lost_;
  } else {
    rows_[written % kRows] = row_;
    written_.store(written + 1, std::memory_order_release);
  }
  row_.groups = 0;
}

bool Recorder::HasRoom() const {
  return written_.load(std::memory_order_relaxed) - taken_.load(std::memory_order_acquire) != kRows;
}

void Recorder::AwaitRoom() const {
  while (!HasRoom()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void Recorder::Run() {
  for (;;) {
    // Asked before the rows are taken: what came before the request is written.
    const bool last = stop_.load(std::memory_order_acquire);
    std::uint32_t taken = taken_.load(std::memory_order_relaxed);
    while (taken != written_.load(std::memory_order_acquire)) {
      AppendRow(rows_[taken % kRows]);
      taken_.store(++taken, std::memory_order_release);
    }
    WriteText();
    if (last) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

void Recorder::AppendRow(const Row& row) {
  std::vector<const Frame*> frames;
  for (std::size_t k = 0; k < groups_.size(); ++k) {
    frames.push_back((row.groups >> k & 1U) != 0 ? &row.frames[k] : nullptr);
  }
  AppendFramesRow(text_, static_cast<double>(row.time_ns) / 1e9, frames);
  if (text_.size() >= kWriteBytes) WriteText();
}

void Recorder::WriteText() {
  failed_ = failed_ || std::fwrite(text_.data(), 1, text_.size(), out_) != text_.size();
  text_.clear();
}

std::string Recorder::Finish() {
  if (!thread_.joinable()) return {};
  stop_.store(true, std::memory_order_release);
  thread_.join();
  failed_ = std::fclose(out_) != 0 || failed_;
  if (failed_) return Text(file_, ": the recording could not be written");
  if (lost_ > 0) return Text(file_, ": ", lost_, " rows were lost, the disk was too slow");
  return {};
}
