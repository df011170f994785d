// A log message on its way from the thread that logs it to the one that writes it.
#pragma once

#include <ctime>

#include <cstdint>

#include "platform/standalone/log_arguments.h"

namespace logging {

enum class Level : std::uint8_t { kInfo, kWarn, kError };
// What begins the text: nothing, "[user N] " or "platform: ".
enum class Origin : std::uint8_t { kFree, kUser, kPlatform };

struct Record {
  const char* format = nullptr;
  std::timespec stamp{};  // of the calendar
  int code = 0;           // of a user message
  Level level = Level::kInfo;
  Origin origin = Origin::kFree;
  PackedArguments arguments;
};

}  // namespace logging
