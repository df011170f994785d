// The profile generator's promises, on random states and streams.
#include <random>
#include <vector>

#include "tests/platform/profile_generator_rig.h"

namespace {

struct Random {
  std::mt19937_64 engine;
  double Between(double from, double to) {
    return std::uniform_real_distribution<double>(from, to)(engine);
  }
  // From 10^from to 10^to.
  double Size(double from, double to) { return std::pow(10, Between(from, to)); }
  bool OneIn(double count) { return Between(0, count) < 1; }
};

// A speed v0 under the limit v (both in h) and a target at distance e (in q).
struct Start {
  double v0, v, e;

  // Whether `count` steps can lead exactly to the target and there to a speed from which one more
  // step leads to rest: with the largest speeds that limits and rest allow in each step the axis
  // comes at least as far, and with the smallest ones at most as far.
  bool Suffices(long count, double tolerance) const {
    double farthest = 0;
    double nearest = 0;
    for (long i = 1; i <= count; ++i) {
      const auto k = static_cast<double>(i);
      const auto left = static_cast<double>(count - i);
      const double most = std::min({v0 + k, std::max(v, v0 - k), 1 + left});
      const double least = -std::min({-v0 + k, std::max(v, -v0 - k), 1 + left});
      if (least > most) return false;
      farthest += most;
      nearest += least;
    }
    return nearest - tolerance <= e && e <= farthest + tolerance;
  }
  bool MustPass() const {
    const double n = std::floor((std::sqrt(1 + 8 * std::abs(e)) - 1) / 2);
    return std::copysign(v0, v0 * e) - 1 > std::abs(e) / (n + 1) + n / 2;
  }
};

TEST(ProfileGenerator, ArrivesInTheFewestStepsFromAnyState) {
  Random random{};
  for (int state = 0; state < 100000; ++state) {
    Generator g(random.OneIn(2) ? 1 : 4, 1);
    const double h = random.Size(-1, 2) * g.period_s;
    const double q = h * g.period_s;
    // To any speed, on the way to somewhere far off.
    g.target.fill(random.Between(-3, 3));
    g.acc_limit.fill(h / g.period_s);
    g.vel_limit.fill(h * random.Size(-1, 2));
    g.SetLimits();
    g.Place();
    g.target.fill(random.OneIn(2) ? 1e6 : -1e6);
    g.Step(101);
    // From there to a target, under any velocity limit.
    g.vel_limit.fill(h * random.Size(-0.5, 2));
    const double away = random.OneIn(2) ? q : -q;
    g.target.fill(g.pos[0] + away * std::min(random.Size(-1, 3.7), 300 * g.vel_limit[0] / h));
    g.SetLimits();
    const Start start{g.vel[0] / h, g.vel_limit[0] / h, (g.target[0] - g.pos[0]) / q};
    Judge judge{g.period_s, g.pos[0], g.acc_limit[0], g.vel[0]};
    std::string fault;
    long steps = 0;
    for (int rest = 0; rest < 4 && fault.empty(); steps += rest == 0 ? 1 : 0) {
      g.Step();
      const char* const broken = judge.Fault(g.pos[0], g.target[0], g.vel_limit[0], g.acc_limit[0]);
      const bool passed = (g.target[0] - g.pos[0]) * start.e < 0;
      const bool there = g.pos[0] == g.target[0] && std::abs(g.vel[0]) <= h * (1 + 1e-8);
      if (broken != nullptr) fault = broken;
      if (passed && !start.MustPass()) fault = "passes";
      if (rest > 0 && !there) fault = "leaves again";
      if (steps > 100000) fault = "does not come";
      rest = there ? rest + 1 : 0;
    }
    ++steps;
    const double tolerance = 1e-9 * (1 + std::abs(start.e));
    if (!start.Suffices(steps, tolerance)) fault += "too soon";
    if (start.Suffices(steps - 1, -tolerance)) fault += "too late";
    ASSERT_EQ(fault, "") << std::hexfloat << "Start{" << start.v0 << ", " << start.v << ", "
                         << start.e << "} with h " << h << ", at " << g.pos[0] << ", in "
                         << std::dec << steps;
  }
}

// Targets and limits that change at any time: the axis stays within the range of its targets.
TEST(ProfileGenerator, KeepsItsLimitsAndRangeWhateverIsOrdered) {
  Random random{std::mt19937_64(2)};
  for (int run = 0; run < 60 && !testing::Test::HasFailure(); ++run) {
    Generator g(random.OneIn(4) ? 4 : 1);
    const double size = random.Size(-3, 3);
    const double target_steps = random.Size(0, 3);
    const double limit_steps = random.Size(0, 3);
    const double spread = random.Size(-3, 0);
    const double largest_acc = random.Between(-1, 2.5);
    for (double& target : g.target) target = random.Between(-size, size);
    g.Place();
    AxisValues low = g.pos;
    AxisValues high = g.pos;
    std::vector<Judge> judges;
    for (const double pos : g.pos) judges.push_back({g.period_s, pos, 0});
    for (int step = 0; step < 20000; ++step) {
      for (std::size_t a = 0; a < kMathsAxes; ++a) {
        if (random.OneIn(target_steps)) {
          const double from = random.OneIn(5) ? random.Between(-size, size) : g.target[a];
          g.target[a] = from + spread * random.Between(-size, size);
        }
        if (random.OneIn(limit_steps)) {
          g.vel_limit[a] = random.OneIn(9) ? 0 : random.Size(-1, 0.5);
          g.acc_limit[a] = random.OneIn(9) ? 0 : random.Size(-2, largest_acc);
        }
        low[a] = std::min(low[a], g.target[a]);
        high[a] = std::max(high[a], g.target[a]);
      }
      g.SetLimits();
      g.Step();
      for (std::size_t a = 0; a < kMathsAxes; ++a) {
        const char* fault = judges[a].Fault(g.pos[a], g.target[a], g.vel_limit[a], g.acc_limit[a]);
        const double slack = 1e-12 * std::max(1.0, size);
        if (g.pos[a] < low[a] - slack || g.pos[a] > high[a] + slack) fault = "out of range";
        const double off = std::abs(g.vel[a] - judges[a].vel) + std::abs(g.acc[a] - judges[a].acc);
        if (off > 1e-9 * std::max(1.0, std::abs(g.acc[a]))) fault = "output";
        ASSERT_EQ(fault, nullptr) << fault << ": run " << run << " step " << step << " axis " << a
                                  << std::hexfloat << " at " << g.pos[a] << " speed " << g.vel[a]
                                  << " target " << g.target[a] << " acc_limit " << g.acc_limit[a]
                                  << " brake " << judges[a].brake;
      }
    }
  }
}

// An axis near 1000 at speed 1 (limit 1, acceleration 10) when the limits and the room change.
TEST(ProfileGenerator, BrakesByTheAccelerationThatIsDue) {
  const struct {
    double vel_limit, acc_limit, room, acc;
  } cases[] = {
      {0, 10, 1e9, -10},   {0, 4, 1e9, -4},          {-1, 10, 1e9, -10},        // no speed
      {NAN, 10, 1e9, -10}, {INFINITY, 10, 1e9, -10}, {1, -INFINITY, 1e9, -10},  // no numbers
      {1, 0, 1e9, -10},    {0, 0, 1e9, -10},         {1, 1e-8, 1e9, -10},       // no acceleration
      {1, 2, 1e9, 0},      {1, 2, 0.26, 0},          {1, 20, 0.05, 0},          // room enough
      {1, 2, 0.24, -10},   {1, 2, -1, -10},          {1, 20, 0.02, -20},        // too late to stop
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Generator g;
    g.target.fill(1000);
    g.Place();
    g.target.fill(2000);
    g.Step(201);
    g.target.fill(g.pos[7] + c.room);
    g.vel_limit.fill(c.vel_limit);
    g.acc_limit.fill(c.acc_limit);
    g.SetLimits();
    g.Step();
    EXPECT_NEAR(g.acc[7], c.acc, 1e-5);
    g.Step(3000);
    const bool goes_on = c.acc == 0 && c.room > 1;
    EXPECT_NEAR(g.vel[7], goes_on ? 1 : 0, 1e-9);
    EXPECT_TRUE(g.pos == g.target || c.room > 1);
  }
}

TEST(ProfileGenerator, PlacesAndRefuses) {
  const AxisValues one = Everywhere(1);
  const AxisValues untouched = Everywhere(77);
  AxisValues pos = untouched, vel = untouched, acc = untouched;
  ZQNSyncDTS state{};
  const auto step = [&](double target) {
    ZQNSyncDTS_OnDT2(&state, Everywhere(target).data(), pos.data(), vel.data(), acc.data());
  };
  const std::pair<long, double> refused[] = {{0, 1},  {-1, 1},  {9, 1},       {8, 0},
                                             {8, -1}, {8, NAN}, {8, INFINITY}};
  for (const auto& [axes, dt_ms] : refused) {
    EXPECT_FALSE(ZQNSyncDTS_OnInit(&state, axes, dt_ms, one.data(), one.data(), one.data()));
    ZQNSyncDTS_OnFollow(&state, true);
    ZQNSyncDTS_OnDT(&state, one.data(), pos.data());
    step(3);
    EXPECT_TRUE(pos == untouched && vel == untouched && acc == untouched);
  }
  const double third[] = {5, NAN, -1};
  ASSERT_TRUE(ZQNSyncDTS_OnInit(&state, 3, 1, one.data(), one.data(), third));
  EXPECT_EQ(state.third_limit[0] + state.third_limit[1] + state.third_limit[2], 5);
  step(3);  // the first step places
  EXPECT_TRUE(pos[2] == 3 && vel[2] == 0 && pos[3] == 77) << "an axis too many";
  step(4);
  EXPECT_NEAR(vel[2], 0.001, 1e-12);
  ZQNSyncDTS_OnEmpty(&state);
  step(-5);
  EXPECT_TRUE(pos[2] == -5 && vel[2] == 0);
  for (const double no_number : {NAN, INFINITY, -INFINITY}) {
    step(no_number);
    ZQNSyncDTS_OnDT(&state, Everywhere(no_number).data(), pos.data());
    EXPECT_EQ(pos[2], -5);
  }
}

}  // namespace
