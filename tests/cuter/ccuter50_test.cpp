#include "cuter/ccuter50.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr int kAxes = 8;
using Point = std::array<double, kAxes>;
using Samples = std::array<std::vector<double>, kAxes>;
constexpr double kMark = -777.0;  // an output that was not written
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr long kLongMin = std::numeric_limits<long>::min();

// Makes one of the cuts on a marked block and appends what it gave for the first `axes` axes;
// expects nothing written beyond them, and nothing at all when the cut is refused.
template <int N, class Cut>
bool Collect(Cut cut, int axes, Samples& samples) {
  double block[kAxes][N];
  std::fill_n(&block[0][0], kAxes * N, kMark);
  const bool done = cut(block);
  const int written = done ? axes : 0;
  for (int a = 0; a < written; ++a) samples[a].insert(samples[a].end(), block[a], block[a] + N);
  EXPECT_EQ(std::count(&block[0][0] + written * N, &block[0][0] + kAxes * N, kMark),
            (kAxes - written) * N);
  return done;
}

struct Player {
  CCuter50 cuter;
  int axes = 0;
  Samples samples;

  Player() = default;
  explicit Player(int count) : axes(count) { cuter.OnInit(count); }
  bool Start(const std::vector<Point>& p) {
    return Collect<40>(
        [&](auto b) {
          return cuter.OnCutStart(&p[0][0], &p[1][0], &p[2][0], &p[3][0], &p[4][0], b);
        },
        axes, samples);
  }
  bool Next(const Point& point) {
    return Collect<20>([&](auto b) { return cuter.OnCutPoint(&point[0], b); }, axes, samples);
  }
  bool Stop() {
    return Collect<51>([&](auto b) { return cuter.OnCutStop(b); }, axes, samples);
  }
  // Plays all waypoints on top of a cut that was abandoned, with calls out of order in between.
  void Play(const std::vector<Point>& points) {
    EXPECT_TRUE(Start(std::vector<Point>(5, Point{900, -900, 900})));
    EXPECT_TRUE(Next({}));
    cuter.OnEmpty();
    EXPECT_FALSE(Next({}) || Stop());
    samples = {};
    EXPECT_TRUE(Start(points));
    for (std::size_t k = 5; k < points.size(); ++k) {
      EXPECT_FALSE(Start(points));
      EXPECT_TRUE(Next(points[k]));
    }
    EXPECT_TRUE(Stop());
    EXPECT_FALSE(Next({}) || Stop());
  }
};

// The interpolating quartic in Lagrange's form: raw sample k of the whole trajectory. An interval
// belongs to the span whose second interval it is, at both ends to the outermost span.
long double Raw(const std::vector<Point>& points, int axis, int k) {
  const int last = static_cast<int>(points.size()) - 1;
  const long double u = std::clamp(static_cast<long double>(k) / 20, 0.0L, 1.0L * last);
  const int first = std::clamp(static_cast<int>(u) - 1, 0, last - 4);
  long double sum = 0;
  for (int i = first; i < first + 5; ++i) {
    long double term = points[i][axis];
    for (int j = first; j < first + 5; ++j) {
      if (j != i) term *= (u - j) / (i - j);
    }
    sum += term;
  }
  return sum;
}

double MeanOfTen(const std::vector<Point>& points, int axis, int k) {
  long double sum = 0;
  for (int i = k - 9; i <= k; ++i) sum += Raw(points, axis, i);
  return static_cast<double>(sum / 10);
}

TEST(CCuter50, SamplesAreTheMeanOfTheInterpolatingQuartic) {
  std::mt19937 random(50);
  std::uniform_real_distribution<double> position(-3.0, 3.0);
  for (const int axes : {1, 2, 7, 8}) {
    for (const int count : {5, 6, 7, 40}) {
      std::vector<Point> points(count);
      for (Point& point : points) {
        for (double& x : point) x = position(random);
      }
      Player player(axes);
      player.Play(points);
      for (int a = 0; a < axes; ++a) {
        ASSERT_EQ(player.samples[a].size(), 20u * (count - 1) + 11);
        for (int k = 0; k < 20 * (count - 1) + 11; ++k) {
          ASSERT_NEAR(player.samples[a][k], MeanOfTen(points, a, k), 1e-12)
              << count << " points, axis " << a << ", sample " << k;
        }
      }
    }
  }
}

TEST(CCuter50, TrailsAStraightLineAndSettlesOnItsEnd) {
  std::vector<Point> ramp;
  for (int i = 0; i < 7; ++i) ramp.push_back({1.0, 0.5 - 0.25 * i});
  Player player(2);
  player.Play(ramp);
  for (const double x : player.samples[0]) EXPECT_NEAR(x, 1.0, 1e-14);
  EXPECT_EQ(player.samples[1][0], 0.5);
  for (int k = 9; k <= 120; ++k)
    EXPECT_NEAR(player.samples[1][k], 0.5 - 0.25 * (k - 4.5) / 20, 1e-13);
  EXPECT_NEAR(player.samples[1].back(), -1.0, 1e-14);
}

TEST(CCuter50, RefusesMoreAxesThanItHolds) {
  const std::vector<Point> points(5, Point{});
  Player player;
  player.cuter.OnEmpty();  // no substitute for OnInit
  for (const long axes : {9L, std::numeric_limits<long>::max()}) {
    EXPECT_FALSE(player.cuter.OnInit(axes));
    EXPECT_FALSE(player.Start(points) || player.Next({}) || player.Stop());
  }
  for (const long axes : {0L, -1L, kLongMin, kLongMin + 1}) {
    ASSERT_TRUE(player.cuter.OnInit(axes));
    player.Play(points);
  }
  ASSERT_TRUE(player.Start(points));
  EXPECT_FALSE(player.cuter.OnInit(9));  // and leaves the cut in progress alone
  EXPECT_TRUE(player.Next({}));
}

TEST(CCuter50, NonFiniteWaypointsSpoilTheirOwnAxisOnlyAndNotTheNextCut) {
  std::vector<Point> hostile(6, Point{1, 1, 1, 1, 1, 1, 1, 1});
  hostile[2][0] = kNan;
  hostile[0][3] = -kNan;
  hostile[5][7] = std::numeric_limits<double>::infinity();
  Player player(8);
  player.Play(hostile);
  EXPECT_TRUE(std::isnan(player.samples[0].back()));
  for (const int a : {1, 2, 4, 5, 6}) {
    for (const double x : player.samples[a]) ASSERT_NEAR(x, 1.0, 1e-14);
  }
  player.Play(std::vector<Point>(5, Point{2, 2, 2, 2, 2, 2, 2, 2}));
  for (const auto& axis : player.samples) {
    for (const double x : axis) ASSERT_NEAR(x, 2.0, 1e-14);
  }
}

}  // namespace
