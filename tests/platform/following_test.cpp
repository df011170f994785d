// The profile generator on the samples of a run.
#include <vector>

#include "tests/platform/profile_generator_rig.h"

namespace {

// A sine that starts at 0: at rest, or at full speed.
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

// What keeps the limits is hit exactly. What asks for a little too much is caught up with gently
// and passed by a trifle; what asks for far too much is lagged behind, and its range is kept.
TEST(Following, StaysOnSamplesThatKeepTheLimitsAndNearOthers) {
  const struct {
    Sine sine;
    double vel, acc, jump;  // limits; the first sample's distance from where the axes stand
    int steps;              // the first ones, of which nothing is asked
    double behind, beyond;
  } cases[] = {
      {{1.5, 4.3}, 2, 8, 0, 0, 0, 0},
      {{1.5, 8}, 1.5, 8, 0, 0, 0, 0},       // at both limits
      {{1.5, 4.3}, 2, 8, 0.01, 110, 0, 0},  // at full acceleration it takes 71 steps
      {{1.5, 4.3}, 2, 8, -0.5, 600, 0, 0},
      {{0.1, 0.4}, 2, 8, 0.1, 240, 0, 0},
      {{0.2, 0.5}, 0.3, 0.6, 0.01, 700, 0, 0},
      {{1.5, 4.3, false}, 2, 8, 0, 800, 0, 0},  // at full speed from the first sample on
      {{1.5, 8.16}, 2, 8, 0, 10000, 0.001, 0.001},
      {{1.5, 8.8}, 2, 8, 0, 10000, 0.011, 0.002},
      {{1.5, 16}, 2, 8, 0, 10000, 0.13, 0},
      {{2.4, 8}, 2, 8, 0, 10000, 0.4, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Follower g(c.vel, c.acc);
    Judge judge{g.period_s, 0, 0};
    const double amplitude = c.sine.vel_peak * c.sine.vel_peak / c.sine.acc_peak;
    const double middle = c.jump + (c.sine.from_rest ? amplitude : 0);
    for (int k = 0; k < 20000; ++k) {
      g.target.fill(c.jump + c.sine.At(k));
      g.Step();
      ASSERT_EQ(judge.Fault(g.pos[5], g.target[5], c.vel, c.acc), nullptr) << k;
      if (k <= c.steps) continue;
      ASSERT_LE(std::abs(g.target[5] - g.pos[5]), c.behind) << k;
      ASSERT_LE(std::abs(g.pos[5] - middle), amplitude + c.beyond + 1e-12) << k;
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
    const double quarter = std::asin(1) * joint.vel_peak / joint.acc_peak / g.period_s;
    double error = 0;
    for (int k = 0; k < 10000; ++k) {
      g.target[0] = joint.At(k);
      g.target[1] = joint.At(k + quarter);
      g.Step();
      const double off = std::hypot(g.pos[0], g.pos[1]) - joint.At(quarter);
      if (k > 2000) error = std::max(error, std::abs(off));
    }
    EXPECT_NEAR(error, follows ? 0 : 0.05, follows ? 1e-9 : 0.005);
  }
}

TEST(Following, KeepsTheRangeOfARunWhenAccelerationIsLowered) {
  const Sine sine{1.5, 4.3};
  const double amplitude = sine.vel_peak * sine.vel_peak / sine.acc_peak;
  const std::pair<double, double> cases[] = {{4, 0.002},   {3, 1e-12},    {1, 1e-12},
                                             {0.2, 1e-12}, {0.02, 1e-12}, {0, 1e-12}};
  for (const auto& [lowered_acc, beyond] : cases) {
    for (int when = 0; when < 2200; when += 55) {
      Follower g(2.2, 8);
      for (int k = 0; k < 8000; ++k) {
        if (k == when) g.acc_limit.fill(lowered_acc);
        g.SetLimits();
        g.target.fill(sine.At(k));
        g.Step();
        ASSERT_LE(std::abs(g.pos[1] - amplitude), amplitude + beyond) << lowered_acc << ' ' << when;
      }
    }
  }
}

// Samples that keep the limits come to where an axis stands, and end there. How hard they brake is
// known from how they speeded up, a trifle apart.
TEST(Following, IsNotDrivenOutOfTheRangeByARunThatComes) {
  for (double way = 0.1; way < 1.5; way += 0.1) {
    Follower g(2, 8);
    const double rate = std::min(std::sqrt(2 * 7.5 / way), 2 * 1.9 / way);
    for (int k = 0; k < 4000; ++k) {
      g.target.fill(way / 2 * (1 + std::cos(std::min(rate * k * 0.001, std::acos(-1)))));
      g.Step();
      ASSERT_GE(g.pos[1], -5e-5) << way << ' ' << k;
    }
    EXPECT_EQ(g.pos, g.target);
  }
}

// Stopped dead at every step of a run, catching-up and lowered limits included: the axis passes the
// last sample by its stopping way at most and comes to rest on it.
TEST(Following, EndsAtRestWhereverARunIsStopped) {
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
      for (int rest = 0; rest < 3 || (rest < 5000 && g.vel != AxisValues{}); ++rest) {
        g.Step();
        for (std::size_t a = 0; a < kMathsAxes; ++a) {
          const Judge& begin = judges[a];
          ASSERT_EQ(after[a].Fault(g.pos[a], g.target[a], 2, g.acc_limit[a]), nullptr) << k;
          const double from =
              begin.vel > 0 ? std::max(begin.pos, g.target[a]) : std::min(begin.pos, g.target[a]);
          const double passed = (g.pos[a] - from) * std::copysign(1, begin.vel);
          ASSERT_LE(passed, begin.StoppingWay(begin.brake) + 1e-12) << k << '+' << rest;
        }
      }
      ASSERT_EQ(g.vel, AxisValues{}) << k;
      ASSERT_TRUE(g.pos == g.target || c.lowered_acc == 0) << k;
    }
  }
}

}  // namespace
