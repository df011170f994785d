#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "platform/motion_maths.h"

namespace {

constexpr long kWindow = 30;
using AxisValues = double[kMathsAxes];

// A fresh mean and its velocity.
struct Fresh {
  double samples[kWindow + 1];  // the newest first
  bool empty = true, equal = true;
  double mean = 0, vel = 0;

  void Take(double sample) {
    if (empty) std::fill(std::begin(samples), std::end(samples), sample);
    std::copy_backward(samples, samples + kWindow, samples + kWindow + 1);
    samples[0] = sample;
    empty = false;
    double sum = 0;
    equal = true;
    for (int k = 0; k < kWindow; ++k) {
      sum += samples[k];
      equal = equal && samples[k] == sample;
    }
    mean = equal ? sample : sum / kWindow;
    vel = equal ? 0 : (sample - samples[kWindow]) / 0.03;
  }
};

// Ten million samples: a walk with rests, gaps, restarts and, at times, a sample that would spoil a
// running sum for good. It may for two windows: until it has left, and the sum is a new one.
TEST(AveragingFilter, NeverDrifts) {
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> step(-1e-3, 1e-3);
  ZQAVGF state;
  ASSERT_TRUE(ZQAVGF_OnInit(&state, 7, kWindow, 0.001));
  Fresh fresh;
  double pos = 0;
  long spoilt_until = -1;
  for (long k = 0; k < 10000000; ++k) {
    const bool rests = k % 1000 > 900;
    const bool gap = rests && k % 7 == 0;
    if (!rests) pos += step(random);
    const bool spoils = k % 50000 == 20000;
    if (spoils) spoilt_until = k + 2 * kWindow;
    fresh.empty = k % 70000 == 0;
    if (fresh.empty) ZQAVGF_OnEmpty(&state);
    fresh.Take(spoils ? 1e15 : pos);
    AxisValues frame = {0, 0, 0, 0, 0, 0, gap ? NAN : fresh.samples[0], 77};
    AxisValues vel;
    ZQAVGF_OnFilt(&state, frame, frame, vel);
    const double size = k < spoilt_until ? 1e15 : std::max(1.0, std::abs(pos));
    const double tolerance = fresh.equal ? 0 : 1e-12 * size;
    ASSERT_LE(std::abs(frame[6] - fresh.mean), tolerance) << k;
    ASSERT_EQ(vel[6], fresh.vel) << k;
    ASSERT_TRUE(frame[0] == 0 && vel[0] == 0 && frame[7] == 77) << k;
  }
}

TEST(AveragingFilter, RefusesWhatIsNoWindow) {
  const struct {
    long axes, window;
    double period_s;
    bool taken;
  } cases[] = {{8, 30, 0.001, true}, {1, 1, 1, true},         {0, 30, 1, false}, {9, 30, 1, false},
               {8, 0, 1, false},     {8, 31, 1, false},       {8, 30, 0, false}, {8, 30, -1, false},
               {8, 30, NAN, false},  {8, 30, INFINITY, false}};
  for (const auto& c : cases) {
    ZQAVGF state{};
    EXPECT_EQ(ZQAVGF_OnInit(&state, c.axes, c.window, c.period_s), c.taken);
    AxisValues frame = {1};
    AxisValues vel = {77};
    ZQAVGF_OnFilt(&state, frame, frame, vel);
    EXPECT_TRUE(frame[0] == 1 && vel[0] == (c.taken ? 0 : 77));
  }
}

// Numbers of any size, and what is none, in every argument of both calls.
TEST(MotionMaths, NothingNonFiniteComesOut) {
  std::mt19937 random(11);
  const double hostile[] = {0,    -0.0,    1,        -1,       5e-324,    DBL_MIN, -1e-160,
                            1e16, DBL_MAX, -DBL_MAX, INFINITY, -INFINITY, NAN};
  AxisValues given;
  const auto any = [&] {
    std::fill(std::begin(given), std::end(given), hostile[random() % std::size(hostile)]);
    return given;
  };
  for (const double dt_ms : {1e-97, 1e-20, 1.0, 1e20, 1e103}) {
    ZQNSyncDTS generator;
    ZQAVGF filter;
    ASSERT_TRUE(ZQNSyncDTS_OnInit(&generator, 8, dt_ms, any(), given, given));
    ASSERT_TRUE(ZQAVGF_OnInit(&filter, 8, 1 + static_cast<long>(random() % 30), dt_ms));
    for (int k = 0; k < 50000; ++k) {
      if (random() % 3 == 0) ZQNSyncDTS_OnSetRunTimeVel(&generator, any());
      if (random() % 3 == 0) ZQNSyncDTS_OnSetRunTimeAcc(&generator, any());
      if (random() % 50 == 0) ZQNSyncDTS_OnEmpty(&generator);
      if (random() % 9 == 0) ZQNSyncDTS_OnFollow(&generator, random() % 2 == 0);
      if (random() % 3 == 0) any();
      AxisValues pos, vel, acc, mean, mean_vel;
      ZQNSyncDTS_OnDT2(&generator, given, pos, vel, acc);
      ZQAVGF_OnFilt(&filter, given, mean, mean_vel);
      for (const double x : {pos[7], vel[7], acc[7], mean[7], mean_vel[7]}) {
        ASSERT_TRUE(std::isfinite(x)) << k;
      }
    }
  }
}

}  // namespace
