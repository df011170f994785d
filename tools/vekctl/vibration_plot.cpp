#include "tools/vekctl/vibration_plot.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "tools/group_argument.h"
#include "tools/text.h"
#include "tools/vekctl/gnuplot.h"

namespace {

constexpr double kLead_s = 0.2;  // shown before the motion
constexpr std::size_t kWidth = 1100;
constexpr std::size_t kHeight = 800;

std::size_t BeginOf(const TipRecording& tip) {
  const auto moved = std::find_if(tip.axis.begin(), tip.axis.end(),
                                  [&](double q) { return q != tip.axis.front(); });
  return static_cast<std::size_t>(moved - tip.axis.begin());
}

// Columns: time since the motion's begin, position, thousandths of deviation.
std::string TipText(const TipRecording& tip) {
  const auto begin = static_cast<double>(BeginOf(tip));
  std::string text;
  for (std::size_t k = 0; k < tip.axis.size(); ++k) {
    AppendDouble(text, (static_cast<double>(k) - begin) * tip.period_s);
    text += ' ';
    AppendDouble(text, tip.axis[k]);
    text += ' ';
    AppendDouble(text, tip.motion.deviation[k] * 1000);
    text += '\n';
  }
  return text;
}

}  // namespace

void PlotTips(const std::vector<TipRecording>& tips, const GroupRow& group, int axis,
              const std::string& output) {
  const PlotFolder folder;
  std::vector<std::string> files;
  double last_s = std::numeric_limits<double>::infinity();  // that all recordings reach
  for (const TipRecording& tip : tips) {
    files.push_back(folder.Write(Text(files.size(), ".dat"), TipText(tip)));
    last_s = std::min(last_s, static_cast<double>(tip.axis.size() - BeginOf(tip)) * tip.period_s);
  }
  const auto panel = [&](int column) {
    std::string text = "plot ";
    for (std::size_t k = 0; k < tips.size(); ++k) {
      const std::string name = std::filesystem::path(tips[k].file).stem().string();
      text += Text(k > 0 ? ", " : "", Quoted(files[k]), " using 1:", column,
                   " with lines lw 2 lc rgb '", kCurveColours[k], "' title ", Quoted(name));
    }
    return text + '\n';
  };
  const std::string unit = JointUnit(group);
  RunGnuplot(folder.Write(
      "plot.gp",
      Text(PictureHead(output, kWidth, kHeight), "set multiplot layout 2,1 title ",
           Quoted(Text(group.name, " axis ", axis, " and the flexible tip on it")),
           " font ',18'\nset key top right\nset lmargin 9\nset xrange [", -kLead_s, ':', last_s,
           "]\nset ylabel 'position (", unit, ")'\n", panel(2),
           "set ylabel 'deviation of the tip (m", unit,
           ")'\nset xlabel 'time since the motion began (s)'\n", panel(3), "unset multiplot\n")));
}
