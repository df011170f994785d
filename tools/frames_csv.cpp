#include "tools/frames_csv.h"

#include <bit>

#include "tools/failure.h"
#include "tools/group_argument.h"

namespace {

constexpr std::size_t kAxes = AREA_AXES;
constexpr std::size_t kGroupCells = 1 + 3 * kAxes;

void AppendAxes(std::string& text, const Axes& values) {
  for (const double value : values) {
    text += ',';
    AppendDouble(text, value);
  }
}

// The groups of a header row, told from its …_flag cells; the whole row must be the one that these
// give.
std::vector<GroupRecording> ParseHeader(std::string_view line, const std::string& file) {
  constexpr std::string_view kFlag = "_flag";
  std::vector<GroupRecording> recordings;
  std::vector<const GroupRow*> groups;
  for (const std::string_view cell : Split(line, ',')) {
    if (!cell.ends_with(kFlag)) continue;
    const GroupRow* group = FindGroup(cell.substr(0, cell.size() - kFlag.size()));
    if (group == nullptr) break;
    groups.push_back(group);
    recordings.push_back({.group = group, .time_s = {}, .frames = {}});
  }
  if (groups.empty() || Text(line, '\n') != FramesHeader(groups)) {
    FailUsage(file, ":1: is no header row of recorded frames");
  }
  return recordings;
}

Axes ParseAxes(const std::string_view* cells, const std::string& where) {
  Axes values{};
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    const auto value = ParseDouble(cells[j]);
    if (!value) FailUsage(where, ": '", cells[j], "' is no number");
    values[j] = *value;
  }
  return values;
}

Frame ParseFrame(const std::string_view* cells, const std::string& where) {
  const auto flag = ParseInteger(cells[0]);
  if (!flag || *flag < 0 || *flag > UINT32_MAX) {
    FailUsage(where, ": '", cells[0], "' is no stream flag");
  }
  Frame frame;
  frame.stream_flag = static_cast<std::uint32_t>(*flag);
  frame.pos = ParseAxes(cells + 1, where);
  frame.vel = ParseAxes(cells + 1 + kAxes, where);
  frame.dt_out = ParseAxes(cells + 1 + 2 * kAxes, where);
  return frame;
}

void ParseRow(std::string_view line, const std::string& where,
              std::vector<GroupRecording>& recordings) {
  const auto cells = Split(line, ',');
  if (cells.size() != 1 + recordings.size() * kGroupCells) {
    FailUsage(where, ": ", cells.size(), " cells, the header has ",
              1 + recordings.size() * kGroupCells);
  }
  const auto time_s = ParseDouble(cells[0]);
  if (!time_s) FailUsage(where, ": '", cells[0], "' is no time");
  for (std::size_t g = 0; g < recordings.size(); ++g) {
    const std::string_view* const group_cells = cells.data() + 1 + g * kGroupCells;
    if (group_cells[0].empty()) continue;
    recordings[g].time_s.push_back(*time_s);
    recordings[g].frames.push_back(ParseFrame(group_cells, where));
  }
}

}  // namespace

bool SameFrame(const Frame& a, const Frame& b) {
  using Bits = std::array<std::uint64_t, kAxes>;
  const auto same = [](const Axes& x, const Axes& y) {
    return std::bit_cast<Bits>(x) == std::bit_cast<Bits>(y);
  };
  return a.stream_flag == b.stream_flag && same(a.pos, b.pos) && same(a.vel, b.vel) &&
         same(a.dt_out, b.dt_out);
}

std::string FramesHeader(const std::vector<const GroupRow*>& groups) {
  std::string text = "time";
  for (const GroupRow* group : groups) {
    text += Text(',', group->key, "_flag");
    for (const char* const kind : {"_pos", "_vel", "_out"}) {
      for (int j = 0; j < AREA_AXES; ++j) text += Text(',', group->key, kind, j);
    }
  }
  return text + '\n';
}

void AppendFramesRow(std::string& text, double time_s, const std::vector<const Frame*>& frames) {
  AppendDouble(text, time_s);
  for (const Frame* frame : frames) {
    if (frame == nullptr) {
      text.append(kGroupCells, ',');
      continue;
    }
    text += ',';
    text += std::to_string(frame->stream_flag);
    AppendAxes(text, frame->pos);
    AppendAxes(text, frame->vel);
    AppendAxes(text, frame->dt_out);
  }
  text += '\n';
}

std::vector<GroupRecording> ReadFrames(const std::string& file) {
  std::vector<GroupRecording> recordings;
  ForEachLine(ReadFile(file), [&](std::string_view line, int number) {
    if (number == 1) {
      recordings = ParseHeader(line, file);
    } else {
      ParseRow(line, Text(file, ":", number), recordings);
    }
  });
  if (recordings.empty()) FailUsage(file, ": is empty");
  return recordings;
}

const GroupRecording& RecordingOf(const std::vector<GroupRecording>& recordings,
                                  const GroupRow& group, const std::string& file) {
  for (const GroupRecording& recording : recordings) {
    if (recording.group == &group && !recording.frames.empty()) return recording;
  }
  FailUsage(file, ": holds no frames of ", group.key);
}

double PeriodOf(const GroupRecording& recording) {
  double period_s = 0;
  for (std::size_t k = 1; k < recording.time_s.size(); ++k) {
    const double step = recording.time_s[k] - recording.time_s[k - 1];
    if (step > 0 && (period_s == 0 || step < period_s)) period_s = step;
  }
  if (period_s == 0) Fail(recording.group->key, ": too few frames");
  return period_s;
}
