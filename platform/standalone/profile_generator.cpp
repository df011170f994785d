// Motion maths: the profile generator. docs/motion-maths.md derives the law.
//
// Per axis, a step of length T changes the speed by at most h = A*T, so speeds are counted in h and
// distances in q = h*T. An axis that makes its next step at speed u and then brakes by 1 a step
// covers u + (u-1) + ... = (n+1)*(u - n/2) before it rests, with n + 1 terms above 0. Solved for u,
// the largest next speed from which it can stop exactly at distance e is e/(n+1) + n/2 with the
// largest n that has room: n*(n+1)/2 <= e. Taken anew each step, this speed falls by 1 a step and
// within the last q is e itself: the axis lands, and needs no more than 1 to stand.
//
// What an axis does is judged by the differences of its positions, and those are rounded. The state
// keeps the speed that was meant, so that roundings do not add up in it, and braking may take a
// grain more than A, the size of a rounding, so that they do not carry an axis past its target.
#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/motion_maths.h"
#include "platform/standalone/axis_pair.h"

namespace {

using namespace axis_pair;

// Larger limits, and periods beyond it or its inverse, would overflow and serve no machine.
constexpr double kLargest = 1e100;
// A target's speed that is not known: what it changes by is no number either, and counts nowhere.
constexpr double kNoSpeed = std::numeric_limits<double>::quiet_NaN();
// In q: of a larger distance the law would see no more than the order.
constexpr double kFarthest = 1e15;
// In h: how closely the planned speed has to agree with a landing.
constexpr double kTolerance = 1e-9;
// Shares of h. A target's acceleration is left to it up to the first; the rest catches up. A change
// of its speed beyond the second is a jump, which takes no acceleration to follow: nothing could.
constexpr double kMostReserve = 15.0 / 16;
constexpr double kJump = 2;
// In h: a run that changes its speed by more asks for far more than there is.
constexpr double kFarTooMuch = 1.25;
// In h: the least that a run is believed to brake by.
constexpr double kLeastBraking = 1e-6;
// Over such stretches a run's change of speed is judged, so that noise on its samples, which an
// axis need not follow, does not count.
constexpr double kStretch_s = 0.064;
// How long the hardest one is remembered, at least; twice that at most.
constexpr double kMemory_s = 2;
// How much harder than in the mean of a stretch a run may brake within it.
constexpr double kPeak = 16.0 / 15;

double valid_limit(double limit) {
  return std::isfinite(limit) && limit > 0 ? std::min(limit, kLargest) : 0.0;
}

// The next targets of a pair: the last ones where those given are not finite.
Pair next_target(const ZQNSyncDTS& state, const double* given, int a) {
  const Pair target = load_left(given + a, state.axes - a);
  return is_finite(target) ? target : load(state.target + a);
}

void take_targets(ZQNSyncDTS& state, const double* given) {
  for (int a = 0; a < state.axes; a += 2) store(state.target + a, next_target(state, given, a));
}

void place(ZQNSyncDTS& state) {
  std::copy_n(state.target, kMathsAxes, state.pos);
  std::fill_n(state.speed, kMathsAxes, 0.0);
  std::fill_n(state.vel, kMathsAxes, 0.0);
  std::fill_n(state.target_speed, kMathsAxes, kNoSpeed);
  state.placed = true;
  state.run_begins = true;
}

// Largest next speed, in h, from which an axis can stop exactly at distance e >= 0, in q.
Pair stopping_speed(Pair e) {
  const Pair n = nearest(root(2 * e + 0.25) - 1);  // rounds down sqrt(2e + 1/4) - 1/2
  return e / (n + 1) + 0.5 * n;
}

// The way of a stop, in q, after a step at speed v, in h: (v-1) + (v-2) + ... down to rest.
Pair stopping_way(Pair v) {
  const Pair n = nearest(v - 0.5);  // steps to rest: rounds down v
  return n * v - 0.5 * n * (n + 1);
}

// What a pair of axes may do in the next step.
struct Authority {
  Pair top;    // largest speed
  Pair h;      // largest change of speed
  Pair grain;  // what rounding makes of a speed
};

inline Authority authority(const ZQNSyncDTS& state, Pair pos, Pair speed, int a) {
  // An acceleration that drowns in the position's rounding is none.
  const Pair q = load(state.acc_way + a);
  const Mask moves = (q >= ulp(pos)) & (q > 0);
  return {.top = moves ? load(state.vel_limit + a) : both(0),
          .h = moves ? load(state.acc_speed + a) : both(0),
          .grain = DBL_EPSILON * (magnitude(pos) * state.rate_hz + 2 * magnitude(speed))};
}

// Where the axes can come to rest before the targets, or at once, under the limits in force.
Mask can_stop(const ZQNSyncDTS& state, Pair target, int a) {
  const double T = state.period_s;
  const Pair pos = load(state.pos + a);
  const Pair speed = load(state.speed + a);
  const Authority may = authority(state, pos, speed, a);
  const Pair v = magnitude(speed) / larger(may.h, both(DBL_MIN));
  const Pair way = stopping_way(v) * may.h * T;
  return (magnitude(speed) <= may.h) | (way <= along(target - pos, speed) + v * may.grain * T);
}

// After a change of the limits, until all axes brake by the new ones: an axis that cannot stop any
// more before its target keeps the largest acceleration that was in force since it could.
void settle_brakes(ZQNSyncDTS& state, const double* given) {
  Mask settled = Mask{-1, -1};
  for (int a = 0; a < state.axes; a += 2) {
    const Pair h = load(state.acc_speed + a);
    const Pair kept = larger(load(state.brake_speed + a), h);
    const Pair brake = can_stop(state, next_target(state, given, a), a) ? h : kept;
    store(state.brake_speed + a, brake);
    settled &= brake == h;
  }
  state.brakes_settled = (settled[0] & settled[1]) != 0;
}

// The frame of reference in which the next step is planned.
struct PlanFrame {
  Pair speed;  // of the target; 0 for a target that is not followed
  Pair h;      // what is left for the axis beside the changes of that speed
  Pair per_q;  // 1 / (h * T)
};

// The target's own frame. What its speed has changed by at most since the run began stays reserved
// for such changes; with the present one alone, a catching-up that began while the target moved
// evenly would end too fast.
inline PlanFrame follow(ZQNSyncDTS& state, const Authority& may, Pair target, int a) {
  const Pair speed = limited((target - load(state.target + a)) * state.rate_hz, may.top);
  const Pair change = magnitude(speed - load(state.target_speed + a));
  const Pair reserve = load(state.reserve + a);
  const Pair needed = larger(reserve, change <= kJump * may.h ? change : both(0));
  store(state.target_speed + a, speed);
  store(state.reserve + a, needed);
  // Once the run has shown its hardest moment, the division before the law's own is spared.
  const Mask known = (needed == reserve) & (may.h == load(state.plan_of + a));
  if ((known[0] & known[1]) == 0) {
    const Pair h = may.h - smaller(needed, kMostReserve * may.h);
    store(state.plan_of + a, may.h);
    store(state.plan_speed + a, h);
    store(state.per_plan_way + a, 1 / larger(h * state.period_s, both(DBL_MIN)));
  }
  return {.speed = speed, .h = load(state.plan_speed + a), .per_q = load(state.per_plan_way + a)};
}

// The law of axes that are off their samples, where it might carry them out of the run's range:
// when the run leaves them less than their reserve or asks for far too much, and when they run
// ahead of samples that come to them. They then make no step from which they could not stop where
// the run itself would come to rest, were it to brake as hard as it lately changed its speed. A run
// that asks for a little too much is rather passed by a little than lagged behind.
inline Pair hold_back(const ZQNSyncDTS& state, const PlanFrame& frame, const Authority& may,
                      Pair law, Pair ahead, Pair target, int a) {
  const Pair pos = load(state.pos + a);
  const Pair hardest = larger(load(state.hardest + a), load(state.hardest_before + a));
  const Mask fits = hardest <= may.h;
  const Mask outrun = (hardest > kMostReserve * may.h) & (fits | (hardest > kFarTooMuch * may.h));
  const Mask flees = (along(law, frame.speed) > 0) & (along(ahead, frame.speed) < 0);
  const Mask held = (pos != load(state.target + a)) & (outrun | flees);
  if ((held[0] | held[1]) == 0) return law;
  const Pair likely = fits ? smaller(kPeak * hardest, may.h) : kPeak * hardest;
  const Pair braking = larger(larger(likely, kLeastBraking * may.h), both(DBL_MIN));
  const Pair steps = smaller(magnitude(frame.speed) / braking, both(kFarthest));
  const Pair run_way = stopping_way(steps) * braking * state.period_s;
  const Pair room = larger(along(target - pos, frame.speed) + run_way, both(0));
  const Pair e = smaller(room * load(state.per_acc_way + a), both(kFarthest));
  const Pair most = stopping_speed(e) * may.h;
  return held ? along(smaller(along(law, frame.speed), most), frame.speed) : law;
}

// One step of a pair of axes: position, speed meant, velocity; the accelerations are the result.
template <bool following>
inline Pair step(ZQNSyncDTS& state, const double* given, int a) {
  const double T = state.period_s;
  const Pair pos = load(state.pos + a);
  const Pair speed = load(state.speed + a);
  const Pair vel = load(state.vel + a);
  const Pair target = next_target(state, given, a);
  const Authority may = authority(state, pos, speed, a);
  PlanFrame frame{.speed = both(0), .h = may.h, .per_q = load(state.per_acc_way + a)};
  if constexpr (following) frame = follow(state, may, target, a);

  const Pair distance = target - pos;
  const Pair ahead = distance - frame.speed * T;
  const Pair e = smaller(magnitude(ahead) * frame.per_q, both(kFarthest));
  Pair law = frame.speed + with_sign(stopping_speed(e) * frame.h, ahead);
  if constexpr (following) law = hold_back(state, frame, may, law, ahead, target, a);

  const Pair brake = load(state.brake_speed + a) + may.grain;
  const Pair braked = with_sign(larger(magnitude(speed) - brake, both(0)), speed);
  const Pair least = smaller(speed - may.h, braked);
  const Pair most = larger(speed + may.h, braked);
  const Pair next_speed = larger(smaller(limited(law, may.top), most), least);

  const Pair way = next_speed * T;
  const Pair near = (load(state.landing_speed + a) + 0.5 * may.grain) * T;
  const Mask lands = (e <= 1 + kTolerance) & (magnitude(way - distance) <= near);
  const Pair next_pos = lands ? target : pos + way;
  const Pair next_vel = (next_pos - pos) * state.rate_hz;
  store(state.target + a, target);
  store(state.pos + a, next_pos);
  store(state.speed + a, lands ? next_vel : next_speed);
  store(state.vel + a, next_vel);
  return (next_vel - vel) * state.rate_hz;
}

// The first speed that a run has is no change of speed; with it the first stretch begins.
void begin_changes(ZQNSyncDTS& state) {
  std::fill_n(state.target_speed, kMathsAxes, kNoSpeed);
  std::fill_n(state.mark_speed, kMathsAxes, kNoSpeed);
  state.stretch_s = kStretch_s;
}

// Judges how hard a run changes its speed, and lets that be forgotten in time.
void remember_changes(ZQNSyncDTS& state) {
  state.stretch_s += state.period_s;
  if (state.stretch_s < kStretch_s) return;
  const double share = state.period_s / state.stretch_s;
  for (int a = 0; a < kMathsAxes; a += 2) {
    const Pair speed = load(state.target_speed + a);
    const Pair change = magnitude(speed - load(state.mark_speed + a)) * share;
    store(state.hardest + a, larger(change, load(state.hardest + a)));
    store(state.mark_speed + a, speed);
  }
  state.hardest_age_s += state.stretch_s;
  state.stretch_s = 0;
  if (state.hardest_age_s < kMemory_s) return;
  state.hardest_age_s = 0;
  std::copy_n(state.hardest, kMathsAxes, state.hardest_before);
  std::fill_n(state.hardest, kMathsAxes, 0.0);
}

template <bool following>
void step_all(ZQNSyncDTS& state, const double* target, double* pos, double* vel, double* acc) {
  for (int a = 0; a < state.axes; a += 2) {
    const int left = state.axes - a;
    store_left(acc + a, step<following>(state, target, a), left);
    store_left(pos + a, load(state.pos + a), left);
    store_left(vel + a, load(state.vel + a), left);
  }
}

}  // namespace

bool ZQNSyncDTS_OnInit(ZQNSyncDTS* state, long axes, double dt_ms, const double* vel,
                       const double* acc, const double* third) {
  *state = {};
  const double period_s = dt_ms / 1000;
  if (axes < 1 || axes > kMathsAxes) return false;
  if (!(period_s >= 1 / kLargest && period_s <= kLargest)) return false;
  state->axes = static_cast<int>(axes);
  state->period_s = period_s;
  state->rate_hz = 1 / period_s;
  ZQNSyncDTS_OnSetRunTimeLmt(state, vel, acc);
  for (int a = 0; a < state->axes; ++a) state->third_limit[a] = valid_limit(third[a]);
  return true;
}

void ZQNSyncDTS_OnEmpty(ZQNSyncDTS* state) {
  state->placed = false;
}

void ZQNSyncDTS_OnDT(ZQNSyncDTS* state, const double* target, double* pos) {
  take_targets(*state, target);
  place(*state);
  std::copy_n(state->pos, state->axes, pos);
}

void ZQNSyncDTS_OnDT2(ZQNSyncDTS* state, const double* target, double* pos, double* vel,
                      double* acc) {
  // A run's first target has no speed of its own: it is wherever the run begins.
  if (!state->placed || state->run_begins) take_targets(*state, target);
  if (!state->placed) place(*state);
  if (!state->brakes_settled) settle_brakes(*state, target);
  const auto step = state->following ? step_all<true> : step_all<false>;
  step(*state, target, pos, vel, acc);
  if (state->run_begins) {
    begin_changes(*state);
  } else if (state->following) {
    remember_changes(*state);
  }
  state->run_begins = false;
}

void ZQNSyncDTS_OnFollow(ZQNSyncDTS* state, bool on) {
  if (on && !state->following) {
    std::fill_n(state->target_speed, kMathsAxes, kNoSpeed);
    std::fill_n(state->reserve, kMathsAxes, 0.0);
    std::fill_n(state->hardest, kMathsAxes, 0.0);
    std::fill_n(state->hardest_before, kMathsAxes, 0.0);
    state->hardest_age_s = 0;
    std::fill_n(state->plan_of, kMathsAxes, -1.0);  // of none
    state->run_begins = true;
  }
  state->following = on;
}

void ZQNSyncDTS_OnSetRunTimeLmt(ZQNSyncDTS* state, const double* vel, const double* acc) {
  ZQNSyncDTS_OnSetRunTimeVel(state, vel);
  ZQNSyncDTS_OnSetRunTimeAcc(state, acc);
}

void ZQNSyncDTS_OnSetRunTimeVel(ZQNSyncDTS* state, const double* vel) {
  for (int a = 0; a < state->axes; ++a) {
    state->vel_limit[a] = valid_limit(vel[a]);
    state->landing_speed[a] = kTolerance * std::min(state->vel_limit[a], state->acc_speed[a]);
  }
}

void ZQNSyncDTS_OnSetRunTimeAcc(ZQNSyncDTS* state, const double* acc) {
  for (int a = 0; a < state->axes; ++a) {
    const double h = valid_limit(acc[a]) * state->period_s;
    const double q = h * state->period_s;
    const bool moves = q >= DBL_MIN;
    state->acc_speed[a] = moves ? h : 0;
    state->acc_way[a] = moves ? q : 0;
    state->per_acc_way[a] = 1 / std::max(q, DBL_MIN);
    state->landing_speed[a] = kTolerance * std::min(state->vel_limit[a], state->acc_speed[a]);
  }
  state->brakes_settled = false;
}
