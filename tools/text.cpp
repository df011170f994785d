#include "tools/text.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "tools/failure.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

template <class Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  for (;;) {
    text = Trim(text);
    if (text.empty()) return words;
    const std::size_t end = std::min(text.find_first_of(kBlanks), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

std::optional<double> ParseDouble(std::string_view text) {
  return ParseNumber<double>(text);
}

std::optional<long long> ParseInteger(std::string_view text) {
  return ParseNumber<long long>(text);
}

bool OnOff(std::string_view text) {
  if (text != "on" && text != "off") FailUsage("'", text, "' is neither on nor off");
  return text == "on";
}

void AppendDouble(std::string& text, double value) {
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

std::string ReadFile(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) FailUsage(path, ": is a folder");
  std::ifstream file(path, std::ios::binary);
  if (!file) FailUsage(path, ": cannot be read");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
