// Where the log's lines go: standard error, and the file that VEK_LOG names.
#pragma once

#include <cstddef>

#include "platform/standalone/log_record.h"

namespace logging {

// A file descriptor that takes lines. A reader that stands still costs it lines, not time.
class LineSink {
 public:
  void Attach(int fd) { *this = LineSink(fd); }
  int fd() const { return fd_; }
  // False when the line could not be written.
  bool Write(const char* line, std::size_t size);

  constexpr LineSink() = default;

 private:
  explicit LineSink(int fd) : fd_(fd) {}

  int fd_ = -1;
  bool stalled_ = false;
};

// One thread at a time; nothing allocates, nothing fails but the writing itself. SIGPIPE stays
// without effect.
class LogWriter {
 public:
  // Takes up standard error, and appends to `file` unless that is null; false when it cannot be
  // opened.
  bool Open(const char* file);
  void Close();
  // Writes the line of a message; false when neither place took it.
  bool Write(const Record& record);

 private:
  LineSink stderr_;
  LineSink file_;
  bool journal_ = false;  // standard error goes to the journal, which knows levels by a prefix
};

}  // namespace logging
