// The floor: the cycle's arithmetic as plain loops over the axes, with nothing around it. No
// states, no checks, no shared areas: what any implementation has to spend. Written to be fast.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "vek/frame.h"

// The law of the profile generator, with constant limits.
struct BareTracker {
  // Speed limits u/s, acceleration limits u/s^2, one step in s; at rest at 0.
  void Init(std::size_t axis_count, const double* vel_limit, const double* acc_limit,
            double period_s);
  void Step(const double* target);

  Axes pos{};
  Axes vel{};
  Axes acc{};

 private:
  std::size_t axes_ = 0;
  double rate_hz_ = 0;
  Axes h_{};      // speed that a step can add, u/s
  Axes per_h_{};  // 1 / h
  Axes q_{};      // h * period
  Axes per_q_{};
  Axes top_{};  // speed limit in h
};

// The mean of thirty samples and its velocity.
struct BareMean {
  void Step(std::size_t axes, const double* in);

  Axes pos{};
  Axes vel{};

 private:
  static constexpr std::size_t kTaps = 30;
  Axes ring_[kTaps]{};
  Axes sum_{};
  std::size_t oldest_ = 0;
};

// The quartic through five waypoints, twenty samples an interval, and the ten-tap mean of them.
struct BareCut {
  static constexpr std::size_t kSamples = 20;

  // Takes the next waypoint.
  void Cut(std::size_t axes, const float* waypoint);

  Axes block[kSamples]{};

 private:
  void Fit(std::size_t axes, const float* waypoint);

  static constexpr std::size_t kTaps = 10;
  Axes span_[5]{};
  Axes coef_[4]{};
  Axes ring_[kTaps]{};
  Axes sum_{};
  std::size_t oldest_ = 0;
};

// A ring as towards the servo task, for one thread.
class BareRing {
 public:
  bool Write(const Axes& pos, const Axes& vel, const Axes& out);
  void Empty() { read_ = write_; }

 private:
  std::size_t write_ = 0;
  std::size_t read_ = 0;
  std::array<unsigned char, AREA_RING_CAPACITY> bytes_{};
};

// Three frames for each of the five groups.
class FloorCycle {
 public:
  FloorCycle();
  void Run();

 private:
  struct Group {
    std::size_t axes = 0;
    std::vector<std::array<float, AREA_WAYPOINT_FLOATS>> waypoints;  // none: stays where it is
    std::size_t next_waypoint = 0;
    std::size_t sample = 0;
    Axes target{};
    BareCut cut;
    BareTracker tracker;
    BareMean mean;
    BareRing ring;
  };
  std::array<Group, AREA_GROUPS> groups_;
};
