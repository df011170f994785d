// Motion maths: the averaging filter, and the square root.
//
// A running sum: the newest sample comes, the oldest goes. Beside it a second sum takes the same
// samples from an empty start; after a window's length it has seen just that window and replaces
// the first. So no rounding outlives a window, and every sample costs the same.
#include <algorithm>
#include <cmath>

#include "platform/motion_maths.h"
#include "platform/standalone/axis_pair.h"

namespace {

using namespace axis_pair;

// A sample's part in the sums: a window of the largest doubles does not overflow.
constexpr double kPart = 1.0 / 32;
static_assert(kPart * kFilterWindow < 1);

Pair newest_sample(const ZQAVGF& state, int a) {
  return load(state.ring[(state.next > 0 ? state.next : state.window) - 1] + a);
}

// The next samples of a pair: the newest ones again where those given are not finite.
Pair next_sample(const ZQAVGF& state, const double* in, int a) {
  const Pair sample = load_left(in + a, state.axes - a);
  return is_finite(sample) ? sample : newest_sample(state, a);
}

// Fills the window with the next samples.
void fill(ZQAVGF& state, const double* in) {
  for (int a = 0; a < state.axes; a += 2) {
    const Pair sample = next_sample(state, in, a);
    for (int k = 0; k < state.window; ++k) store(state.ring[k] + a, sample);
    store(state.sum + a, sample * kPart * state.window);
    store(state.fresh_sum + a, both(0));
    store(state.equal + a, both(kFilterWindow));
  }
  state.next = 0;
  state.filled = true;
}

// Exchanges the oldest samples for the next ones; the sum of the window.
inline Pair exchange(ZQAVGF& state, Pair sample, Pair oldest, int a) {
  const Pair sum = load(state.sum + a) + (sample * kPart - oldest * kPart);
  const Pair fresh = load(state.fresh_sum + a) + sample * kPart;
  const bool complete = state.next == state.window - 1;
  store(state.sum + a, complete ? fresh : sum);
  store(state.fresh_sum + a, complete ? both(0) : fresh);
  store(state.ring[state.next] + a, sample);
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
  const Pair window = both(std::max(state->window, 2));  // one sample is equal to none
  const Pair largest = both(DBL_MAX);
  for (int a = 0; a < state->axes; a += 2) {
    const int left = state->axes - a;
    const Pair sample = next_sample(*state, in, a);
    const Pair oldest = load(state->ring[state->next] + a);
    const Pair repeated = smaller(load(state->equal + a) + 1, window);
    const Pair equal = sample == newest_sample(*state, a) ? repeated : both(1);
    store(state->equal + a, equal);
    const Pair sum = exchange(*state, sample, oldest, a);
    const Pair mean = limited(sum / (state->window * kPart), largest);
    const Pair speed = limited((sample - oldest) / state->span_s, largest);
    store_left(out + a, equal == window ? sample : mean, left);
    store_left(vel + a, equal == window ? both(0) : speed, left);
  }
  state->next = state->next + 1 < state->window ? state->next + 1 : 0;
}

double ZQ_Sqrt(double x) {
  return x > 0 ? std::sqrt(x) : 0.0;
}
