#include <algorithm>
#include <cstdio>

#include "tools/failure.h"
#include "tools/frames_csv.h"
#include "tools/group_argument.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/gnuplot.h"
#include "tools/vekctl/vibration_plot.h"

namespace {

// The axis's part of a recording between two times, and what the tip does. Frames count as one
// period apart: a cycle in which the servo task found none is no part of the motion.
TipRecording Simulate(const VibrationOptions& options, const std::string& file) {
  const GroupRow& group = GroupByKey(options.group);
  const auto recordings = ReadFrames(file);
  const GroupRecording& recording = RecordingOf(recordings, group, file);
  TipRecording tip{.file = file, .period_s = PeriodOf(recording), .axis = {}, .motion = {}};
  for (std::size_t k = 0; k < recording.frames.size(); ++k) {
    const double time_s = recording.time_s[k];
    if (time_s < options.from_s || time_s > options.to_s) continue;
    tip.axis.push_back(recording.frames[k].pos[static_cast<std::size_t>(options.axis - 1)]);
  }
  tip.motion = SimulateTip(tip.axis, tip.period_s, {options.frequency_hz, options.damping});
  const auto [lowest, highest] = std::minmax_element(tip.axis.begin(), tip.axis.end());
  const std::string what = Text(file, ": ", group.key, " axis ", options.axis);
  if (!tip.motion.moves) Fail(what, " does not move");
  if (tip.motion.end + 1 == tip.axis.size()) Fail(what, " still moves at the end");
  const char* const unit = JointUnit(group);
  const std::string line = Text(what, " leaves a vibration of ", tip.motion.residual, ' ', unit,
                                " after moving within ", *highest - *lowest, ' ', unit);
  std::printf("%s\n", line.c_str());
  return tip;
}

// Prints the ratio; whether both demands on it are met.
bool Compare(const VibrationOptions& options, const TipMotion& motion, const TipMotion& other) {
  const double ratio = motion.residual / other.residual;
  const bool low = options.below == 0 || ratio < options.below;
  const bool noticeable = other.residual >= options.least;
  std::printf("ratio %g\n", ratio);
  if (!noticeable) {
    std::printf("FAILED: a ratio to less than %g says nothing\n", options.least);
  } else if (!low) {
    std::printf("FAILED: the ratio is not below %g\n", options.below);
  }
  return low && noticeable;
}

}  // namespace

int RunVibration(const VibrationOptions& options) {
  GroupByKey(options.group);
  if (!options.plot.empty()) CheckPictureName(options.plot);
  std::vector<TipRecording> tips{Simulate(options, options.frames)};
  bool good = true;
  if (!options.against.empty()) {
    tips.push_back(Simulate(options, options.against));
    good = Compare(options, tips[0].motion, tips[1].motion);
  }
  if (!options.plot.empty()) {
    PlotTips(tips, GroupByKey(options.group), options.axis, options.plot);
    std::printf("%s\n", options.plot.c_str());
  }
  return good ? 0 : kStatusFailed;
}
