// Motion maths: the profile generator and the averaging filter.
//
// The generator's law, per axis. A step of length T changes the speed by at most h = A*T, so speeds
// are counted in h and distances in q = h*T. An axis that makes its next step at speed u and then
// brakes by 1 a step covers u + (u-1) + ... = (n+1)*(u - n/2) before it rests, n + 1 being the
// number of terms above 0. Solved for u, the largest next speed from which it can stop exactly at
// distance e is e/(n+1) + n/2 with n = floor((sqrt(1 + 8e) - 1)/2), the largest n that has room:
// n*(n+1)/2 <= e. Taken anew each step, this speed falls by 1 a step and within the last q is e
// itself: the axis lands, and needs no more than 1 to stand. Positions are rounded and speeds are
// their differences, so the law plans with a little less than A: the rest takes up the rounding,
// which otherwise would carry a long braking past the target.
#include "platform/motion_maths.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

// Larger limits, and periods beyond it or its inverse, would overflow and serve no machine.
constexpr double kLargest = 1e100;
// In q: 8 times it plus 1 still is a whole number of a double.
constexpr double kFarthest = 1e15;
// Of h and q: far above the rounding of the law's terms, far below anyone's notice.
constexpr double kTolerance = 1e-9;

double valid_limit(double limit) {
  return std::isfinite(limit) && limit > 0 ? std::min(limit, kLargest) : 0.0;
}

// Stores the limits of all axes.
void set_limits(const ZQNSyncDTS& state, const double* given, double* limits) {
  for (int a = 0; a < state.axes; ++a) limits[a] = valid_limit(given[a]);
}

void take_targets(ZQNSyncDTS& state, const double* target) {
  for (int a = 0; a < state.axes; ++a) {
    if (std::isfinite(target[a])) state.target[a] = target[a];
  }
}

void place(ZQNSyncDTS& state) {
  std::copy_n(state.target, state.axes, state.pos);
  std::fill_n(state.vel, state.axes, 0.0);
  state.placed = true;
}

// Largest next speed, in h, from which an axis can stop exactly at distance e, in q.
double stopping_speed(double e) {
  const double d = std::min(std::abs(e), kFarthest);
  const double n = std::floor((std::sqrt(1 + 8 * d) - 1) / 2);
  return std::copysign(d / (n + 1) + n / 2, e);
}

double limited(double value, double limit) {
  return std::clamp(value, -limit, limit);
}

// The position one step on, without using the acceleration limit: a standing axis stays, a moving
// one brakes at the last limit there was.
double hold(const ZQNSyncDTS& state, int a, double rounding) {
  const double h = std::max(state.brake_acc[a] * state.period_s, rounding);
  return state.pos[a] + (state.vel[a] - limited(state.vel[a], h)) * state.period_s;
}

// The position one step on the way to the target. With an acceleration that drowns in the rounding
// there is nothing to plan with.
double advance(const ZQNSyncDTS& state, int a) {
  const double T = state.period_s;
  const double from = state.pos[a];
  // What the rounding of the new position may add to a speed.
  const double rounding = std::max(std::abs(from) * DBL_EPSILON, DBL_MIN) / T;
  const double h = state.acc_limit[a] * T - rounding;
  if (h <= 8 * rounding) return hold(state, a, rounding);

  const double plan_h = h * (1 - kTolerance) - 4 * rounding;
  const double top_speed = std::max(state.vel_limit[a] - rounding, 0.0);
  const double distance = state.target[a] - from;
  const double e = distance / (plan_h * T);
  const double wanted = limited(stopping_speed(e) * plan_h, top_speed);
  const double speed = std::clamp(wanted, state.vel[a] - h, state.vel[a] + h);

  const double landing = distance / T;  // the speed that reaches the target in this step
  const bool lands =
      std::abs(landing) <= state.vel_limit[a] && std::abs(speed - landing) <= kTolerance * h;
  return lands ? state.target[a] : from + speed * T;
}

// Sums in long double: 30 doubles neither overflow there nor, when equal, lose a bit, so that a
// standing axis gives its position exactly.
double mean(const double* samples, int count) {
  static_assert(LDBL_MANT_DIG >= DBL_MANT_DIG + 5 && LDBL_MAX_EXP > DBL_MAX_EXP + 5);
  long double sum = 0;
  for (int k = 0; k < count; ++k) sum += samples[k];
  return static_cast<double>(sum / count);
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
  ZQNSyncDTS_OnSetRunTimeLmt(state, vel, acc);
  set_limits(*state, third, state->third_limit);
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
  take_targets(*state, target);
  if (!state->placed) place(*state);
  for (int a = 0; a < state->axes; ++a) {
    const double next = advance(*state, a);
    const double speed = (next - state->pos[a]) / state->period_s;
    acc[a] = (speed - state->vel[a]) / state->period_s;
    pos[a] = state->pos[a] = next;
    vel[a] = state->vel[a] = speed;
  }
}

void ZQNSyncDTS_OnSetRunTimeLmt(ZQNSyncDTS* state, const double* vel, const double* acc) {
  ZQNSyncDTS_OnSetRunTimeVel(state, vel);
  ZQNSyncDTS_OnSetRunTimeAcc(state, acc);
}

void ZQNSyncDTS_OnSetRunTimeVel(ZQNSyncDTS* state, const double* vel) {
  set_limits(*state, vel, state->vel_limit);
}

void ZQNSyncDTS_OnSetRunTimeAcc(ZQNSyncDTS* state, const double* acc) {
  set_limits(*state, acc, state->acc_limit);
  for (int a = 0; a < state->axes; ++a) {
    if (state->acc_limit[a] > 0) state->brake_acc[a] = state->acc_limit[a];
  }
}

bool ZQAVGF_OnInit(ZQAVGF* state, long axes, long window, double period_s) {
  *state = {};
  if (axes < 1 || axes > kMathsAxes || window < 1 || window > kFilterWindow) return false;
  const double span_s = static_cast<double>(window) * period_s;
  if (!(span_s > 0 && std::isfinite(span_s))) return false;
  state->axes = static_cast<int>(axes);
  state->window = static_cast<int>(window);
  state->span_s = span_s;
  return true;
}

void ZQAVGF_OnEmpty(ZQAVGF* state) {
  state->filled = false;
}

void ZQAVGF_OnFilt(ZQAVGF* state, const double* in, double* out, double* vel) {
  if (state->axes == 0) return;
  const int newest = (state->next + state->window - 1) % state->window;
  for (int a = 0; a < state->axes; ++a) {
    double* ring = state->ring[a];
    const double sample = std::isfinite(in[a]) ? in[a] : ring[newest];
    if (!state->filled) std::fill_n(ring, state->window, sample);
    vel[a] = limited((sample - ring[state->next]) / state->span_s, DBL_MAX);
    ring[state->next] = sample;
    out[a] = mean(ring, state->window);
  }
  state->filled = true;
  state->next = (state->next + 1) % state->window;
}

double ZQ_Sqrt(double x) {
  return x > 0 ? std::sqrt(x) : 0.0;
}
