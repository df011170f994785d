#include "platform/motion_maths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDt = 0.001;
using Axes = std::array<double, kMathsAxes>;

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

std::string Text(const Move& move) {
  char text[128];
  std::snprintf(text, sizeof text, "{%.17g, {", move.start);
  std::string all = text;
  for (const Order& o : move.orders) {
    std::snprintf(text, sizeof text, "{%d, %.17g, %.17g, %.17g}, ", o.at, o.target, o.vel, o.acc);
    all += text;
  }
  std::snprintf(text, sizeof text, "}, %g, %d}", move.seconds, move.turns);
  return all + text;
}

// Judges one axis by its positions alone.
class FrameChecker {
 public:
  explicit FrameChecker(double start) : pos_(start) {}

  void Step(double pos, double vel_limit, double acc_limit) {
    const double vel = (pos - pos_) / kDt;
    const double change = acc_limit * kDt;
    ASSERT_TRUE(std::isfinite(pos));
    ASSERT_LE(std::abs(vel - vel_), change * (1 + 1e-9));
    // Too fast is only what is braking as hard as it may.
    ASSERT_LE(std::abs(vel),
              std::max(vel_limit, std::abs(vel_) - change * (1 - 1e-6)) * (1 + 1e-14));
    if (vel != 0 && direction_ != 0 && std::signbit(vel) != std::signbit(direction_)) ++turns;
    if (vel != 0) direction_ = vel;
    rest_steps = vel == 0 ? rest_steps + 1 : 0;
    pos_ = pos;
    vel_ = vel;
  }

  int turns = 0;
  int rest_steps = 0;  // steps without motion up to now

 private:
  double pos_;
  double vel_ = 0;
  double direction_ = 0;
};

// Makes the move with one axis, mirrored or not, while the others stand; until it has rested for a
// second.
void Drive(const Move& move, int axis, double sign) {
  SCOPED_TRACE(Text(move) + " axis " + std::to_string(axis) + (sign < 0 ? " mirrored" : ""));
  const Axes zero{};
  ZQNSyncDTS state;
  ASSERT_TRUE(
      ZQNSyncDTS_OnInit(&state, kMathsAxes, kDt * 1000, zero.data(), zero.data(), zero.data()));
  Axes target, pos, vel{}, acc, vel_limit, acc_limit;
  target.fill(7.7);
  vel_limit.fill(1);
  acc_limit.fill(10);
  target[axis] = sign * move.start;
  ZQNSyncDTS_OnDT(&state, target.data(), pos.data());
  ASSERT_EQ(pos, target);

  FrameChecker checker(pos[axis]);
  Axes goal = target;
  auto next = move.orders.begin();
  int step = 0;
  for (; next != move.orders.end() || checker.rest_steps < 1000; ++step) {
    ASSERT_LT(step, 2000000) << "no rest";
    if (next != move.orders.end() && next->at == step) {
      target[axis] = sign * next->target;
      if (std::isfinite(target[axis])) goal[axis] = target[axis];
      vel_limit[axis] = next->vel;
      acc_limit[axis] = next->acc;
      ZQNSyncDTS_OnSetRunTimeLmt(&state, vel_limit.data(), acc_limit.data());
      ++next;
    }
    const Axes before = pos;
    const Axes vel_before = vel;
    ZQNSyncDTS_OnDT2(&state, target.data(), pos.data(), vel.data(), acc.data());
    ASSERT_NO_FATAL_FAILURE(checker.Step(pos[axis], vel_limit[axis], acc_limit[axis])) << step;
    ASSERT_EQ(vel[axis], (pos[axis] - before[axis]) / kDt);
    ASSERT_EQ(acc[axis], (vel[axis] - vel_before[axis]) / kDt);
  }
  EXPECT_EQ(pos, goal);
  EXPECT_LE(checker.turns, move.turns);
  if (move.seconds < 0) return;
  const int moving = step - checker.rest_steps - move.orders.back().at;
  EXPECT_NEAR(moving, move.seconds / kDt, 4);
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
      {0, {{0, 1, 2, 10}, {550, kNan, 2, 5}}, 0.6, 1},     // the last finite target holds
  };
  for (const Move& move : moves) {
    for (const int axis : {0, kMathsAxes - 1}) {
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
  for (int k = 0; k < 300 && !::testing::Test::HasFailure(); ++k) {
    Move move{uniform(-3, 3), {}, -1, 1000};
    const double longest = std::pow(10, uniform(0, 3.3));  // steps between orders
    for (int at = 0; move.orders.size() < 20; at += 1 + static_cast<int>(uniform(0, longest))) {
      move.orders.push_back(
          {at, uniform(-3, 3), std::pow(10, uniform(-1.3, 1)), std::pow(10, uniform(-1, 2))});
    }
    Drive(move, k % kMathsAxes, 1);
  }
}

struct Generator {
  ZQNSyncDTS state;
  Axes pos{}, vel{}, acc{};

  Generator(double vel_limit, double acc_limit, double dt_ms = 1) {
    Axes v, a;
    v.fill(vel_limit);
    a.fill(acc_limit);
    ZQNSyncDTS_OnInit(&state, kMathsAxes, dt_ms, v.data(), a.data(), a.data());
  }
  void Place(double target) { ZQNSyncDTS_OnDT(&state, All(target).data(), pos.data()); }
  void Steps(int count, double target) {
    for (int k = 0; k < count; ++k) {
      ZQNSyncDTS_OnDT2(&state, All(target).data(), pos.data(), vel.data(), acc.data());
    }
  }
  static Axes All(double value) {
    Axes axes;
    axes.fill(value);
    return axes;
  }
};

TEST(ProfileGenerator, InvalidLimitsAreZeroAndStopTheAxis) {
  for (const double none : {0.0, -1.0, kNan, kInf, -kInf}) {
    for (const bool no_vel : {true, false}) {
      Generator still(no_vel ? none : 1, no_vel ? 10 : none);
      still.Place(0.25);
      still.Steps(100, 1);
      EXPECT_EQ(still.pos, Generator::All(0.25));
      Generator moving(1, 10);
      moving.Place(0);
      moving.Steps(200, 5);
      const double from = moving.pos[7];
      (no_vel ? ZQNSyncDTS_OnSetRunTimeVel : ZQNSyncDTS_OnSetRunTimeAcc)(
          &moving.state, Generator::All(none).data());
      moving.Steps(90, 5);
      EXPECT_NEAR(moving.acc[7], -10, 1e-6);
      moving.Steps(12, 5);
      EXPECT_EQ(moving.vel[7], 0);
      EXPECT_NEAR(moving.pos[7] - from, 0.05, 0.001);
    }
  }
}

TEST(ProfileGenerator, PlacesAtRestAndHoldsFiniteTargets) {
  Generator g(1, 10);
  g.Place(kNan);
  EXPECT_EQ(g.pos, Axes{});
  g.Steps(50, 3);
  g.Place(2);
  g.Steps(1, kInf);
  EXPECT_EQ(g.pos, Generator::All(2));
  EXPECT_EQ(g.vel, Axes{});
  g.Steps(50, 3);
  ZQNSyncDTS_OnEmpty(&g.state);
  g.Steps(1, -1);  // places
  EXPECT_EQ(g.pos, Generator::All(-1));
  EXPECT_EQ(g.vel, Axes{});
}

TEST(ProfileGenerator, RefusesWhatItCannotRun) {
  const Axes limits = Generator::All(1);
  const auto init = [&](ZQNSyncDTS& s, long axes, double dt_ms) {
    return ZQNSyncDTS_OnInit(&s, axes, dt_ms, limits.data(), limits.data(), limits.data());
  };
  ZQNSyncDTS state;
  for (const long axes : {0L, -1L, 9L, std::numeric_limits<long>::max()}) {
    EXPECT_FALSE(init(state, axes, 1));
  }
  for (const double dt_ms : {0.0, -1.0, kNan, kInf, 5e-324}) {
    ASSERT_TRUE(init(state, 8, 1));
    EXPECT_FALSE(init(state, 8, dt_ms));
    Axes pos = limits, vel = limits, acc = limits;
    ZQNSyncDTS_OnDT(&state, Axes{}.data(), pos.data());
    ZQNSyncDTS_OnDT2(&state, Axes{}.data(), pos.data(), vel.data(), acc.data());
    EXPECT_TRUE(pos == limits && vel == limits && acc == limits);
  }
}

constexpr double kHostile[] = {0.0,  -0.0,  1.0,      -1.0,    5e-324, DBL_MIN, 1e-300, -1e-160,
                               1e16, 1e150, -DBL_MAX, DBL_MAX, kInf,   -kInf,   kNan};

TEST(ProfileGenerator, NothingNonFiniteComesOut) {
  std::mt19937 random(11);
  const auto any = [&] { return kHostile[random() % std::size(kHostile)]; };
  for (const double dt_ms : {1e-97, 1e-20, 1.0, 1e20, 1e103}) {
    Generator g(1, 10, dt_ms);
    ASSERT_EQ(g.state.axes, kMathsAxes);
    for (int k = 0; k < 20000; ++k) {
      if (random() % 4 == 0) ZQNSyncDTS_OnSetRunTimeVel(&g.state, Generator::All(any()).data());
      if (random() % 4 == 0) ZQNSyncDTS_OnSetRunTimeAcc(&g.state, Generator::All(any()).data());
      if (random() % 50 == 0) g.Place(any());
      g.Steps(1 + static_cast<int>(random() % 5), any());
      ASSERT_TRUE(std::isfinite(g.pos[0]) && std::isfinite(g.vel[0]) && std::isfinite(g.acc[0]))
          << k;
    }
  }
}

TEST(AveragingFilter, AgreesWithAFreshMeanOverAMillionSamples) {
  constexpr int kCount = 1000000;
  std::mt19937 random(3);
  std::uniform_real_distribution<double> position(-3, 3);
  std::vector<double> samples(kCount);
  // With stretches of the same sample, and values that would spoil a running sum for good.
  for (int k = 0; k < kCount; ++k) {
    samples[k] =
        k % 1000 < 100 && k > 0 ? samples[k - 1] : position(random) * (k % 5000 == 0 ? 1e15 : 1);
  }
  ZQAVGF state;
  ASSERT_TRUE(ZQAVGF_OnInit(&state, 8, 30, kDt));
  for (int k = 0; k < kCount; ++k) {
    Axes frame{}, vel;
    frame[7] = samples[k];
    ZQAVGF_OnFilt(&state, frame.data(), frame.data(), vel.data());
    long double sum = 0;
    bool same = true;
    for (int i = k - 29; i <= k; ++i) {
      sum += samples[std::max(i, 0)];
      same = same && samples[std::max(i, 0)] == samples[k];
    }
    const double oldest = samples[std::max(k - 30, 0)];
    const double expected = static_cast<double>(sum / 30);
    ASSERT_NEAR(frame[7], expected, 1e-12 + 1e-15 * std::abs(expected)) << k;
    ASSERT_DOUBLE_EQ(vel[7], (samples[k] - oldest) / 0.03) << k;
    ASSERT_TRUE(!same || frame[7] == samples[k]) << k;
    ASSERT_TRUE(frame[0] == 0 && vel[0] == 0);
  }
}

TEST(AveragingFilter, SurvivesHostileValuesAndSizes) {
  ZQAVGF state{};
  Axes out = Generator::All(1), vel = out;
  for (const auto& [axes, window, period_s] : {std::tuple{0L, 30L, kDt},
                                               {9L, 30L, kDt},
                                               {8L, 0L, kDt},
                                               {8L, 31L, kDt},
                                               {8L, 30L, 0.0},
                                               {8L, 30L, -kDt},
                                               {8L, 30L, kNan},
                                               {8L, 30L, kInf}}) {
    EXPECT_FALSE(ZQAVGF_OnInit(&state, axes, window, period_s));
    ZQAVGF_OnFilt(&state, Axes{}.data(), out.data(), vel.data());
    EXPECT_TRUE(out == Generator::All(1) && vel == out);
  }
  std::mt19937 random(5);
  double last = 0;
  for (const long window : {1L, 2L, 30L}) {
    ASSERT_TRUE(ZQAVGF_OnInit(&state, 8, window, kDt));
    last = 0;
    for (int k = 0; k < 20000; ++k) {
      if (random() % 100 == 0) ZQAVGF_OnEmpty(&state);
      const double sample = kHostile[random() % std::size(kHostile)];
      if (std::isfinite(sample)) last = sample;
      ZQAVGF_OnFilt(&state, Generator::All(sample).data(), out.data(), vel.data());
      ASSERT_TRUE(std::isfinite(out[7]) && std::isfinite(vel[7]));
      ASSERT_TRUE(window > 1 || out[7] == last);
    }
  }
  ZQAVGF_OnEmpty(&state);
  ZQAVGF_OnFilt(&state, Generator::All(kNan).data(), out.data(), vel.data());
  EXPECT_EQ(out, Generator::All(last));
  EXPECT_EQ(vel, Axes{});
}

TEST(SquareRoot, IsZeroForWhatIsNotPositive) {
  EXPECT_EQ(ZQ_Sqrt(2.25), 1.5);
  for (const double x : {0.0, -0.0, -1.0, -kInf, kNan}) EXPECT_EQ(ZQ_Sqrt(x), 0);
}

}  // namespace
