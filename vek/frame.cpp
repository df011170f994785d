#include "vek/frame.h"

#include <cstring>

PvtFrame PackFrame(const Frame& frame) {
  PvtFrame packed;
  packed.stream_flag = frame.stream_flag;
  std::memcpy(packed.pos, frame.pos.data(), sizeof packed.pos);
  std::memcpy(packed.vel, frame.vel.data(), sizeof packed.vel);
  std::memcpy(packed.dt_out, frame.dt_out.data(), sizeof packed.dt_out);
  return packed;
}

Frame UnpackFrame(const PvtFrame& packed) {
  Frame frame;
  frame.stream_flag = packed.stream_flag;
  std::memcpy(frame.pos.data(), packed.pos, sizeof packed.pos);
  std::memcpy(frame.vel.data(), packed.vel, sizeof packed.vel);
  std::memcpy(frame.dt_out.data(), packed.dt_out, sizeof packed.dt_out);
  return frame;
}
