// A position frame, unpacked.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "platform/shared_access.h"
#include "vek/shared_areas.h"

using Axes = std::array<double, AREA_AXES>;

struct Frame {
  std::uint32_t stream_flag = 0;
  Axes pos{};
  Axes vel{};
  Axes out{};
};

// Whether two frames are the same, bit for bit.
inline bool SameFrame(const Frame& a, const Frame& b) {
  return a.stream_flag == b.stream_flag && std::memcmp(&a.pos, &b.pos, sizeof a.pos) == 0 &&
         std::memcmp(&a.vel, &b.vel, sizeof a.vel) == 0 &&
         std::memcmp(&a.out, &b.out, sizeof a.out) == 0;
}

inline Frame UnpackFrame(const unsigned char* packed) {
  Frame frame;
  frame.stream_flag = shared::load(packed, SHARED_FIELD(PvtFrame, stream_flag));
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    frame.pos[j] = shared::load(packed, SHARED_FIELD(PvtFrame, pos), j);
    frame.vel[j] = shared::load(packed, SHARED_FIELD(PvtFrame, vel), j);
    frame.out[j] = shared::load(packed, SHARED_FIELD(PvtFrame, dt_out), j);
  }
  return frame;
}
