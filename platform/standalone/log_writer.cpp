#include "platform/standalone/log_writer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace logging {
namespace {

// How long a reader of standard error may make the log wait, once.
constexpr int kStallTimeoutMs = 50;

// A standard stream that was closed before the start would hand its number to the next file that is
// opened, an area for instance, and messages would go there. So the numbers are taken at load time.
bool occupy_standard_streams() {
  for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
    // The lowest free number is given: `fd` itself.
    if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) return false;
  }
  return true;
}
const bool g_standard_streams_occupied = occupy_standard_streams();

// Keeps a write to a closed pipe from ending the process, whatever thread it is done from.
class SigpipeShield {
 public:
  SigpipeShield() {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_);
  }
  ~SigpipeShield() {
    const std::timespec at_once{};
    if (!was_pending_) sigtimedwait(&sigpipe_, nullptr, &at_once);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  SigpipeShield(const SigpipeShield&) = delete;
  SigpipeShield& operator=(const SigpipeShield&) = delete;

 private:
  sigset_t sigpipe_{};
  sigset_t before_{};
  bool was_pending_ = false;
};

// Whether standard error is the stream that the journal says it has connected (device:inode).
bool stderr_is_journal() {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) return false;
  std::array<char, 48> own;
  std::snprintf(own.data(), own.size(), "%llu:%llu", static_cast<unsigned long long>(status.st_dev),
                static_cast<unsigned long long>(status.st_ino));
  return std::strcmp(stream, own.data()) == 0;
}

struct LevelTexts {
  std::string_view name;    // padded to five
  std::string_view prefix;  // the journal's
};

LevelTexts texts_of(Level level) {
  switch (level) {
    case Level::kError:
      return {"ERROR", "<3>"};
    case Level::kWarn:
      return {"WARN ", "<4>"};
    default:
      return {"INFO ", "<6>"};
  }
}

// A line under way. The longest one, every byte of it escaped, fits a pipe's atomic write.
class Line {
 public:
  void Add(std::string_view text) {
    const std::size_t length = std::min(text.size(), bytes_.size() - size_);
    std::memcpy(bytes_.data() + size_, text.data(), length);
    size_ += length;
  }

  // Control characters become \xHH, so that the line stays one.
  void AddEscaped(std::string_view text) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte >= 0x20 && byte != 0x7f) {
        Add({&c, 1});
      } else {
        const char escape[] = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
        Add({escape, sizeof escape});
      }
    }
  }

  void AddLocalTime(const std::timespec& stamp) {
    std::tm local{};
    localtime_r(&stamp.tv_sec, &local);
    std::array<char, 32> text;
    Add({text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &local)});
    std::snprintf(text.data(), text.size(), "%06ld ", static_cast<long>(stamp.tv_nsec / 1000));
    Add(text.data());
  }

  const char* data() const { return bytes_.data(); }
  std::size_t size() const { return size_; }

 private:
  static constexpr std::size_t kLongestHead =
      sizeof "<4>2026-11-21 12:00:00.123456 ERROR platform: ";
  static_assert(kLongestHead + 4 * kTextLimit + sizeof "...\n" <= PIPE_BUF);

  std::array<char, PIPE_BUF> bytes_;
  std::size_t size_ = 0;
};

void add_origin(Line& line, const Record& record) {
  if (record.origin == Origin::kPlatform) line.Add("platform: ");
  if (record.origin == Origin::kUser) {
    std::array<char, 24> text;
    std::snprintf(text.data(), text.size(), "[user %d] ", record.code);
    line.Add(text.data());
  }
}

}  // namespace

bool LineSink::Write(const char* line, std::size_t size) {
  if (fd_ < 0) return false;
  pollfd writable{.fd = fd_, .events = POLLOUT, .revents = 0};
  stalled_ = poll(&writable, 1, stalled_ ? 0 : kStallTimeoutMs) == 0;
  if (stalled_) return false;
  for (std::size_t written = 0; written < size;) {
    const ssize_t count = write(fd_, line + written, size - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    written += static_cast<std::size_t>(count);
  }
  return true;
}

bool LogWriter::Open(const char* file) {
  stderr_.Attach(g_standard_streams_occupied ? STDERR_FILENO : -1);
  journal_ = stderr_is_journal();
  if (file == nullptr) return true;
  // Non-blocking only for a FIFO's sake: without a reader it is no log.
  const int fd = open(file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0644);
  file_.Attach(fd);
  return fd >= 0;
}

void LogWriter::Close() {
  if (file_.fd() >= 0) close(file_.fd());
  file_.Attach(-1);
}

bool LogWriter::Write(const Record& record) {
  const auto [level, prefix] = texts_of(record.level);
  std::array<char, kTextCapacity> text;
  const std::size_t length = render(text.data(), record.format, record.arguments);
  Line line;
  line.Add(prefix);
  line.AddLocalTime(record.stamp);
  line.Add(level);
  line.Add(" ");
  add_origin(line, record);
  line.AddEscaped({text.data(), length});
  line.Add("\n");

  const SigpipeShield shield;
  const std::size_t skipped = journal_ ? 0 : prefix.size();
  const bool shown = stderr_.Write(line.data() + skipped, line.size() - skipped);
  const bool kept = file_.Write(line.data() + prefix.size(), line.size() - prefix.size());
  return shown || kept;
}

}  // namespace logging
