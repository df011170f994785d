#include <algorithm>
#include <cstdio>
#include <optional>

#include "tools/failure.h"
#include "tools/group_argument.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/gnuplot.h"
#include "tools/vekctl/path_match.h"

namespace {

constexpr std::size_t kMostPoints = 4000;  // of a curve: more cannot be seen
constexpr std::size_t kMostDots = 60;      // of a curve: more would hide it
constexpr std::size_t kColumnWidth = 900;  // pixels
constexpr std::size_t kHeight = 1200;

struct Row {
  const char* title;
  const char* per;  // of the unit
  std::size_t column;
};

// The data file's columns: time, eight positions, eight velocities, eight accelerations.
constexpr Row kRows[] = {{"position", "", 2}, {"velocity", "/s", 10}, {"acceleration", "/s²", 18}};

// A group's column of the picture.
struct Column {
  const GroupRow* group = nullptr;
  std::size_t joints = 0;
  std::string frames_file;
  std::string waypoints_file;     // empty: none
  std::size_t waypoint_step = 1;  // so many apart the dots are drawn
};

// Joints of a waypoint, and whatever else moves.
std::size_t JointsOf(const GroupRecording& recording) {
  std::size_t joints = std::max<std::size_t>(WaypointJoints(*recording.group), 1);
  for (const Frame& frame : recording.frames) {
    for (std::size_t j = joints; j < AREA_AXES; ++j) {
      if (frame.pos[j] != 0) joints = j + 1;
    }
  }
  return joints;
}

void AppendValues(std::string& text, const Axes& values) {
  for (const double value : values) {
    text += ' ';
    AppendDouble(text, value);
  }
}

std::string FramesText(const GroupRecording& recording) {
  const Motion motion = Differentiate(recording.frames, PeriodOf(recording));
  const std::size_t step = recording.frames.size() / kMostPoints + 1;
  std::string text;
  for (std::size_t k = 0; k < recording.frames.size(); k += step) {
    AppendDouble(text, recording.time_s[k]);
    AppendValues(text, recording.frames[k].pos);
    AppendValues(text, motion.vel[k]);
    AppendValues(text, motion.acc[k]);
    text += '\n';
  }
  return text;
}

std::string WaypointsText(const GroupRecording& recording, const Waypoints& waypoints) {
  const auto matches = MatchWaypoints(recording, waypoints);
  std::string text;
  for (std::size_t k = 0; k < matches.size(); ++k) {
    AppendDouble(text, recording.time_s[matches[k].frame]);
    for (const float value : waypoints.points[k].joint) {
      text += ' ';
      AppendDouble(text, static_cast<double>(value));
    }
    text += '\n';
  }
  return text;
}

// One panel: a row's curves for a group, and its waypoints on the positions.
std::string PlotCommand(const Column& column, const Row& row) {
  std::string text = "plot ";
  for (std::size_t j = 0; j < column.joints; ++j) {
    text += Text(j > 0 ? ", " : "", Quoted(column.frames_file), " using 1:", row.column + j,
                 " with lines lw 1.8 lc rgb '", kCurveColours[j], "' title 'j", j + 1, "'");
  }
  if (row.column != kRows[0].column || column.waypoints_file.empty()) return text + '\n';
  const std::size_t step = column.waypoint_step;
  for (std::size_t j = 0; j < std::min(column.joints, WaypointJoints(*column.group)); ++j) {
    text += Text(", ", Quoted(column.waypoints_file), " every ", step, " using 1:", j + 2,
                 " with points pt 7 ps 0.7 lc rgb '", kCurveColours[j], "' notitle");
  }
  return text + '\n';
}

// The column's name at the left and its legend at the right, above its first panel.
std::string HeadLines(const Column& column) {
  std::string dots;
  if (!column.waypoints_file.empty()) {
    const std::size_t step = column.waypoint_step;
    dots = step == 1 ? "dots: waypoints" : Text("dots: one waypoint in ", step);
  }
  return Text("set label 1 '", column.group->name, "' at graph 0,1.08 font ',16'\nset label 2 '",
              dots, "' at graph 0.1,1.08 font ',12'\n",
              "set key at graph 1,1.03 right bottom horizontal maxrows 1 samplen 1 font ',12'\n");
}

std::string Script(const std::vector<Column>& columns, const std::string& output) {
  const double width = 1 / static_cast<double>(columns.size());
  std::string text = PictureHead(output, kColumnWidth * columns.size(), kHeight);
  text += Text("set multiplot layout 3,", columns.size(),
               " columnsfirst title 'Frames consumed by the servo task' font ',18' "
               "margins screen ",
               0.095 * width, ',', 1 - 0.02 * width, ",0.06,0.89 spacing screen ", 0.115 * width,
               ",0.05\n");
  for (const Column& column : columns) {
    for (const Row& row : kRows) {
      const bool first = &row == &kRows[0];
      const bool last = &row == &kRows[std::size(kRows) - 1];
      text += first ? HeadLines(column) : std::string("unset label\nunset key\n");
      text += Text("set ylabel '", row.title, " (", JointUnit(*column.group), row.per, ")'\n");
      text += last ? "set xlabel 'time (s)'\n" : "unset xlabel\n";
      text += PlotCommand(column, row);
    }
  }
  return text + "unset multiplot\n";
}

// The waypoint files by group; a Failure (status 2) for a wrong one.
std::vector<std::optional<Waypoints>> ReadWaypointFiles(const std::vector<std::string>& texts) {
  std::vector<std::optional<Waypoints>> waypoints(kGroupCount);
  for (const std::string& text : texts) {
    const auto [group, file] = SplitGroupValue("--waypoints", text);
    TrajectoryGroupByKey(group->key);
    waypoints[group->index] = ReadWaypoints(std::string(file), *group);
  }
  return waypoints;
}

// The recordings to draw: those asked for, or all that hold frames.
std::vector<const GroupRecording*> Chosen(const std::vector<GroupRecording>& recordings,
                                          const PlotOptions& options) {
  std::vector<const GroupRecording*> chosen;
  for (const std::string& key : options.groups) {
    chosen.push_back(&RecordingOf(recordings, GroupByKey(key), options.frames));
  }
  if (!options.groups.empty()) return chosen;
  for (const GroupRecording& recording : recordings) {
    if (!recording.frames.empty()) chosen.push_back(&recording);
  }
  if (chosen.empty()) FailUsage(options.frames, ": holds no frames");
  return chosen;
}

}  // namespace

int RunPlot(const PlotOptions& options) {
  CheckPictureName(options.output);
  const auto waypoints = ReadWaypointFiles(options.waypoints);
  const auto recordings = ReadFrames(options.frames);
  const PlotFolder folder;
  std::vector<Column> columns;
  for (const GroupRecording* recording : Chosen(recordings, options)) {
    const GroupRow& group = *recording->group;
    Column column;
    column.group = &group;
    column.joints = JointsOf(*recording);
    const std::string key(group.key);
    column.frames_file = folder.Write(key + ".dat", FramesText(*recording));
    if (waypoints[group.index]) {
      column.waypoint_step = waypoints[group.index]->points.size() / kMostDots + 1;
      column.waypoints_file =
          folder.Write(key + "-waypoints.dat", WaypointsText(*recording, *waypoints[group.index]));
    }
    columns.push_back(std::move(column));
  }
  RunGnuplot(folder.Write("plot.gp", Script(columns, options.output)));
  std::printf("%s\n", options.output.c_str());
  return 0;
}
