#include "ini/ini_parser.h"

#include <initializer_list>
#include <string_view>

#include "ini/guarded.h"
#include "ini/whole_file.h"

namespace {

void Append(std::string& text, std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) text += part;
}

}  // namespace

bool IniParser::OnLoad(const char* path) {
  sections_.clear();
  const bool loaded = Guarded([&] {
    std::string text;
    if (!ReadWholeFile(path, text)) return false;
    Parse(text);
    return true;
  });
  if (!loaded) sections_.clear();
  return loaded;
}

void IniParser::Parse(const std::string& text) {
  enum class State { BeforeFirstSection, SectionName, Key, Value };
  State state = State::BeforeFirstSection;
  IniSection section;
  // The key is not emptied where a section ends: a fragment without '=' goes on in the next one.
  std::string key;
  std::string value;
  const auto end_section = [&] {
    sections_.try_emplace(section.name_, section);  // the first of a name wins, whole
    section.OnClear();
  };

  const int len = static_cast<int>(text.size());
  int pos = 0;
  while (pos < len) {
    const char c = text[static_cast<std::size_t>(pos++)];
    switch (state) {
      case State::BeforeFirstSection:
        if (c == '[') state = State::SectionName;
        break;
      case State::SectionName:
        if (c == ']') {
          SkipLine(text.data(), len, pos);
          state = State::Key;
        } else {
          section.name_ += c;
        }
        break;
      case State::Key:
        if (c == '[') {
          end_section();
          state = State::SectionName;
        } else if (c == '=') {
          state = State::Value;
        } else {
          key += c;
        }
        break;
      case State::Value:
        if (c == '\n' || c == '\r') {
          section.OnInsertItem(key, value);
          key.clear();
          value.clear();
          SkipLine(text.data(), len, pos);
          state = State::Key;
        } else {
          value += c;
        }
        break;
    }
  }

  if (state == State::BeforeFirstSection || state == State::SectionName) return;
  // Unlike a line, the unfinished end of the file is a record only if neither side is empty.
  if (!key.empty() && !value.empty()) section.OnInsertItem(key, value);
  end_section();
}

bool IniParser::OnSave(const char* path) {
  return Guarded([&] {
    std::string text;
    for (const auto& [name, section] : sections_) {
      Append(text, {"[", name, "]\n"});
      for (const auto& [key, param] : section.params_) {
        Append(text, {key, "=", param.value_, "\n"});
      }
    }
    return ReplaceFile(path, text);
  });
}

void IniParser::SkipLine(const char* buf, int len, int& pos) {
  while (pos < len &&
         (buf[pos] == ' ' || buf[pos] == '\t' || buf[pos] == '\n' || buf[pos] == '\r')) {
    ++pos;
  }
}
