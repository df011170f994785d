#include "bench/floor.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "bench/robot.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr int kFramesPerCycle = 3;
constexpr double kNear = 1e-9;  // how closely speed and distance agree where an axis lands

std::size_t Next(std::size_t slot, std::size_t slots) {
  return slot + 1 < slots ? slot + 1 : 0;
}

}  // namespace

void BareTracker::Init(std::size_t axis_count, const double* vel_limit, const double* acc_limit,
                       double period_s) {
  axes_ = axis_count;
  rate_hz_ = 1 / period_s;
  for (std::size_t a = 0; a < axes_; ++a) {
    h_[a] = acc_limit[a] * period_s;
    q_[a] = h_[a] * period_s;
    per_h_[a] = 1 / h_[a];
    per_q_[a] = 1 / q_[a];
    top_[a] = vel_limit[a] / h_[a];
  }
}

void BareTracker::Step(const double* target) {
  for (std::size_t a = 0; a < axes_; ++a) {
    const double e = (target[a] - pos[a]) * per_q_[a];
    const double d = std::abs(e);
    // The whole part of a number that is not negative and far from overflow.
    const double n = static_cast<int>((std::sqrt(1 + 8 * d) - 1) * 0.5);
    const double now = vel[a] * per_h_[a];
    const double wanted = std::copysign(std::min(d / (n + 1) + n * 0.5, top_[a]), e);
    const double speed = std::min(std::max(wanted, now - 1), now + 1);
    const bool lands = d <= 1 + kNear && std::abs(speed - e) <= kNear;
    const double next = lands ? target[a] : pos[a] + speed * q_[a];
    const double next_vel = (next - pos[a]) * rate_hz_;
    acc[a] = (next_vel - vel[a]) * rate_hz_;
    pos[a] = next;
    vel[a] = next_vel;
  }
}

void BareMean::Step(std::size_t axes, const double* in) {
  constexpr double kShare = 1.0 / kTaps;
  constexpr double kRate_hz = kShare / kPeriod_s;
  Axes& oldest = ring_[oldest_];
  for (std::size_t a = 0; a < axes; ++a) {
    const double sample = in[a];
    const double step = sample - oldest[a];
    sum_[a] += step;
    oldest[a] = sample;
    pos[a] = sum_[a] * kShare;
    vel[a] = step * kRate_hz;
  }
  oldest_ = Next(oldest_, kTaps);
}

void BareCut::Fit(std::size_t axes, const float* waypoint) {
  for (std::size_t a = 0; a < axes; ++a) {
    for (std::size_t k = 0; k < 4; ++k) span_[k][a] = span_[k + 1][a];
    span_[4][a] = waypoint[a];
    const double p0 = span_[0][a];
    const double d1 = span_[1][a] - p0;
    const double d2 = span_[2][a] - p0;
    const double d3 = span_[3][a] - p0;
    const double d4 = span_[4][a] - p0;
    coef_[0][a] = 4 * d1 - 3 * d2 + (4.0 / 3) * d3 - 0.25 * d4;
    coef_[1][a] = -(13.0 / 3) * d1 + 4.75 * d2 - (7.0 / 3) * d3 + (11.0 / 24) * d4;
    coef_[2][a] = 1.5 * d1 - 2 * d2 + (7.0 / 6) * d3 - 0.25 * d4;
    coef_[3][a] = -(1.0 / 6) * d1 + 0.25 * d2 - (1.0 / 6) * d3 + (1.0 / 24) * d4;
  }
}

void BareCut::Cut(std::size_t axes, const float* waypoint) {
  Fit(axes, waypoint);
  for (std::size_t k = 0; k < kSamples; ++k) {
    const double t = 1 + static_cast<double>(k) * (1.0 / kSamples);
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double t4 = t3 * t;
    Axes& oldest = ring_[oldest_];
    for (std::size_t a = 0; a < axes; ++a) {
      const double x =
          span_[0][a] + coef_[0][a] * t + coef_[1][a] * t2 + coef_[2][a] * t3 + coef_[3][a] * t4;
      sum_[a] = sum_[a] - oldest[a] + x;
      oldest[a] = x;
      block[k][a] = sum_[a] * 0.1;
    }
    oldest_ = Next(oldest_, kTaps);
  }
}

bool BareRing::Write(const Axes& pos, const Axes& vel, const Axes& out) {
  constexpr std::size_t kCapacity = AREA_RING_CAPACITY;
  constexpr std::size_t kSpan = 2 * kCapacity;
  PvtFrame frame;
  frame.stream_flag = 1;
  std::memcpy(frame.pos, pos.data(), sizeof frame.pos);
  std::memcpy(frame.vel, vel.data(), sizeof frame.vel);
  std::memcpy(frame.dt_out, out.data(), sizeof frame.dt_out);

  const std::size_t stored = write_ - read_ + (write_ < read_ ? kSpan : 0);
  if (stored + sizeof frame > kCapacity) return false;
  const std::size_t at = write_ < kCapacity ? write_ : write_ - kCapacity;
  const std::size_t room = kCapacity - at;
  const auto* from = reinterpret_cast<const unsigned char*>(&frame);
  if (room >= sizeof frame) {
    std::memcpy(bytes_.data() + at, from, sizeof frame);
  } else {
    std::memcpy(bytes_.data() + at, from, room);
    std::memcpy(bytes_.data(), from + room, sizeof frame - room);
  }
  write_ += sizeof frame;
  if (write_ >= kSpan) write_ -= kSpan;
  return true;
}

FloorCycle::FloorCycle() {
  const CfgConfig* const cfg = Robot::Get().cfg();
  for (const GroupRow& row : kGroups) {
    Group& group = groups_[row.index];
    group.axes = ClampAxes(shared::load(cfg, row.cfg.dof));
    Axes vel{};
    Axes acc{};
    for (std::size_t j = 0; j < group.axes; ++j) {
      vel[j] = LoadJoint(cfg, row, row.cfg.vel_max, j);
      acc[j] = LoadJoint(cfg, row, row.cfg.acc_max, j);
    }
    group.tracker.Init(group.axes, vel.data(), acc.data(), kPeriod_s);
    if (!row.plays_trajectories()) continue;
    for (const Waypoint& point : SampleMotion(row).points) group.waypoints.push_back(point.joint);
  }
}

void FloorCycle::Run() {
  for (Group& group : groups_) {
    group.ring.Empty();
    for (int k = 0; k < kFramesPerCycle; ++k) {
      const double* target = group.target.data();
      if (!group.waypoints.empty()) {
        if (group.sample == 0) {
          group.cut.Cut(group.axes, group.waypoints[group.next_waypoint].data());
          group.next_waypoint = Next(group.next_waypoint, group.waypoints.size());
        }
        target = group.cut.block[group.sample].data();
        group.sample = Next(group.sample, BareCut::kSamples);
      }
      group.tracker.Step(target);
      group.mean.Step(group.axes, group.tracker.pos.data());
      group.ring.Write(group.mean.pos, group.mean.vel, group.tracker.acc);
    }
  }
}
