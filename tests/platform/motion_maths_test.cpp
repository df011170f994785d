#include "platform/motion_maths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double kDt = 0.001;
using Axes = std::array<double, kMathsAxes>;

Axes All(double value) {
  Axes axes;
  axes.fill(value);
  return axes;
}

struct Generator {
  ZQNSyncDTS state;
  Axes pos{}, vel{}, acc{};

  explicit Generator(double dt_ms = 1000 * kDt) {
    const Axes v = All(1), a = All(10);
    EXPECT_TRUE(ZQNSyncDTS_OnInit(&state, 8, dt_ms, v.data(), a.data(), a.data()));
  }
  void Step(const Axes& target, int count = 1) {
    for (; count > 0; --count) ZQNSyncDTS_OnDT2(&state, &target[0], &pos[0], &vel[0], &acc[0]);
  }
};

struct Order {
  int at;  // the step from which it counts
  double target, vel_limit, acc_limit;
};

struct Move {
  double start;
  std::vector<Order> orders;
  double seconds;  // from the last order to rest, within 4 steps; < 0: not known
  int turns;       // changes of direction, at most
};

// Makes the move with one axis, while the others stand, until it has rested for a second. Judges it
// by its positions alone.
void Drive(const Move& move, std::size_t axis) {
  Generator generator;
  Axes target = All(7.7), vel_limit = All(1), acc_limit = All(10);
  target[axis] = move.start;
  ZQNSyncDTS_OnDT(&generator.state, target.data(), generator.pos.data());
  double speed = 0, direction = 0;
  int step = 0, rest_steps = 0, turns = 0;
  for (auto next = move.orders.begin(); next != move.orders.end() || rest_steps < 1000; ++step) {
    ASSERT_LT(step, 2000000) << "no rest";
    if (next != move.orders.end() && next->at == step) {
      target[axis] = next->target;
      vel_limit[axis] = next->vel_limit;
      acc_limit[axis] = next->acc_limit;
      ZQNSyncDTS_OnSetRunTimeLmt(&generator.state, vel_limit.data(), acc_limit.data());
      ++next;
    }
    const double from = generator.pos[axis], before = speed, change = acc_limit[axis] * kDt;
    generator.Step(target);
    speed = (generator.pos[axis] - from) / kDt;
    ASSERT_LE(std::abs(speed - before), change * (1 + 1e-9)) << step;
    // Too fast is only what is braking as hard as it may.
    const double braked = std::abs(before) - change * (1 - 1e-6);
    ASSERT_LE(std::abs(speed), std::max(vel_limit[axis], braked) * (1 + 1e-14)) << step;
    ASSERT_TRUE(generator.vel[axis] == speed && generator.acc[axis] == (speed - before) / kDt);
    rest_steps = speed == 0 ? rest_steps + 1 : 0;
    turns += speed * direction < 0 ? 1 : 0;
    if (speed != 0) direction = std::copysign(1, speed);
  }
  EXPECT_EQ(generator.pos, target);
  EXPECT_LE(turns, move.turns);
  if (move.seconds < 0) return;
  EXPECT_NEAR(step - rest_steps - move.orders.back().at, move.seconds / kDt, 4);
}

TEST(ProfileGenerator, ArrivesInTheLeastTimeWithinItsLimits) {
  const Move moves[] = {
      {0, {{0, 1, 2, 10}}, 0.7, 0},                        // reaches the velocity limit
      {1, {{0, 0, 3, 8}}, 2 * std::sqrt(1.0 / 8), 0},      // is never at full speed
      {3, {{0, 3.000000001, 3, 10}}, 0.001, 0},            // less than one step
      {0, {{0, 0.01, 0.004, 20}}, 2.5, 0},                 // one step to full speed
      {2000, {{0, 2500, 100, 400}}, 5.25, 0},              // coarse positions
      {0, {{0, 2, 0.5, 10}, {500, 2, 2, 10}}, 1.0375, 0},  // faster on the way
      {0, {{0, 2, 2, 10}, {500, 2, 0.5, 10}}, 2.2, 0},     // slower on the way
      {0, {{0, 1, 2, 10}, {300, -1, 2, 10}}, 1.2, 1},      // back
      {0, {{0, 1, 2, 10}, {550, 1, 2, 5}}, 0.6, 1},        // too weak to stop in time
  };
  for (const Move& move : moves) {
    SCOPED_TRACE(&move - moves);
    Drive(move, kMathsAxes - 1);
  }
}

TEST(ProfileGenerator, KeepsItsLimitsWhateverIsOrdered) {
  std::mt19937 random(7);
  const auto uniform = [&](double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(random);
  };
  for (std::size_t k = 0; k < 300 && !HasFailure(); ++k) {
    SCOPED_TRACE(k);
    Move move{uniform(-3, 3), {}, -1, 1000};
    const double longest = std::pow(10, uniform(0, 3.3));  // steps between orders
    for (int at = 0; move.orders.size() < 20; at += 1 + static_cast<int>(uniform(0, longest))) {
      const double vel_limit = std::pow(10, uniform(-1.3, 1));
      move.orders.push_back({at, uniform(-3, 3), vel_limit, std::pow(10, uniform(-1, 2))});
    }
    Drive(move, k % kMathsAxes);
  }
}

TEST(MotionMaths, NothingNonFiniteComesOut) {
  std::mt19937 random(11);
  const double hostile[] = {0,    -0.0,    1,        -1,       5e-324,    DBL_MIN, -1e-160,
                            1e16, DBL_MAX, -DBL_MAX, INFINITY, -INFINITY, NAN};
  const auto any = [&] { return All(hostile[random() % std::size(hostile)]); };
  for (const double dt_ms : {1e-97, 1e-20, 1.0, 1e20, 1e103}) {
    Generator g(dt_ms);
    ZQAVGF filter;
    ASSERT_TRUE(ZQAVGF_OnInit(&filter, 8, 1 + static_cast<long>(random() % 30), dt_ms));
    for (int k = 0; k < 20000; ++k) {
      if (random() % 3 == 0) ZQNSyncDTS_OnSetRunTimeLmt(&g.state, any().data(), any().data());
      if (random() % 50 == 0) ZQNSyncDTS_OnEmpty(&g.state);
      g.Step(any(), 1 + static_cast<int>(random() % 5));
      Axes mean, vel;
      ZQAVGF_OnFilt(&filter, any().data(), mean.data(), vel.data());
      for (const double x : {g.pos[7], g.vel[7], g.acc[7], mean[7], vel[7]}) {
        ASSERT_TRUE(std::isfinite(x)) << k;
      }
    }
  }
}

// Against a fresh mean; with samples that would spoil a running sum for good.
TEST(AveragingFilter, IsExactOverAMillionSamples) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> position(-3, 3);
  std::vector<double> samples(1000000);
  ZQAVGF state;
  ASSERT_TRUE(ZQAVGF_OnInit(&state, 8, 30, kDt));
  for (std::size_t k = 0, first = 0; k < samples.size(); ++k) {
    const bool same = k % 1000 > 900;
    samples[k] = same ? samples[k - 1] : position(random) * (k % 5000 == 0 ? 1e15 : 1);
    if (k == 5500) ZQAVGF_OnEmpty(&state);
    first = k == 5500 ? k : first;
    Axes frame{}, vel;
    frame[7] = same && k % 3 == 0 ? NAN : samples[k];
    ZQAVGF_OnFilt(&state, frame.data(), frame.data(), vel.data());
    const auto ago = [&](std::size_t i) { return samples[k - std::min(i, k - first)]; };
    long double sum = 0;
    for (std::size_t i = 0; i < 30; ++i) sum += ago(i);
    const double expected = static_cast<double>(sum / 30);
    ASSERT_NEAR(frame[7], expected, 1e-12 + 1e-15 * std::abs(expected)) << k;
    ASSERT_DOUBLE_EQ(vel[7], (samples[k] - ago(30)) / 0.03) << k;
    ASSERT_TRUE(k % 1000 <= 930 || (frame[7] == samples[k] && vel[7] == 0)) << k;
    ASSERT_TRUE(frame[0] == 0 && vel[0] == 0);
  }
}

}  // namespace
