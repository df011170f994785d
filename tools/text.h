// Small helpers for texts.
#pragma once

#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// All parts, written one after the other.
template <class... Parts>
std::string Text(const Parts&... parts) {
  std::ostringstream out;
  (out << ... << parts);
  return out.str();
}

// Without blanks, tabs and line ends at both ends.
std::string_view Trim(std::string_view text);
// The pieces between the separators; one empty piece for an empty text.
std::vector<std::string_view> Split(std::string_view text, char separator);
// The words between blanks and tabs.
std::vector<std::string_view> Words(std::string_view text);

// The number that the whole text is, "nan" and "inf" included; nothing otherwise. Independent of
// the locale.
std::optional<double> ParseDouble(std::string_view text);
std::optional<long long> ParseInteger(std::string_view text);

// True for "on", false for "off"; a Failure (status 2) otherwise.
bool OnOff(std::string_view text);

// Appends the shortest text that reads back as the same double.
void AppendDouble(std::string& text, double value);

// The whole file; a Failure (status 2) when it cannot be read.
std::string ReadFile(const std::string& path);

// Calls visit(line, number) for each line of a text, numbered from 1, without its line feed.
template <class Visit>
void ForEachLine(std::string_view text, Visit visit) {
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    visit(text.substr(0, end), number);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}
