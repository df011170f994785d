// The profile generator on the samples of a run.
#include <cfloat>
#include <vector>

#include "tests/platform/profile_generator_rig.h"

namespace {

constexpr double kTwoPi = 6.283185307179586;

// A sine, 1/4 turn ahead of 0 at step 0 when `from_rest`.
struct Sine {
  double vel_peak, acc_peak;
  bool from_rest = true;
  double At(double step) const {
    const double rate = acc_peak / vel_peak;
    const double angle = rate * step * 0.001;
    return vel_peak / rate * (from_rest ? 1 - std::cos(angle) : std::sin(angle));
  }
};

struct Follower : Generator {
  Follower(double top, double most) {
    vel_limit = Everywhere(top);
    acc_limit = Everywhere(most);
    SetLimits();
    Place();
    ZQNSyncDTS_OnFollow(&state, true);
  }
};

TEST(Following, HitsEverySampleThatKeepsTheLimits) {
  const struct {
    Sine sine;
    double vel, acc;   // limits
    double jump;       // of the first sample, from where the axes stand
    int steps;         // within which all are on the samples, for good
    double passed_by;  // on the way there
  } cases[] = {
      {{1.5, 4.3}, 2, 8, 0, 0, 0},
      {{1.5, 8}, 1.5, 8, 0, 0, 0},       // at both limits
      {{1.5, 4.3}, 2, 8, 0.01, 110, 0},  // catches up; at full acceleration it takes 71 steps
      {{1.5, 4.3}, 2, 8, -0.5, 600, 0},
      {{0.1, 0.4}, 2, 8, 0.1, 240, 0},
      {{1.5, 0}, 2, 8, 0.5, 500, 0},            // a target that stands
      {{1.5, 4.3, false}, 2, 8, 0, 800, 0.02},  // at full speed from the first sample on
      {{1.5, 7.2, false}, 2, 8, 0.1, 1200, 0.05},
      {{0.2, 0.5}, 0.3, 0.6, 0.01, 700, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Follower g(c.vel, c.acc);
    Judge judge{g.period_s, 0, 0};
    int last_off = -1;
    double passed_by = 0;
    for (int k = 0; k < 20000; ++k) {
      g.target.fill(c.jump + (c.sine.acc_peak > 0 ? c.sine.At(k) : 0));
      g.Step();
      ASSERT_EQ(judge.Fault(g.pos[5], g.target[5], c.vel, c.acc), nullptr) << k;
      if (g.pos[5] == g.target[5]) continue;
      last_off = k;
      passed_by = std::max(passed_by, (g.pos[5] - g.target[5]) * std::copysign(1, c.jump));
    }
    EXPECT_LE(last_off, c.steps);
    EXPECT_LE(passed_by, c.passed_by);
  }
}

// What the limits do not allow is caught up with gently: the axis neither swings nor leaves the
// range of the samples by more than a trifle.
TEST(Following, FallsShortOfARunThatIsTooFast) {
  const struct {
    Sine sine;
    double behind, beyond;
  } cases[] = {
      {{1.5, 8.16}, 0.001, 0.001},
      {{1.5, 8.8}, 0.011, 0.002},
      {{1.5, 16}, 0.13, 0.001},
      {{2.4, 8}, 0.4, 0.001},
  };
  for (const auto& c : cases) {
    Follower g(2, 8);
    const double range = 2 * c.sine.vel_peak * c.sine.vel_peak / c.sine.acc_peak;
    Judge judge{g.period_s, 0, 0};
    for (int k = 0; k < 20000; ++k) {
      g.target.fill(c.sine.At(k));
      g.Step();
      ASSERT_EQ(judge.Fault(g.pos[0], g.target[0], 2, 8), nullptr) << k;
      if (k < 10000) continue;
      ASSERT_LE(std::abs(g.target[0] - g.pos[0]), c.behind) << c.sine.acc_peak;
      ASSERT_LE(std::abs(g.pos[0] - range / 2) - range / 2, c.beyond) << c.sine.acc_peak;
    }
  }
}

TEST(Following, KeepsThePathOfTwoJoints) {
  for (const bool follows : {true, false}) {
    Follower g(2, 8);
    g.acc_limit[1] = 20;
    g.SetLimits();
    ZQNSyncDTS_OnFollow(&g.state, follows);
    const Sine joint{1.5, 4.3, false};
    const double quarter = kTwoPi / 4 * joint.vel_peak / joint.acc_peak / g.period_s;
    double error = 0;
    for (int k = 0; k < 10000; ++k) {
      g.target[0] = joint.At(k);
      g.target[1] = joint.At(k + quarter);
      g.Step();
      const double radius = std::hypot(g.pos[0], g.pos[1]) - joint.At(quarter);
      if (k > 2000) error = std::max(error, std::abs(radius));
    }
    EXPECT_LT(error, follows ? 1e-9 : 0.1);
    EXPECT_GT(error, follows ? -1 : 0.03);
  }
}

// Stopped dead at every step of a run, catching-up and lowered limits included: the axis passes the
// last sample by its stopping way at most and comes to rest on it.
TEST(Following, EndsAtRestWhenARunIsStoppedAnywhere) {
  const Sine sine{1.5, 5};
  const struct {
    double jump, lowered_acc;  // from step 300 on
  } cases[] = {{0, 8}, {0.2, 8}, {0, 1}, {0, 0}};
  for (const auto& c : cases) {
    Follower run(2, 8);
    std::vector<Judge> judges(kMathsAxes, Judge{run.period_s, 0, 0});
    for (int k = 0; k < 1500; ++k) {
      if (k == 300) run.acc_limit.fill(c.lowered_acc);
      run.SetLimits();
      for (std::size_t a = 0; a < kMathsAxes; ++a) {
        run.target[a] = c.jump + sine.At(k) * (1 - 0.1 * static_cast<double>(a));
      }
      run.Step();
      for (std::size_t a = 0; a < kMathsAxes; ++a) {
        ASSERT_EQ(judges[a].Fault(run.pos[a], run.target[a], 2, run.acc_limit[a]), nullptr) << k;
      }
      Generator g = run;
      ZQNSyncDTS_OnFollow(&g.state, false);
      std::vector<Judge> after = judges;
      for (int rest = 0; rest < 5000 && (rest < 3 || g.vel != AxisValues{}); ++rest) {
        g.Step();
        for (std::size_t a = 0; a < kMathsAxes; ++a) {
          const char* const fault = after[a].Fault(g.pos[a], g.target[a], 2, g.acc_limit[a]);
          ASSERT_EQ(fault, nullptr) << fault << ' ' << k << '+' << rest;
          const double ahead = std::copysign(1, judges[a].vel);
          const double begun = std::max((run.pos[a] - g.target[a]) * ahead, 0.0);
          const double way = judges[a].StoppingWay(judges[a].brake);
          ASSERT_LE((g.pos[a] - g.target[a]) * ahead, begun + way + 1e-12) << k << '+' << rest;
        }
      }
      EXPECT_EQ(g.vel, AxisValues{}) << k;
      EXPECT_TRUE(g.pos == g.target || c.lowered_acc == 0) << k;
    }
  }
}

}  // namespace
