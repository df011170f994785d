// Motion maths: the averaging filter, and the square root.
//
// A running sum: the newest sample comes, the oldest goes. Beside it a second sum takes the same
// samples from an empty start; after a window's length it has seen just that window and replaces
// the first. So no rounding outlives two windows, and every sample costs the same.
#include <algorithm>
#include <cmath>

#include "platform/motion_maths.h"
#include "platform/standalone/axis_pair.h"

namespace {

using namespace axis_pair;

// A sample's part in the sums: a window of the largest doubles does not overflow.
constexpr double kPart = 1.0 / 32;
static_assert(kPart * kFilterWindow < 1);

// The row of the newest samples.
const double* newest_row(const ZQAVGF& state) {
  return state.ring[(state.next > 0 ? state.next : state.window) - 1];
}

// The next samples of a pair: the newest ones again where those given are not finite.
inline Pair next_sample(const double* in, int left, Pair newest) {
  const Pair sample = load_left(in, left);
  return is_finite(sample) ? sample : newest;
}

// Fills the window with the next samples.
void fill(ZQAVGF& state, const double* in) {
  const double* const newest = newest_row(state);
  for (int a = 0; a < state.axes; a += 2) {
    const Pair sample = next_sample(in + a, state.axes - a, load(newest + a));
    for (int k = 0; k < state.window; ++k) store(state.ring[k] + a, sample);
    store(state.sum + a, sample * kPart * state.window);
    store(state.fresh_sum + a, both(0));
    store(state.equal + a, both(kFilterWindow));
  }
  state.next = 0;
  state.filled = true;
}

// Adds what the samples of a pair change in the sum of the window; `complete` when the second sum
// has seen the whole window with them.
inline Pair advance_sums(ZQAVGF& state, Pair sample, Pair oldest, bool complete, int a) {
  const Pair sum = load(state.sum + a) + (sample * kPart - oldest * kPart);
  const Pair fresh = load(state.fresh_sum + a) + sample * kPart;
  store(state.sum + a, complete ? fresh : sum);
  store(state.fresh_sum + a, complete ? both(0) : fresh);
  return sum;
}

}  // namespace

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
  if (!state->filled) fill(*state, in);
  // Here rather than in the loop, where the compiler has to expect that the stores change them.
  const int axes = state->axes;
  const double* const newest = newest_row(*state);
  double* const oldest = state->ring[state->next];
  const bool complete = state->next == state->window - 1;
  const Pair parts = both(state->window * kPart);
  const Pair span_s = both(state->span_s);
  const Pair window = both(std::max(state->window, 2));  // one sample has none to equal
  const Pair largest = both(DBL_MAX);
  for (int a = 0; a < axes; a += 2) {
    const int left = axes - a;
    const Pair before = load(newest + a);
    const Pair first = load(oldest + a);
    const Pair sample = next_sample(in + a, left, before);
    const Pair repeated = smaller(load(state->equal + a) + 1, window);
    const Pair equal = sample == before ? repeated : both(1);
    const Pair sum = advance_sums(*state, sample, first, complete, a);
    const Pair mean = limited(sum / parts, largest);
    const Pair speed = limited((sample - first) / span_s, largest);
    store(state->equal + a, equal);
    store(oldest + a, sample);
    store_left(out + a, equal == window ? sample : mean, left);
    store_left(vel + a, equal == window ? both(0) : speed, left);
  }
  state->next = state->next + 1 < state->window ? state->next + 1 : 0;
}

double ZQ_Sqrt(double x) {
  return x > 0 ? std::sqrt(x) : 0.0;
}
