#include "cuter/ccuter50.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr std::size_t kAxes = 8;
using Point = std::array<double, kAxes>;
using Samples = std::array<std::vector<double>, kAxes>;
constexpr double kMark = -777.0;  // an output that was not written
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr long kLongMin = std::numeric_limits<long>::min();

// Makes one of the cuts on a marked block and appends what it gave for the first `axes` axes;
// expects nothing written beyond them, and nothing at all when the cut is refused.
template <std::size_t N, class Cut>
bool Collect(Cut cut, std::size_t axes, Samples& samples) {
  double block[kAxes][N];
  for (auto& row : block) std::fill_n(row, N, kMark);
  const bool done = cut(block);
  for (std::size_t a = 0; a < kAxes; ++a) {
    if (done && a < axes) {
      samples[a].insert(samples[a].end(), block[a], block[a] + N);
    } else {
      EXPECT_EQ(std::count(block[a], block[a] + N, kMark), static_cast<std::ptrdiff_t>(N)) << a;
    }
  }
  return done;
}

struct Player {
  CCuter50 cuter;
  std::size_t axes = 0;
  Samples samples;

  Player() = default;
  explicit Player(std::size_t count) : axes(count) { cuter.OnInit(static_cast<long>(count)); }
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
long double Raw(const std::vector<Point>& points, std::size_t axis, std::size_t k) {
  const std::size_t last = points.size() - 1;
  const long double u = std::min(static_cast<long double>(k) / 20, static_cast<long double>(last));
  const std::size_t first = std::clamp<std::size_t>(k / 20, 1, last - 3) - 1;
  long double sum = 0;
  for (std::size_t i = first; i < first + 5; ++i) {
    long double term = points[i][axis];
    for (std::size_t j = first; j < first + 5; ++j) {
      if (j != i) term *= (u - j) / (static_cast<long double>(i) - j);
    }
    sum += term;
  }
  return sum;
}

double MeanOfTen(const std::vector<Point>& points, std::size_t axis, std::size_t k) {
  long double sum = 0;
  for (std::size_t i = 0; i < 10; ++i) sum += Raw(points, axis, k - std::min(i, k));
  return static_cast<double>(sum / 10);
}

TEST(CCuter50, SamplesAreTheMeanOfTheInterpolatingQuartic) {
  std::mt19937 random(50);
  std::uniform_real_distribution<double> position(-3.0, 3.0);
  for (const std::size_t axes : {1u, 2u, 7u, 8u}) {
    for (const std::size_t count : {5u, 6u, 7u, 40u}) {
      std::vector<Point> points(count);
      for (Point& point : points) {
        for (double& x : point) x = position(random);
      }
      Player player(axes);
      player.Play(points);
      for (std::size_t a = 0; a < axes; ++a) {
        ASSERT_EQ(player.samples[a].size(), 20 * (count - 1) + 11);
        for (std::size_t k = 0; k < player.samples[a].size(); ++k) {
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
  for (std::size_t k = 9; k <= 120; ++k) {
    EXPECT_NEAR(player.samples[1][k], 0.5 - 0.25 * (static_cast<double>(k) - 4.5) / 20, 1e-13);
  }
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
  for (const std::size_t a : {1u, 2u, 4u, 5u, 6u}) {
    for (const double x : player.samples[a]) ASSERT_NEAR(x, 1.0, 1e-14);
  }
  player.Play(std::vector<Point>(5, Point{2, 2, 2, 2, 2, 2, 2, 2}));
  for (const auto& axis : player.samples) {
    for (const double x : axis) ASSERT_NEAR(x, 2.0, 1e-14);
  }
}

}  // namespace
