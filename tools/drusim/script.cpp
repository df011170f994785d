#include "tools/drusim/script.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "tools/failure.h"

namespace {

constexpr long long kLastCycle = std::numeric_limits<std::int32_t>::max();

long long ParseCycle(std::string_view text) {
  const auto cycle = ParseInteger(text);
  if (cycle && *cycle >= 0 && *cycle <= kLastCycle) return *cycle;
  FailUsage("'", text, "' is no cycle from 0 to ", kLastCycle);
}

}  // namespace

std::vector<ScriptLine> ReadScript(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  std::vector<ScriptLine> lines;
  ForEachLine(ReadFile(file), [&](std::string_view text, int number) {
    const auto words = ActionWords(text);
    if (words.empty()) return;
    const std::string where = Text(file, ":", number);
    try {
      const long long cycle = ParseCycle(words[0]);
      if (words.size() < 2) FailUsage("an action is missing");
      lines.push_back({cycle, where, ParseAction({words.begin() + 1, words.end()}, folder)});
    } catch (const Failure& failure) {
      FailUsage(where, ": ", failure.what());
    }
  });
  std::stable_sort(lines.begin(), lines.end(),
                   [](const ScriptLine& a, const ScriptLine& b) { return a.cycle < b.cycle; });
  return lines;
}
