// A position frame as it is computed, and its packed form in the rings.
#pragma once

#include <array>
#include <cstdint>

#include "vek/shared_areas.h"

// One value an axis, aligned: packed members are never computed with.
using Axes = std::array<double, AREA_AXES>;

struct Frame {
  std::uint32_t stream_flag = 0;  // 0 in the first frame after entry into POSITION, else 1
  Axes pos{};                     // ju
  Axes vel{};                     // ju/s
  Axes dt_out{};                  // the generator's third output
};

PvtFrame PackFrame(const Frame& frame);
Frame UnpackFrame(const PvtFrame& packed);
