#include "platform/standalone/log_catalogue.h"

#include <array>
#include <cstddef>

namespace logging {
namespace {

// By code. A null entry is a code that nothing uses.
constexpr std::array<const char*, 31> kFormats = {
    /*  0 */ "The robot description robot.ini cannot be loaded",
    /*  1 */ "Section %s of robot.ini is unknown or its number is out of range",
    /*  2 */ "Parameter not found: section %s, key %s",
    /*  3 */ "Device %s cannot be opened",
    /*  4 */ "Gyro type %d is not supported",
    /*  5 */ nullptr,
    /*  6 */ "Gyro reading is frozen: check the sensor and its cable",
    /*  7 */ "Set parameter: %s is not a full parameter name (section.key)",
    /*  8 */ "Set parameter: failed for section %s, key %s",
    /*  9 */ "Get parameter: %s is not a full parameter name (section.key)",
    /* 10 */ "Get parameter: failed for section %s, key %s",
    /* 11 */ "The robot description robot.ini cannot be saved",
    /* 12 */ "The controller reboots in 3 seconds",
    /* 13 */ "Interface versions do not match: controller %d, client %d",
    /* 14 */ "Invalid argument: %s",
    /* 15 */ "The system time cannot be set",
    /* 16 */ nullptr,
    /* 17 */ "File %s cannot be written",
    /* 18 */ "The network address cannot be read",
    /* 19 */ "%s is busy with an earlier servo command, %s is rejected",
    /* 20 */ "%s: servo command %s failed",
    /* 21 */ "Stop input is active or cannot be read: arms, head and body are sent to POSITION",
    /* 22 */ "%s: errors are reset",
    /* 23 */ "%s: soft limit disable is set to %d",
    /* 24 */ "%s: brakes are locked, axis mask 0x%08x",
    /* 25 */ "%s: brakes are unlocked, axis mask 0x%08x",
    /* 26 */ "%s: single-turn encoder values are reset, axis mask 0x%08x",
    /* 27 */ "%s: multi-turn encoder values are reset, axis mask 0x%08x",
    /* 28 */ "%s: encoder offsets are reset and saved, axis mask 0x%08x",
    /* 29 */ "%s: encoder errors are cleared, axis mask 0x%08x",
    /* 30 */ "%s: offset of sensor %d is set",
};

}  // namespace

const char* user_message_format(int code) {
  if (code < 0 || static_cast<std::size_t>(code) >= kFormats.size()) return nullptr;
  return kFormats[static_cast<std::size_t>(code)];
}

}  // namespace logging
