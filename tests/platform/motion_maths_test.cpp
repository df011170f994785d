#include "platform/motion_maths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDt = 0.001;
constexpr double kHostile[] = {0.0,  -0.0,  1.0,      -1.0,    5e-324, DBL_MIN, 1e-300, -1e-160,
                               1e16, 1e150, -DBL_MAX, DBL_MAX, kInf,   -kInf,   kNan};
using Axes = std::array<double, kMathsAxes>;

Axes All(double value) {
  Axes axes;
  axes.fill(value);
  return axes;
}

struct Generator {
  ZQNSyncDTS state;
  Axes pos{}, vel{}, acc{};

  explicit Generator(double vel_limit = 1, double acc_limit = 10, double dt_ms = 1000 * kDt) {
    const Axes v = All(vel_limit), a = All(acc_limit);
    EXPECT_TRUE(ZQNSyncDTS_OnInit(&state, kMathsAxes, dt_ms, v.data(), a.data(), a.data()));
  }
  void Place(const Axes& target) { ZQNSyncDTS_OnDT(&state, target.data(), pos.data()); }
  void Step(const Axes& target, int count = 1) {
    for (; count > 0; --count) {
      ZQNSyncDTS_OnDT2(&state, target.data(), pos.data(), vel.data(), acc.data());
    }
  }
};

// From step `at` on: a target, a velocity and an acceleration limit.
struct Order {
  int at;
  double target, vel, acc;
};

struct Move {
  double start;
  std::vector<Order> orders;
  double seconds;  // from the last order to rest, within 4 steps; < 0: not known
  int turns;       // changes of direction, at most
};

// As a row of a table of moves.
std::string Text(const Move& move) {
  std::ostringstream text;
  text.precision(17);
  text << "{" << move.start << ", {";
  for (const Order& o : move.orders) {
    text << "{" << o.at << ", " << o.target << ", " << o.vel << ", " << o.acc << "}, ";
  }
  text << "}, " << move.seconds << ", " << move.turns << "}";
  return text.str();
}

// Judges an axis by its positions alone.
struct FrameChecker {
  double pos = 0;
  double vel = 0;
  double direction = 0;  // sign of the last motion
  int turns = 0;
  int rest_steps = 0;  // without motion up to now

  void Step(double next, double vel_limit, double acc_limit) {
    const double speed = (next - pos) / kDt;
    const double change = acc_limit * kDt;
    ASSERT_LE(std::abs(speed - vel), change * (1 + 1e-9));
    // Too fast is only what is braking as hard as it may.
    ASSERT_LE(std::abs(speed),
              std::max(vel_limit, std::abs(vel) - change * (1 - 1e-6)) * (1 + 1e-14));
    rest_steps = speed == 0 ? rest_steps + 1 : 0;
    if (speed * direction < 0) ++turns;
    if (speed != 0) direction = std::copysign(1, speed);
    pos = next;
    vel = speed;
  }
};

// Makes the move with one axis, mirrored or not, while the others stand; until it has rested for a
// second.
void Drive(const Move& move, std::size_t axis, double sign) {
  SCOPED_TRACE(Text(move) + " axis " + std::to_string(axis) + (sign < 0 ? " mirrored" : ""));
  Generator generator;
  Axes target = All(7.7), vel_limit = All(1), acc_limit = All(10);
  target[axis] = sign * move.start;
  generator.Place(target);
  ASSERT_EQ(generator.pos, target);
  FrameChecker checker;
  checker.pos = target[axis];
  auto next = move.orders.begin();
  int step = 0;
  for (; next != move.orders.end() || checker.rest_steps < 1000; ++step) {
    ASSERT_LT(step, 2000000) << "no rest";
    if (next != move.orders.end() && next->at == step) {
      target[axis] = sign * next->target;
      vel_limit[axis] = next->vel;
      acc_limit[axis] = next->acc;
      ZQNSyncDTS_OnSetRunTimeLmt(&generator.state, vel_limit.data(), acc_limit.data());
      ++next;
    }
    const double vel_before = checker.vel;
    generator.Step(target);
    ASSERT_NO_FATAL_FAILURE(checker.Step(generator.pos[axis], vel_limit[axis], acc_limit[axis]))
        << step;
    ASSERT_EQ(generator.vel[axis], checker.vel);
    ASSERT_EQ(generator.acc[axis], (checker.vel - vel_before) / kDt);
  }
  EXPECT_EQ(generator.pos, target);
  EXPECT_LE(checker.turns, move.turns);
  if (move.seconds < 0) return;
  EXPECT_NEAR(step - checker.rest_steps - move.orders.back().at, move.seconds / kDt, 4);
}

TEST(ProfileGenerator, ArrivesInTheLeastTimeWithinItsLimits) {
  const Move moves[] = {
      {0, {{0, 1, 2, 10}}, 0.7, 0},                        // reaches the velocity limit
      {0, {{0, 1, 3, 8}}, 2 * std::sqrt(1.0 / 8), 0},      // does not
      {-3, {{0, 3, 4, 20}}, 1.7, 0},                       // through 0
      {1.5, {{0, 1.50001, 3, 10}}, 0.001, 0},              // one step
      {3, {{0, 3.000000001, 3, 10}}, 0.001, 0},            // less than one
      {1, {{0, 1, 1, 1}}, 0, 0},                           // none
      {0, {{0, 0.3, 0.03, 0.08}}, 10.375, 0},              // slow
      {0, {{0, 0.01, 0.004, 20}}, 2.5, 0},                 // one step to full speed
      {2000, {{0, 2500, 100, 400}}, 5.25, 0},              // coarse positions
      {0, {{0, 2, 0.5, 10}, {500, 2, 2, 10}}, 1.0375, 0},  // faster on the way
      {0, {{0, 2, 2, 10}, {500, 2, 0.5, 10}}, 2.2, 0},     // slower on the way
      {0, {{0, 1, 2, 10}, {300, -1, 2, 10}}, 1.2, 1},      // back
      {0, {{0, 1, 2, 10}, {550, 1, 2, 5}}, 0.6, 1},        // too weak to stop in time
  };
  for (const Move& move : moves) {
    for (const std::size_t axis : {0u, kMathsAxes - 1u}) {
      Drive(move, axis, 1);
      Drive(move, axis, -1);
    }
  }
}

TEST(ProfileGenerator, KeepsItsLimitsWhateverIsOrdered) {
  std::mt19937 random(7);
  const auto uniform = [&](double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(random);
  };
  for (std::size_t k = 0; k < 300 && !HasFailure(); ++k) {
    Move move{uniform(-3, 3), {}, -1, 1000};
    const double longest = std::pow(10, uniform(0, 3.3));  // steps between orders
    for (int at = 0; move.orders.size() < 20; at += 1 + static_cast<int>(uniform(0, longest))) {
      move.orders.push_back(
          {at, uniform(-3, 3), std::pow(10, uniform(-1.3, 1)), std::pow(10, uniform(-1, 2))});
    }
    Drive(move, k % kMathsAxes, 1);
  }
}

TEST(ProfileGenerator, AnInvalidLimitIsZeroAndStopsTheAxis) {
  for (const double none : {0.0, -1.0, kNan, kInf, -kInf}) {
    for (const auto set : {ZQNSyncDTS_OnSetRunTimeVel, ZQNSyncDTS_OnSetRunTimeAcc}) {
      Generator g;
      g.Step(All(0));
      g.Step(All(5), 200);
      const double from = g.pos[7];
      set(&g.state, All(none).data());
      g.Step(All(5), 90);
      EXPECT_NEAR(g.acc[7], -10, 1e-6);
      g.Step(All(5), 12);
      EXPECT_NEAR(g.pos[7] - from, 0.05, 0.001);
      const Axes there = g.pos;
      g.Step(All(5), 100);
      EXPECT_EQ(g.pos, there);
    }
  }
}

TEST(ProfileGenerator, PlacesAtRestAndHoldsTheLastFiniteTarget) {
  Generator g;
  g.Place(All(kNan));
  EXPECT_EQ(g.pos, All(0));
  g.Step(All(3), 50);
  g.Step(All(kInf), 5000);
  EXPECT_EQ(g.pos, All(3));
  g.Step(All(9), 50);
  g.Place(All(2));
  g.Step(All(kNan));
  EXPECT_TRUE(g.pos == All(2) && g.vel == All(0));
  g.Step(All(3), 50);
  ZQNSyncDTS_OnEmpty(&g.state);
  g.Step(All(-1));
  EXPECT_TRUE(g.pos == All(-1) && g.vel == All(0));
}

TEST(ProfileGenerator, NothingNonFiniteComesOut) {
  std::mt19937 random(11);
  const auto any = [&] { return All(kHostile[random() % std::size(kHostile)]); };
  for (const double dt_ms : {1e-97, 1e-20, 1.0, 1e20, 1e103}) {
    Generator g(1, 10, dt_ms);
    for (int k = 0; k < 20000; ++k) {
      if (random() % 4 == 0) ZQNSyncDTS_OnSetRunTimeVel(&g.state, any().data());
      if (random() % 4 == 0) ZQNSyncDTS_OnSetRunTimeAcc(&g.state, any().data());
      if (random() % 50 == 0) g.Place(any());
      g.Step(any(), 1 + static_cast<int>(random() % 5));
      for (const double x : {g.pos[7], g.vel[7], g.acc[7]}) ASSERT_TRUE(std::isfinite(x)) << k;
    }
  }
}

TEST(AveragingFilter, AgreesWithAFreshMeanOverAMillionSamples) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> position(-3, 3);
  std::vector<double> samples(1000000);
  // With stretches of the same sample, and values that would spoil a running sum for good.
  for (std::size_t k = 0; k < samples.size(); ++k) {
    const bool same = k % 1000 > 900;
    samples[k] = same ? samples[k - 1] : position(random) * (k % 5000 == 0 ? 1e15 : 1);
  }
  ZQAVGF state;
  ASSERT_TRUE(ZQAVGF_OnInit(&state, 8, 30, kDt));
  for (std::size_t k = 0; k < samples.size(); ++k) {
    Axes frame{}, vel;
    frame[7] = samples[k];
    ZQAVGF_OnFilt(&state, frame.data(), frame.data(), vel.data());
    long double sum = 0;
    for (std::size_t i = 0; i < 30; ++i) sum += samples[k - std::min(i, k)];
    const double expected = static_cast<double>(sum / 30);
    ASSERT_NEAR(frame[7], expected, 1e-12 + 1e-15 * std::abs(expected)) << k;
    ASSERT_DOUBLE_EQ(vel[7], (samples[k] - samples[k - std::min<std::size_t>(30, k)]) / 0.03) << k;
    ASSERT_TRUE(k % 1000 <= 930 || (frame[7] == samples[k] && vel[7] == 0)) << k;
    ASSERT_TRUE(frame[0] == 0 && vel[0] == 0);
  }
}

TEST(AveragingFilter, HoldsTheLastFiniteSample) {
  std::mt19937 random(5);
  ZQAVGF state;
  for (const long window : {1L, 2L, 30L}) {
    ASSERT_TRUE(ZQAVGF_OnInit(&state, 8, window, kDt));
    Axes out, vel;
    double last = 0;
    for (int k = 0; k < 20000; ++k) {
      const double sample = kHostile[random() % std::size(kHostile)];
      if (std::isfinite(sample)) last = sample;
      const bool fills = random() % 100 == 0;
      if (fills) ZQAVGF_OnEmpty(&state);
      ZQAVGF_OnFilt(&state, All(sample).data(), out.data(), vel.data());
      ASSERT_TRUE(std::isfinite(out[7]) && std::isfinite(vel[7]));
      ASSERT_TRUE(out[7] == last || (window > 1 && !fills));
    }
  }
}

TEST(MotionMaths, RefusesWhatItCannotRunAndThenDoesNothing) {
  constexpr long kLongMax = std::numeric_limits<long>::max();
  const Axes limits = All(1);
  ZQNSyncDTS generator;
  ZQAVGF filter;
  const auto init = [&](long axes, long window, double dt) {
    const bool g = ZQNSyncDTS_OnInit(&generator, axes, dt, &limits[0], &limits[0], &limits[0]);
    return std::pair(g, ZQAVGF_OnInit(&filter, axes, window, dt));
  };
  for (const long window : {0L, -1L, 31L, kLongMax})
    EXPECT_EQ(init(8, window, 1), std::pair(true, false));
  for (const long axes : {0L, -1L, 9L, kLongMax})
    EXPECT_EQ(init(axes, 30, 1), std::pair(false, false));
  for (const double dt : {0.0, -1.0, kNan, kInf}) {
    ASSERT_EQ(init(8, 30, 1), std::pair(true, true));
    EXPECT_EQ(init(8, 30, dt), std::pair(false, false));
    Axes pos = All(4), vel = All(5), acc = All(6);
    ZQNSyncDTS_OnDT(&generator, limits.data(), pos.data());
    ZQNSyncDTS_OnDT2(&generator, limits.data(), pos.data(), vel.data(), acc.data());
    ZQAVGF_OnFilt(&filter, limits.data(), pos.data(), vel.data());
    EXPECT_TRUE(pos == All(4) && vel == All(5) && acc == All(6));
  }
  EXPECT_EQ(ZQ_Sqrt(2.25), 1.5);
  for (const double x : {0.0, -0.0, -1.0, -kInf, kNan}) EXPECT_EQ(ZQ_Sqrt(x), 0);
}

}  // namespace
