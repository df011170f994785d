#include "bench/checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/floor.h"
#include "cuter/ccuter50.h"
#include "platform/motion_maths.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr long kWindow = 30;
constexpr int kSteps = 20000;

// Pseudo-random numbers, -1..1.
class Noise {
 public:
  double Next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<double>(static_cast<std::int64_t>(state_)) * 0x1p-63;
  }

 private:
  std::uint64_t state_ = 1;
};

void Compare(const char* what, const double* product, const double* floor, double most) {
  for (int a = 0; a < AREA_AXES; ++a) {
    if (!(std::abs(product[a] - floor[a]) <= most)) {
      throw std::runtime_error(std::string("bench: the floor's ") + what + " is not the product's");
    }
  }
}

// Targets that jump now and then, rest and move.
void CheckTrackerAndMean() {
  Axes vel;
  Axes acc;
  vel.fill(3);
  acc.fill(20);
  ZQNSyncDTS generator;
  ZQAVGF filter;
  ZQNSyncDTS_OnInit(&generator, AREA_AXES, kPeriod_s * 1000, vel.data(), acc.data(), acc.data());
  ZQAVGF_OnInit(&filter, AREA_AXES, kWindow, kPeriod_s);
  BareTracker tracker;
  BareMean mean;
  tracker.Init(AREA_AXES, vel.data(), acc.data(), kPeriod_s);
  Axes target{};
  Axes out{};
  Noise noise;
  ZQNSyncDTS_OnDT(&generator, target.data(), out.data());
  ZQAVGF_OnFilt(&filter, out.data(), out.data(), vel.data());
  for (int k = 0; k < kSteps; ++k) {
    for (double& q : target) {
      if (k % 700 == 0) q = noise.Next();
      if (k % 2100 > 1400) q += 1e-4 * noise.Next();
    }
    Axes pos;
    ZQNSyncDTS_OnDT2(&generator, target.data(), pos.data(), vel.data(), acc.data());
    tracker.Step(target.data());
    Compare("position", pos.data(), tracker.pos.data(), 1e-9);
    ZQAVGF_OnFilt(&filter, pos.data(), out.data(), vel.data());
    mean.Step(AREA_AXES, tracker.pos.data());
    Compare("mean", out.data(), mean.pos.data(), 1e-9);
  }
}

void CheckCut() {
  CCuter50 cutter;
  BareCut floor;
  double start[AREA_AXES][40];
  double block[AREA_AXES][BareCut::kSamples];
  const Axes zero{};
  cutter.OnInit(AREA_AXES);
  cutter.OnCutStart(zero.data(), zero.data(), zero.data(), zero.data(), zero.data(), start);
  Noise noise;
  for (int k = 0; k < kSteps / 10; ++k) {
    std::array<float, AREA_AXES> waypoint;
    for (float& q : waypoint) q = static_cast<float>(noise.Next());
    const Axes point = [&] {
      Axes wide;
      std::copy(waypoint.begin(), waypoint.end(), wide.begin());
      return wide;
    }();
    cutter.OnCutPoint(point.data(), block);
    floor.Cut(AREA_AXES, waypoint.data());
    for (std::size_t s = 0; s < BareCut::kSamples; ++s) {
      Axes column;
      for (std::size_t a = 0; a < AREA_AXES; ++a) column[a] = block[a][s];
      Compare("cut", column.data(), floor.block[s].data(), 1e-9);
    }
  }
}

}  // namespace

void CheckFloor() {
  CheckTrackerAndMean();
  CheckCut();
}

bool CheckDrift(long samples) {
  constexpr long kStride = 1009;  // between two comparisons; no multiple of the window
  ZQAVGF filter;
  ZQAVGF_OnInit(&filter, AREA_AXES, kWindow, kPeriod_s);
  std::vector<Axes> window(kWindow);
  Noise noise;
  double worst = 0;
  double largest = 0;
  for (long k = 0; k < samples; ++k) {
    Axes& in = window[static_cast<std::size_t>(k % kWindow)];
    for (std::size_t a = 0; a < AREA_AXES; ++a) {
      // Sizes that come and go, one axis after the other.
      in[a] = noise.Next() * ((k >> (a + 8)) % 2 == 0 ? 1e6 : 1);
      largest = std::max(largest, std::abs(in[a]));
    }
    Axes out;
    Axes vel;
    ZQAVGF_OnFilt(&filter, in.data(), out.data(), vel.data());
    if (k < kWindow || k % kStride != 0) continue;
    for (std::size_t a = 0; a < AREA_AXES; ++a) {
      const auto add = [a](long double sum, const Axes& sample) { return sum + sample[a]; };
      const long double sum = std::accumulate(window.begin(), window.end(), 0.0L, add);
      worst = std::max(worst, std::abs(out[a] - static_cast<double>(sum / kWindow)));
    }
  }
  const bool holds = worst <= 1e-12 * largest;
  std::printf("filter: after %ld samples of up to %.0f the mean strays by %.1e at most: %s\n",
              samples, largest, worst, holds ? "within 1e-12 of their size" : "TOO FAR");
  return holds;
}
