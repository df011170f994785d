// Input shaper: blends each outgoing position with two delayed ones, so that a configured vibration
// cancels itself.
#pragma once

#include <cstdint>

#include "platform/shared_memory.h"
#include "vek/frame.h"
#include "vek/shared_areas.h"

// Real-time task only; real-time safe. Before the first OnArm all weights are 0, and so is every
// position that is blended then.
class InputShaper {
 public:
  // Size of the ring: 358 frames, so delays of up to as many.
  static constexpr long kRingBytes = 71680;

  // Takes delay and weights from the body's ISFrequency, ISThreshold and ISDamp and empties the
  // ring of unshaped frames; nothing when the frequency is 0.
  void OnArm(const CfgConfig* cfg, CACB& ring);
  // Keeps the frame in the ring and, once that holds a delay's worth of frames, blends the frame's
  // positions; nothing when the frequency is 0. `name` begins the messages.
  void OnShape(const CfgConfig* cfg, CACB& ring, const char* name, Frame& frame);

 private:
  void Blend(Frame& frame) const;

  std::int32_t vib_num_[2]{};  // delay in frames, and half of it
  double a_[3]{};              // weights of the frame now, half the delay back, the delay back
  PvtFrame pvt_frame_166_{};   // half the delay back
  PvtFrame pvt_frame_332_{};   // the delay back
};
