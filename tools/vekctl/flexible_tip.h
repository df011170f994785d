// A simulated flexible body: a tip that hangs on a moved axis by a damped spring.
#pragma once

#include <cstddef>
#include <vector>

struct Vibration {
  double frequency_hz = 0;  // at which the tip really swings: of the damped vibration
  double damping = 0;       // ratio, 0 or more and below 1
};

struct TipMotion {
  std::vector<double> deviation;  // of the tip from the axis at each sample, in the axis's unit
  bool moves = false;
  std::size_t end = 0;  // the first sample at which the axis stands still for good
  double residual = 0;  // amplitude of the vibration from there on, before it decays
};

// What the tip does while the axis moves through `axis`, samples `period_s` apart, in straight
// lines from one to the next. The tip's equation is solved exactly, so that the result does not
// depend on a step length. At the first sample both stand still.
TipMotion SimulateTip(const std::vector<double>& axis, double period_s, const Vibration& vibration);
