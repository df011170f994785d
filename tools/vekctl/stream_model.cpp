#include "tools/vekctl/stream_model.h"

#include <algorithm>

#include "cuter/ccuter50.h"
#include "tools/failure.h"
#include "tools/frames_csv.h"
#include "tools/group_argument.h"

namespace {

constexpr int kFilterSamples = 30;
constexpr double kFilterPeriod_s = 0.001;

// A course's first targets may lie on the start position, so that it starts some frames before the
// first that moves.
constexpr std::size_t kStartSearch = 500;

template <std::size_t columns>
void AppendColumns(std::vector<Axes>& samples, const double (&block)[AREA_AXES][columns],
                   std::size_t dof) {
  for (std::size_t c = 0; c < columns; ++c) {
    Axes sample{};
    for (std::size_t j = 0; j < dof; ++j) sample[j] = block[j][c];
    samples.push_back(sample);
  }
}

// The first `size` frames that equal the model's when the course starts at frame `first_target`.
std::size_t CommonFrames(const std::vector<Frame>& frames, const StreamSetup& setup,
                         const Course& course, std::size_t first_target) {
  StreamModel model(setup, frames.front().pos);
  for (std::size_t k = 0; k < frames.size(); ++k) {
    if (k >= first_target && k - first_target < course.targets.size()) {
      model.OnFollow(course.is_run);
      model.OnStep(course.targets[k - first_target]);
    } else if (k > 0) {
      model.OnFollow(false);
      model.OnHold();
    }
    if (!SameFrame(model.frame(), frames[k])) return k;
  }
  return frames.size();
}

}  // namespace

Course RunCourse(const Waypoints& waypoints, const GroupRow& group, std::size_t dof) {
  std::vector<Axes> points;
  for (const Waypoint& waypoint : waypoints.points) {
    Axes point{};
    for (std::size_t j = 0; j < WaypointJoints(group); ++j) {
      point[j] = waypoint.joint[j];
    }
    points.push_back(point);
  }
  CCuter50 cutter;
  double bgn[AREA_AXES][40]{};
  double mid[AREA_AXES][20]{};
  double end[AREA_AXES][51]{};
  std::vector<Axes> samples;
  bool cut = cutter.OnInit(static_cast<long>(dof)) &&
             cutter.OnCutStart(points[0].data(), points[1].data(), points[2].data(),
                               points[3].data(), points[4].data(), bgn);
  AppendColumns(samples, bgn, dof);
  for (std::size_t k = kLeastWaypoints; k < points.size(); ++k) {
    cut = cut && cutter.OnCutPoint(points[k].data(), mid);
    AppendColumns(samples, mid, dof);
  }
  cut = cut && cutter.OnCutStop(end);
  AppendColumns(samples, end, dof);
  if (!cut) Fail(waypoints.file, ": the planner refuses the waypoints");
  return {.targets = std::move(samples), .is_run = true};
}

StreamModel::StreamModel(const StreamSetup& setup, const Axes& start)
    : dof_(setup.limits.dof), target_(start), shaper_cfg_(setup.shaper) {
  Axes vel{};
  Axes acc{};
  Axes third{};
  for (std::size_t j = 0; j < dof_; ++j) {
    vel[j] = setup.limits.vel_max[j] * 0.1;
    acc[j] = setup.limits.acc_max[j] * 0.1;
    third[j] = setup.limits.acc_max[j] * 10;
  }
  const auto axes = static_cast<long>(dof_);
  if (!ZQAVGF_OnInit(&filter_, axes, kFilterSamples, kFilterPeriod_s) ||
      !ZQNSyncDTS_OnInit(&generator_, axes, setup.period_ms, vel.data(), acc.data(),
                         third.data())) {
    Fail("the motion maths refuse ", dof_, " axes at ", setup.period_ms, " ms");
  }
  vel = ScaleLimits(setup.limits.vel_max, setup.vel_percent);
  acc = ScaleLimits(setup.limits.acc_max, setup.acc_percent);
  for (std::size_t j = setup.axes; j < AREA_AXES; ++j) {
    vel[j] = acc[j] = 0;
  }
  ZQNSyncDTS_OnSetRunTimeLmt(&generator_, vel.data(), acc.data());
  ZQNSyncDTS_OnDT(&generator_, target_.data(), frame_.pos.data());
  ZQAVGF_OnFilt(&filter_, frame_.pos.data(), frame_.pos.data(), frame_.vel.data());
  if (shaper_cfg_ == nullptr) return;
  if (!unshaped_.OnInitSize(InputShaper::kRingBytes)) Fail("no memory for the shaper's frames");
  shaper_.OnArm(shaper_cfg_, unshaped_);
}

void StreamModel::OnFollow(bool on) {
  if (ZQNSyncDTS_OnFollow != nullptr) ZQNSyncDTS_OnFollow(&generator_, on);
}

void StreamModel::OnStep(const Axes& target) {
  std::copy_n(target.begin(), dof_, target_.begin());
  Axes pos{};
  Axes vel{};
  ZQNSyncDTS_OnDT2(&generator_, target_.data(), pos.data(), vel.data(), frame_.dt_out.data());
  ZQAVGF_OnFilt(&filter_, pos.data(), frame_.pos.data(), frame_.vel.data());
  frame_.stream_flag = 1;
  if (shaper_cfg_ != nullptr) shaper_.OnShape(shaper_cfg_, unshaped_, "model", frame_);
}

StreamComparison CompareStream(const std::vector<Frame>& frames, const StreamSetup& setup,
                               const Course& course) {
  const std::size_t targets = course.targets.size();
  StreamComparison result;
  if (frames.size() <= targets) {
    result.frame = frames.size();
    result.problem =
        Text("the recording has ", frames.size(), " frames, the run alone has ", targets);
    return result;
  }
  const std::size_t latest = frames.size() - targets;
  const std::size_t moves = CommonFrames(frames, setup, {}, 0);
  std::size_t best = 0;
  const std::size_t from = std::min(moves, latest);
  for (std::size_t start = from; start >= 1 && start + kStartSearch > from; --start) {
    const std::size_t common = CommonFrames(frames, setup, course, start);
    if (common >= best) {
      best = common;
      result.first_target = start;
    }
    if (common == frames.size()) break;
  }
  result.same = best == frames.size();
  result.frame = best;
  if (!result.same) result.problem = Text("frame ", best, " is not the one that Vek produces");
  return result;
}
