#include "tools/drusim/control.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/drusim/actions.h"
#include "tools/failure.h"

namespace {

constexpr std::size_t kLongestLine = 4096;

}  // namespace

ControlPipe::ControlPipe(std::string path) : path_(std::move(path)) {
  if (mkfifo(path_.c_str(), 0600) != 0 && !std::filesystem::is_fifo(path_)) {
    FailUsage("--control ", path_, ": ", std::strerror(errno));
  }
  // Opened both ways, it does not end when a writer goes.
  fd_ = open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd_ < 0) FailUsage("--control ", path_, ": ", std::strerror(errno));
}

ControlPipe::~ControlPipe() {
  close(fd_);
  unlink(path_.c_str());
}

void ControlPipe::OnCycle(Robot& robot) {
  char bytes[kLongestLine];
  const ssize_t count = read(fd_, bytes, sizeof bytes);
  if (count <= 0) return;
  text_.append(bytes, static_cast<std::size_t>(count));
  std::string_view rest = text_;
  for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;) {
    Perform(rest.substr(0, end), robot);
    rest.remove_prefix(end + 1);
  }
  if (rest.size() > kLongestLine) {
    std::fprintf(stderr, "drusim: control: a line of more than %zu bytes\n", kLongestLine);
    rest = {};
  }
  text_ = std::string(rest);
}

void ControlPipe::Perform(std::string_view line, Robot& robot) const {
  try {
    auto words = ActionWords(line);
    if (!words.empty()) ParseAction(std::move(words), "")(robot);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "drusim: control: %s\n", error.what());
  }
}
