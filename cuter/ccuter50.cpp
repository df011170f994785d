#include "cuter/ccuter50.h"

#include <algorithm>

namespace {

constexpr long kMaxAxes = 8;
constexpr int kStepsPerInterval = 20;
constexpr int kTaps = 10;

}  // namespace

// The quartic through (0, 0), (1, d1) .. (4, d4), one row a coefficient.
CCuter50::CCuter50()
    : fit_matrix{{4.0, -3.0, 1.3333333333333333, -0.25},
                 {-4.333333333333333, 4.75, -2.3333333333333335, 0.4583333333333333},
                 {1.5, -2.0, 1.1666666666666667, -0.25},
                 {-0.16666666666666666, 0.25, -0.16666666666666666, 0.041666666666666664}} {}

bool CCuter50::OnInit(long axes) {
  if (axes > kMaxAxes) return false;
  axis_count = static_cast<int>(std::max(axes, 0L));
  inited = true;
  stopped = true;
  return true;
}

void CCuter50::OnEmpty() {
  stopped = true;
}

void CCuter50::GetABCD(const double* d, double* out) const {
  for (int i = 0; i < 4; ++i) {
    const double* row = fit_matrix[i];
    out[i] = row[0] * d[0] + row[1] * d[1] + row[2] * d[2] + row[3] * d[3];
  }
}

bool CCuter50::OnCutStart(const double* p0, const double* p1, const double* p2, const double* p3,
                          const double* p4, double (*block)[40]) {
  if (!inited || !stopped) return false;
  stopped = false;
  const double* const points[] = {p0, p1, p2, p3, p4};
  for (int a = 0; a < axis_count; ++a) {
    for (int i = 0; i < 5; ++i) span_pos[i][a] = points[i][a];
    Fit(a);
    std::fill_n(avg_ring[a], kTaps, p0[a]);
    avg_sum[a] = p0[a] * kTaps;
  }
  ring_index = 0;
  EmitBlock(block, 0);
  return true;
}

bool CCuter50::OnCutPoint(const double* point, double (*block)[20]) {
  if (!inited || stopped) return false;
  for (int a = 0; a < axis_count; ++a) {
    for (int i = 0; i < 4; ++i) span_pos[i][a] = span_pos[i + 1][a];
    span_pos[4][a] = point[a];
    Fit(a);
  }
  EmitBlock(block, kStepsPerInterval);
  return true;
}

bool CCuter50::OnCutStop(double (*block)[51]) {
  if (!inited || stopped) return false;
  EmitBlock(block, 2 * kStepsPerInterval);
  stopped = true;
  return true;
}

void CCuter50::Fit(int axis) {
  const double p0 = span_pos[0][axis];
  const double d[4] = {span_pos[1][axis] - p0, span_pos[2][axis] - p0, span_pos[3][axis] - p0,
                       span_pos[4][axis] - p0};
  GetABCD(d, coef[axis]);
}

// Fills the block with the samples from step `first` on; steps beyond the span stay at its end, so
// that the average settles there.
template <int N>
void CCuter50::EmitBlock(double (*block)[N], int first) {
  for (int column = 0; column < N; ++column) {
    const double t = std::min(static_cast<double>(first + column) / kStepsPerInterval, 4.0);
    for (int a = 0; a < axis_count; ++a) block[a][column] = EmitSample(a, t);
    ring_index = ring_index + 1 < kTaps ? ring_index + 1 : 0;
  }
}

double CCuter50::EmitSample(int axis, double t) {
  const double* c = coef[axis];
  const double t3 = t * t * t;
  const double x = c[0] * t + span_pos[0][axis] + c[1] * (t * t) + c[2] * t3 + c[3] * (t3 * t);
  double& oldest = avg_ring[axis][ring_index];
  avg_sum[axis] = avg_sum[axis] - oldest + x;
  oldest = x;
  return avg_sum[axis] * 0.1;
}
