// What the motion maths make of five targets, as blocks of columns for motion_maths.gp.
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>

#include "platform/motion_maths.h"

namespace {

constexpr double kPeriod_s = 0.001;
using Two = std::array<double, 2>;

struct Scene {
  const char* name;
  double seconds, vel;
  Two acc;                             // limits of the two axes
  double run_from, run_to;             // when the target is followed, s
  std::function<Two(double)> target;   // at a time
  double lowered_at, lowered_acc = 0;  // a lower acceleration limit for both axes
};

void Play(const Scene& scene) {
  ZQNSyncDTS generator;
  ZQAVGF filter;
  const double vel_limit[] = {scene.vel, scene.vel};
  ZQNSyncDTS_OnInit(&generator, 2, kPeriod_s * 1000, vel_limit, scene.acc.data(), scene.acc.data());
  ZQAVGF_OnInit(&filter, 2, kFilterWindow, kPeriod_s);
  Two pos, vel, acc, mean, mean_vel;
  Two before{};
  ZQNSyncDTS_OnDT(&generator, scene.target(0).data(), pos.data());
  std::printf("\n\n# %s\n%s\n", scene.name, scene.name);
  for (int k = 1; k * kPeriod_s <= scene.seconds; ++k) {
    const double t = k * kPeriod_s;
    const Two target = scene.target(t);
    if (t > scene.lowered_at) {
      const double low[] = {scene.lowered_acc, scene.lowered_acc};
      ZQNSyncDTS_OnSetRunTimeAcc(&generator, low);
    }
    ZQNSyncDTS_OnFollow(&generator, t > scene.run_from && t < scene.run_to);
    ZQNSyncDTS_OnDT2(&generator, target.data(), pos.data(), vel.data(), acc.data());
    ZQAVGF_OnFilt(&filter, pos.data(), mean.data(), mean_vel.data());
    std::printf("%.4f %.8g %.8g %.8g %.8g %.8g %.8g %.8g %.8g\n", t, target[0], pos[0], vel[0],
                acc[0], mean_vel[0], (mean_vel[0] - before[0]) / kPeriod_s, target[1], pos[1]);
    before = mean_vel;
  }
}

}  // namespace

int main() {
  constexpr double kNever = 1e9;
  const auto step = [](double t) { return t < 0.1 ? Two{} : Two{1.2, 1.2}; };
  const auto far = [](double t) { return t < 0.1 ? Two{} : Two{2, 2}; };
  const auto swing = [](double t) {
    const double s = t < 3 ? (1 - std::cos(4.3 / 1.5 * t)) * 1.5 * 1.5 / 4.3 : 0;
    return Two{s, s};
  };
  const auto stopped = [&](double t) { return swing(std::min(t, 0.6)); };
  const auto circle = [](double t) {
    const double angle = 4.3 / 1.5 * t;
    const double radius = 1.5 * 1.5 / 4.3 * std::min(1.0, t * t / 2);
    return Two{radius * std::cos(angle), radius * std::sin(angle)};
  };
  Play({"step", 2.2, 0.8, {4, 4}, kNever, kNever, step, kNever});
  Play({"moving", 3.8, 2, {8, 8}, kNever, kNever, swing, kNever});
  Play({"lowered", 3.5, 3, {20, 20}, kNever, kNever, far, 0.4, 0.5});
  Play({"path_lagging", 5, 2, {8, 20}, kNever, kNever, circle, kNever});
  Play({"path_followed", 5, 2, {8, 20}, 0, kNever, circle, kNever});
  Play({"stop", 1.4, 2, {8, 8}, 0, 0.6, stopped, kNever});
}
