// How a tool gives up: one line on standard error and an exit status.
#pragma once

#include <stdexcept>
#include <string>

#include "tools/text.h"

inline constexpr int kStatusFailed = 1;  // what was asked for did not come about
inline constexpr int kStatusUsage = 2;   // a wrong argument, or a wrong file given as one

class Failure : public std::runtime_error {
 public:
  Failure(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

template <class... Parts>
[[noreturn]] void FailUsage(const Parts&... parts) {
  throw Failure(kStatusUsage, Text(parts...));
}
template <class... Parts>
[[noreturn]] void Fail(const Parts&... parts) {
  throw Failure(kStatusFailed, Text(parts...));
}

// Runs a tool and gives the exit status. A Failure ends in one line on standard error and its
// status, anything else that is thrown in status 1.
int RunTool(const char* name, int (*tool)(int argc, char** argv), int argc, char** argv) noexcept;
