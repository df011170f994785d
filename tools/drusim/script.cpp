#include "tools/drusim/script.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <type_traits>

#include "tools/failure.h"
#include "tools/group_argument.h"

namespace {

using Arguments = std::vector<std::string_view>;  // the words behind the action's name
using Action = decltype(ScriptLine::action);

constexpr long long kLongestStall_ms = 60000;

long long IntegerIn(std::string_view text, const char* what, long long low, long long high) {
  const auto value = ParseInteger(text);
  if (!value || *value < low || *value > high) {
    FailUsage("'", text, "' is no ", what, " from ", low, " to ", high);
  }
  return *value;
}

template <class Word>
std::vector<unsigned char> WordBytes(std::string_view text) {
  Word word{};
  if constexpr (std::is_floating_point_v<Word>) {
    const auto value = ParseDouble(text);
    if (!value) FailUsage("'", text, "' is no number");
    word = static_cast<Word>(*value);
    if (std::isinf(word) && !std::isinf(*value)) FailUsage("'", text, "' does not fit");
  } else {
    using Limits = std::numeric_limits<Word>;
    word = static_cast<Word>(IntegerIn(text, "number", Limits::min(), Limits::max()));
  }
  std::vector<unsigned char> bytes(sizeof word);
  std::memcpy(bytes.data(), &word, sizeof word);
  return bytes;
}

std::vector<unsigned char> ParseWord(std::string_view type, std::string_view text) {
  struct Row {
    std::string_view type;
    std::vector<unsigned char> (*parse)(std::string_view);
  };
  constexpr Row kTypes[] = {
      {"u8", WordBytes<std::uint8_t>},   {"i16", WordBytes<std::int16_t>},
      {"u16", WordBytes<std::uint16_t>}, {"i32", WordBytes<std::int32_t>},
      {"u32", WordBytes<std::uint32_t>}, {"f32", WordBytes<float>},
      {"f64", WordBytes<double>},
  };
  for (const Row& row : kTypes) {
    if (row.type == type) return row.parse(text);
  }
  FailUsage("no type ", type, ": u8, i16, u16, i32, u32, f32 and f64 are known");
}

Action ParseSet(const Arguments& words) {
  for (const AreaInfo* area : {&kSysInfoArea, &kMacArea, &kUdpArea}) {
    if (words[0] != area->key) continue;
    auto bytes = ParseWord(words[2], words[3]);
    const long long last = area->size - static_cast<long long>(bytes.size());
    const long long offset = IntegerIn(words[1], "offset", 0, last);
    return SetAction{area, static_cast<std::size_t>(offset), std::move(bytes)};
  }
  FailUsage("no area ", words[0], ": sysinfo, mac and udp can be set");
}

Action ParseTraj(const Arguments& words, const std::filesystem::path& folder) {
  const GroupRow& group = TrajectoryGroupByKey(words[0]);
  return TrajAction{&group, ReadWaypoints((folder / words[1]).string(), group)};
}

Action ParseAction(std::string_view name, const Arguments& words,
                   const std::filesystem::path& folder) {
  const auto need = [&](std::size_t count) {
    if (words.size() != count) FailUsage(name, " takes ", count, " arguments, not ", words.size());
  };
  if (name == "state") {
    need(2);
    return StateAction{&GroupByKey(words[0]), StateByName(words[1])};
  }
  if (name == "traj") {
    need(2);
    return ParseTraj(words, folder);
  }
  if (name == "stop") {
    need(1);
    return StopAction{&TrajectoryGroupByKey(words[0])};
  }
  if (name == "brake") {
    need(2);
    return BrakeAction{&GroupByKey(words[0]), OnOff(words[1])};
  }
  if (name == "pause") {
    need(2);
    return PauseAction{&GroupByKey(words[0]), OnOff(words[1])};
  }
  if (name == "set") {
    need(4);
    return ParseSet(words);
  }
  if (name == "stall") {
    need(1);
    return StallAction{static_cast<int>(IntegerIn(words[0], "time in ms", 0, kLongestStall_ms))};
  }
  if (name == "quit") {
    need(0);
    return QuitAction{};
  }
  FailUsage("no action ", name);
}

}  // namespace

std::vector<ScriptLine> ReadScript(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  std::vector<ScriptLine> lines;
  ForEachLine(ReadFile(file), [&](std::string_view text, int number) {
    Arguments words = Words(text.substr(0, text.find('#')));
    if (words.empty()) return;
    ScriptLine line{.cycle = 0, .where = Text(file, ":", number), .action = {}};
    try {
      line.cycle = IntegerIn(words[0], "cycle", 0, std::numeric_limits<std::int32_t>::max());
      if (words.size() < 2) FailUsage("an action is missing");
      line.action = ParseAction(words[1], {words.begin() + 2, words.end()}, folder);
    } catch (const Failure& failure) {
      FailUsage(line.where, ": ", failure.what());
    }
    lines.push_back(std::move(line));
  });
  std::stable_sort(lines.begin(), lines.end(),
                   [](const ScriptLine& a, const ScriptLine& b) { return a.cycle < b.cycle; });
  return lines;
}
