#include "tools/drusim/gyro_feed.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/host.h"
#include "tools/failure.h"

namespace fs = std::filesystem;

namespace {

constexpr char kLinkPath[] = "/dev/ttyUSB0";
constexpr std::int64_t kFramePeriod_ns = 10'000'000;

// Each value rises by `step` a frame for half a period and falls again. With noise of at most
// kNoise either way, the third one differs from frame to frame by 0.0002 m/s^2 and more: a gyro
// whose third value changes by less than 0.0001 counts as frozen.
struct Wave {
  int centre, step, period;
};
constexpr Wave kWaves[] = {{-120'000, 300, 140}, {80'000, 200, 180}, {9'810'000, 400, 100},
                           {1'500, 40, 120},     {-800, 30, 160},    {2'200, 50, 200}};
constexpr int kNoise = 100;

int ValueAt(const Wave& wave, std::uint32_t step) {
  const int phase = static_cast<int>(step % static_cast<std::uint32_t>(wave.period));
  const int rise = std::min(phase, wave.period - phase);
  return wave.centre + wave.step * (rise - wave.period / 4);
}

constexpr std::size_t kHead = 5;     // sync, counter, length of what follows
constexpr std::size_t kRecord = 14;  // id, length, three numbers
using FrameBytes = std::array<unsigned char, kHead + 2 * kRecord + 2>;

FrameBytes MakeFrame(std::uint32_t counter, const std::array<std::int32_t, 6>& values) {
  FrameBytes frame{0x59, 0x53, static_cast<unsigned char>(counter),
                   static_cast<unsigned char>(counter >> 8), 2 * kRecord};
  std::size_t at = kHead;
  for (std::size_t k = 0; k < values.size(); ++k) {
    if (k % 3 == 0) {
      frame[at++] = k == 0 ? 0x10 : 0x20;
      frame[at++] = kRecord - 2;
    }
    const auto bits = static_cast<std::uint32_t>(values[k]);
    for (int shift = 0; shift < 32; shift += 8) {
      frame[at++] = static_cast<unsigned char>(bits >> shift);
    }
  }
  unsigned ck1 = 0;
  unsigned ck2 = 0;
  for (std::size_t k = 2; k < at; ++k) {
    ck1 += frame[k];
    ck2 += ck1;
  }
  frame[at] = static_cast<unsigned char>(ck1);
  frame[at + 1] = static_cast<unsigned char>(ck2);
  return frame;
}

// Bytes arrive as they are sent, and none comes back.
bool SetRaw(int fd) {
  termios settings{};
  if (tcgetattr(fd, &settings) != 0) return false;
  cfmakeraw(&settings);
  return tcsetattr(fd, TCSANOW, &settings) == 0;
}

// A link into /dev/pts is one of ours that a killed run has left.
bool IsLeftOver(const fs::path& link) {
  std::error_code ignored;
  return fs::read_symlink(link, ignored).string().starts_with("/dev/pts/");
}

}  // namespace

GyroFeed::GyroFeed() : link_(host_path(kLinkPath)) {
  std::error_code error;
  if (IsLeftOver(link_)) fs::remove(link_, error);
  if (fs::exists(fs::symlink_status(link_, error))) Fail(kLinkPath, ": is there already");
  near_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (near_ >= 0 && grantpt(near_) == 0 && unlockpt(near_) == 0) {
    device_ = ptsname(near_);
    far_ = open(device_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  if (far_ < 0 || !SetRaw(far_)) Fail("no pseudo-terminal for the gyro: ", std::strerror(errno));
  fs::create_symlink(device_, link_, error);
  if (error) Fail(kLinkPath, ": ", error.message());
}

GyroFeed::~GyroFeed() {
  std::error_code ignored;
  if (fs::read_symlink(link_, ignored) == device_) fs::remove(link_, ignored);
  close(far_);
  close(near_);
}

void GyroFeed::OnCycle(std::int64_t time_ns) {
  if (time_ns < next_ns_) return;
  next_ns_ = time_ns - time_ns % kFramePeriod_ns + kFramePeriod_ns;
  if (!connected_) return;
  if (!frozen_) Change();
  const FrameBytes frame = MakeFrame(step_, values_);
  // A full line takes a part or nothing, as a wire with no reader does.
  [[maybe_unused]] const ssize_t written = write(near_, frame.data(), frame.size());
}

void GyroFeed::Change() {
  ++step_;
  for (std::size_t k = 0; k < values_.size(); ++k) {
    noise_ = noise_ * 1664525 + 1013904223;
    const int noise = static_cast<int>(noise_ >> 16) % (2 * kNoise + 1) - kNoise;
    values_[k] = ValueAt(kWaves[k], step_) + noise;
  }
}
