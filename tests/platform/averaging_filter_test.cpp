#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>

#include "platform/motion_maths.h"

namespace {

constexpr long kWindow = 30;
using AxisValues = double[kMathsAxes];

// A fresh mean and its velocity.
struct Expected {
  double samples[kWindow + 1]{};  // the newest first
  bool empty = true;

  void Take(double sample) {
    if (empty) std::fill(std::begin(samples), std::end(samples), sample);
    std::copy_backward(samples, samples + kWindow, samples + kWindow + 1);
    samples[0] = sample;
    empty = false;
  }
  bool Equal() const {
    return std::all_of(samples, samples + kWindow, [&](double x) { return x == samples[0]; });
  }
  double Mean() const {
    double sum = 0;
    for (int k = 0; k < kWindow; ++k) sum += samples[k];
    return Equal() ? samples[0] : sum / kWindow;
  }
  double Vel() const { return Equal() ? 0 : (samples[0] - samples[kWindow]) / 0.03; }
};

// Ten million samples: a walk with rests, gaps, restarts and, at times, a sample that would spoil a
// running sum for good. It may for two windows: until it has left, and the sum is a new one.
TEST(AveragingFilter, NeverDrifts) {
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> step(-1e-3, 1e-3);
  ZQAVGF state;
  ASSERT_TRUE(ZQAVGF_OnInit(&state, 7, kWindow, 0.001));
  Expected expected;
  double pos = 0;
  long spoilt_until = -1;
  for (long k = 0; k < 10000000; ++k) {
    const bool rests = k % 1000 > 900;
    const bool gap = k % 777 == 5;
    if (!rests && !gap) pos += step(random);
    const double sample = k % 50000 == 49000 ? 1e15 : pos;
    if (sample != pos) spoilt_until = k + 2 * kWindow;
    if (k % 70000 == 69000) {
      ZQAVGF_OnEmpty(&state);
      expected.empty = true;
    }
    const bool no_number = gap && expected.samples[0] == sample;
    expected.Take(sample);
    AxisValues frame{};
    AxisValues vel;
    frame[6] = no_number ? NAN : sample;
    frame[7] = 77;
    ZQAVGF_OnFilt(&state, frame, frame, vel);
    const double mean = expected.Mean();
    const double size = k < spoilt_until ? 1e15 : std::max(1.0, std::abs(pos));
    ASSERT_TRUE(std::abs(frame[6] - mean) <= 1e-12 * size) << k << ": " << frame[6] - mean;
    ASSERT_TRUE(!expected.Equal() || frame[6] == sample) << k;
    ASSERT_EQ(vel[6], expected.Vel()) << k;
    ASSERT_TRUE(frame[0] == 0 && vel[0] == 0 && frame[7] == 77) << k;
  }
}

TEST(AveragingFilter, RefusesWhatIsNoWindow) {
  const struct {
    long axes, window;
    double period_s;
    bool taken;
  } cases[] = {
      {8, 30, 0.001, true}, {1, 1, 1, true},          {0, 30, 1, false}, {9, 30, 1, false},
      {8, 0, 1, false},     {8, 31, 1, false},        {8, 30, 0, false}, {8, 30, -1, false},
      {8, 30, NAN, false},  {8, 30, INFINITY, false},
  };
  for (const auto& c : cases) {
    ZQAVGF state{};
    EXPECT_EQ(ZQAVGF_OnInit(&state, c.axes, c.window, c.period_s), c.taken);
    AxisValues frame = {1, 2, 3, 4, 5, 6, 7, 8};
    AxisValues vel = {77};
    ZQAVGF_OnFilt(&state, frame, frame, vel);
    EXPECT_EQ(vel[0], c.taken ? 0 : 77);
    EXPECT_EQ(frame[0], 1);
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
    const AxisValues one = {1, 1, 1, 1, 1, 1, 1, 1};
    ASSERT_TRUE(ZQNSyncDTS_OnInit(&generator, 8, dt_ms, one, one, one));
    ASSERT_TRUE(ZQAVGF_OnInit(&filter, 8, 1 + static_cast<long>(random() % 30), dt_ms));
    for (int k = 0; k < 20000; ++k) {
      if (random() % 3 == 0) ZQNSyncDTS_OnSetRunTimeVel(&generator, any());
      if (random() % 3 == 0) ZQNSyncDTS_OnSetRunTimeAcc(&generator, any());
      if (random() % 50 == 0) ZQNSyncDTS_OnEmpty(&generator);
      if (random() % 9 == 0) ZQNSyncDTS_OnFollow(&generator, random() % 2 == 0);
      AxisValues pos, vel, acc, mean, mean_vel;
      any();
      for (auto steps = 1 + random() % 5; steps > 0; --steps) {
        ZQNSyncDTS_OnDT2(&generator, given, pos, vel, acc);
      }
      ZQAVGF_OnFilt(&filter, any(), mean, mean_vel);
      for (const double x : {pos[7], vel[7], acc[7], mean[7], mean_vel[7]}) {
        ASSERT_TRUE(std::isfinite(x)) << k;
      }
    }
  }
}

}  // namespace
