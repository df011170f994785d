// The samples of a trajectory, and the calls that are refused.
#include "cuter/ccuter50.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr std::size_t kAxes = 8;
constexpr double kUnwritten = -777.0;
using Point = std::array<double, kAxes>;
using Points = std::vector<Point>;

struct Player {
  CCuter50 cuter;
  std::size_t axes = 0;
  std::array<std::vector<double>, kAxes> samples;

  // Makes a cut; nothing is written beyond the axes, and nothing at all when it is refused.
  template <std::size_t N, class Cut>
  bool Take(Cut cut) {
    double block[kAxes][N];
    for (auto& row : block) std::ranges::fill(row, kUnwritten);
    const bool done = cut(block);
    for (std::size_t a = 0; a < kAxes; ++a) {
      const bool written = done && a < axes;
      EXPECT_EQ(std::ranges::count(block[a], kUnwritten), written ? 0 : N) << a;
      if (written) samples[a].insert(samples[a].end(), block[a], block[a] + N);
    }
    return done;
  }
  // The cut that comes with waypoint k: the start with the fifth, the end behind the last.
  bool Cut(const Points& p, std::size_t k) {
    const auto start = [&](auto block) {
      return cuter.OnCutStart(&p[0][0], &p[1][0], &p[2][0], &p[3][0], &p[4][0], block);
    };
    if (k == 4) return Take<40>(start);
    if (k == p.size()) return Take<51>([&](auto block) { return cuter.OnCutStop(block); });
    return Take<20>([&](auto block) { return cuter.OnCutPoint(&p[k][0], block); });
  }
  // Plays all waypoints after a cut that went wrong and was abandoned; tries calls out of order.
  void Play(const Points& points) {
    const Points wrong(6, Point{NAN, 900, NAN, 900, NAN});
    EXPECT_TRUE(Cut(wrong, 4) && Cut(wrong, 5));
    cuter.OnEmpty();
    EXPECT_FALSE(Cut(wrong, 5) || Cut(wrong, 6));
    samples = {};
    for (std::size_t k = 4; k <= points.size(); ++k) {
      EXPECT_TRUE(Cut(points, k));
      EXPECT_FALSE(cuter.OnInit(9) || Cut(wrong, k < points.size() ? 4 : 6));
    }
  }
};

// The interpolating quartic in Lagrange's form: raw sample k of the whole trajectory. An interval
// belongs to the span whose second interval it is, at both ends to the outermost span.
double Raw(const Points& points, std::size_t axis, unsigned k) {
  const auto last = static_cast<unsigned>(points.size()) - 1;
  const double u = std::min(k / 20.0, 1.0 * last);
  const unsigned first = std::clamp(k / 20, 1U, last - 3) - 1;
  double sum = 0;
  for (unsigned i = first; i < first + 5; ++i) {
    double term = points[i][axis];
    for (unsigned j = first; j < first + 5; ++j) {
      if (j != i) term *= (u - j) / (1.0 * i - j);
    }
    sum += term;
  }
  return sum;
}

TEST(CCuter50, SamplesAreTheMeanOfTheInterpolatingQuartic) {
  std::mt19937 random(50);
  std::uniform_real_distribution<double> position(-3.0, 3.0);
  Player player;
  player.cuter.OnEmpty();  // no substitute for OnInit
  EXPECT_FALSE(player.cuter.OnInit(9) || player.cuter.OnInit(LONG_MAX));
  for (const std::size_t k : {4U, 5U, 6U}) EXPECT_FALSE(player.Cut(Points(6), k));
  for (const long axes : {1L, 8L, 0L, LONG_MIN + 1, 7L}) {
    ASSERT_TRUE(player.cuter.OnInit(axes));
    player.axes = static_cast<std::size_t>(std::max(axes, 0L));
    for (const std::size_t count : {5U, 6U, 40U}) {
      Points points(count);
      for (Point& point : points) std::ranges::generate(point, [&] { return position(random); });
      player.Play(points);
      for (std::size_t a = 0; a < player.axes; ++a) {
        for (unsigned k = 0; k < player.samples[a].size(); ++k) {
          double sum = 0;
          for (unsigned i = 0; i < 10; ++i) sum += Raw(points, a, k - std::min(i, k));
          ASSERT_NEAR(player.samples[a][k], sum / 10, 1e-12) << a << " " << k;
        }
      }
    }
  }
}

}  // namespace
