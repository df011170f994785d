// A profile generator with what goes in and comes out, and a judge of one axis' positions.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/motion_maths.h"

using AxisValues = std::array<double, kMathsAxes>;

inline AxisValues Everywhere(double value) {
  AxisValues axes;
  axes.fill(value);
  return axes;
}

struct Generator {
  double period_s;
  ZQNSyncDTS state{};
  AxisValues target{}, vel_limit = Everywhere(1), acc_limit = Everywhere(10);
  AxisValues pos{}, vel{}, acc{};

  explicit Generator(double dt_ms = 1, long axes = kMathsAxes) : period_s(dt_ms / 1000) {
    EXPECT_TRUE(ZQNSyncDTS_OnInit(&state, axes, dt_ms, vel_limit.data(), acc_limit.data(),
                                  acc_limit.data()));
  }
  void SetLimits() { ZQNSyncDTS_OnSetRunTimeLmt(&state, vel_limit.data(), acc_limit.data()); }
  void Place() { ZQNSyncDTS_OnDT(&state, target.data(), pos.data()); }
  void Step(int count = 1) {
    for (; count > 0; --count) {
      ZQNSyncDTS_OnDT2(&state, target.data(), pos.data(), vel.data(), acc.data());
    }
  }
};

// What a servo can check: positions, and their differences over the period.
struct Judge {
  double period_s;
  double pos;
  double brake;  // what the axis may brake with: the acceleration limit, unless that was lowered
  double vel = 0;
  double acc = 0;

  // Takes the position of a step under these limits; what is wrong with it, or null. Too fast is
  // only what does not brake by its limit at least.
  const char* Fault(double next, double target, double vel_limit, double acc_limit) {
    // A lowered acceleration governs once the axis can stop with it before the target.
    const double size = std::max(std::abs(pos), std::abs(next));
    const double room = (target - pos) * std::copysign(1, vel) - 1e-12 * size;
    const double way = StoppingWay(acc_limit);
    const bool can_stop = way == 0 || way <= room;
    brake = can_stop ? acc_limit : std::max(brake, acc_limit);

    const double ulp_speed = (std::nextafter(size, INFINITY) - size) / period_s;
    const double before = vel;
    vel = (next - pos) / period_s;
    acc = (vel - before) / period_s;
    pos = next;
    const bool brakes = vel * before >= 0 && std::abs(vel) < std::abs(before);
    const double most = (brakes ? brake : acc_limit) * (1 + 1e-9);
    if (!(std::abs(acc) <= most + 8 * ulp_speed / period_s)) return "acceleration";
    const double braked = std::abs(before) - acc_limit * period_s * (1 - 1e-9);
    const double fastest = std::max(vel_limit * (1 + 1e-9), braked);
    return std::abs(vel) <= fastest + 2 * ulp_speed ? nullptr : "speed";
  }
  // The way to rest under a limit: v - h + v - 2h + ... once a period.
  double StoppingWay(double acc_limit) const {
    const double h = acc_limit * period_s;
    if (std::abs(vel) <= h) return 0;
    const double v = std::abs(vel) / h;
    const double n = std::floor(v);
    return (n * v - n * (n + 1) / 2) * h * period_s;
  }
};
