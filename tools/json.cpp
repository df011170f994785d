#include "tools/json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

// Bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
std::size_t Utf8Length(std::string_view text) {
  struct Form {
    unsigned char lead, mask;
    std::uint32_t least;  // smaller characters have a shorter form
  };
  constexpr Form kForms[] = {
      {0x00, 0x80, 0}, {0xc0, 0xe0, 0x80}, {0xe0, 0xf0, 0x800}, {0xf0, 0xf8, 0x10000}};
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  for (std::size_t length = 1; length <= std::size(kForms); ++length) {
    const Form& form = kForms[length - 1];
    if ((byte(0) & form.mask) != form.lead) continue;
    if (length > text.size()) return 0;
    std::uint32_t character = byte(0) & static_cast<unsigned>(~form.mask & 0xff);
    for (std::size_t k = 1; k < length; ++k) {
      if ((byte(k) & 0xc0) != 0x80) return 0;
      character = character << 6 | (byte(k) & 0x3fU);
    }
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return character >= form.least && character <= 0x10ffff && !surrogate ? length : 0;
  }
  return 0;
}

}  // namespace

std::string JsonText(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const char c = text.front();
    const std::size_t length = Utf8Length(text);
    if (length == 0 || static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(c));
      json += escape;
    } else {
      if (c == '"' || c == '\\') json += '\\';
      json += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return json + '"';
}

std::string JsonNumber(float number) {
  if (!std::isfinite(number)) return "null";
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

std::string JsonList(const std::vector<std::string>& values) {
  std::string json = "[";
  for (const std::string& value : values) json += (json.size() > 1 ? "," : "") + value;
  return json + "]";
}

JsonObject& JsonObject::Add(std::string_view name, std::string_view value) {
  if (!members_.empty()) members_ += ',';
  members_ += JsonText(name) + ":";
  members_ += value;
  return *this;
}
