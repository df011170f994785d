#include "ini/ini_parser.h"

#include <cstring>
#include <string_view>

#include "ini/guarded.h"
#include "ini/whole_file.h"

namespace {

std::string_view Stretch(const std::string& text, int from, int to) {
  return {text.data() + from, static_cast<std::size_t>(to - from)};
}

// Where the first of two bytes stands from `pos` on; the text's length when there is none.
int FirstOf(const std::string& text, int pos, char one, char other) {
  const char* const bytes = text.data();
  const int len = static_cast<int>(text.size());
  while (pos < len && bytes[pos] != one && bytes[pos] != other) ++pos;
  return pos;
}

// Text under way. It grows by doubling, and short pieces, which most are, go in without a call.
class Output {
 public:
  void Add(std::string_view piece, char end) {
    if (piece.size() >= text_.size() - size_) text_.resize(2 * text_.size() + piece.size());
    char* const at = text_.data() + size_;
    Copy(at, piece);
    at[piece.size()] = end;
    size_ += piece.size() + 1;
  }
  std::string_view text() const { return {text_.data(), size_}; }

 private:
  static void Copy(char* to, std::string_view piece) {
    const std::size_t size = piece.size();
    if (size > 16) {
      std::memcpy(to, piece.data(), size);
    } else if (size >= 8) {
      CopyEnds<8>(to, piece);
    } else if (size >= 4) {
      CopyEnds<4>(to, piece);
    } else {
      for (std::size_t k = 0; k < size; ++k) to[k] = piece[k];
    }
  }
  // Two moves of kBytes, which meet or overlap.
  template <std::size_t kBytes>
  static void CopyEnds(char* to, std::string_view piece) {
    const std::size_t last = piece.size() - kBytes;
    std::memcpy(to, piece.data(), kBytes);
    std::memcpy(to + last, piece.data() + last, kBytes);
  }

  std::string text_ = std::string(1 << 15, '\0');  // room for a robot.ini
  std::size_t size_ = 0;
};

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

// Sections, keys and values each are one stretch of the text, but for a key that a header
// interrupts: it goes on behind the header.
void IniParser::Parse(const std::string& text) {
  const int len = static_cast<int>(text.size());
  std::string key;
  for (int pos = FirstOf(text, 0, '[', '['); pos < len;) {
    const int name = pos + 1;
    pos = FirstOf(text, name, ']', ']');
    if (pos == len) return;  // an unfinished header is none
    IniSection section;
    section.name_ = Stretch(text, name, pos++);
    SkipLine(text.data(), len, pos);
    ParseRecords(text, key, pos, section);
    // The first of a name wins, whole.
    sections_.emplace_hint(sections_.end(), section.name_, std::move(section));
  }
}

// Takes the records up to the next header, or the end, into the section.
void IniParser::ParseRecords(const std::string& text, std::string& key, int& pos,
                             IniSection& section) {
  const int len = static_cast<int>(text.size());
  while (pos < len) {
    const int start = pos;
    pos = FirstOf(text, start, '=', '[');
    key += Stretch(text, start, pos);
    if (pos == len || text[static_cast<std::size_t>(pos)] == '[') return;
    const int value = pos + 1;
    pos = FirstOf(text, value, '\n', '\r');
    // Unlike a line, the unfinished end of the file is a record only if neither side is empty.
    if (pos == len && (key.empty() || value == len)) return;
    section.params_.emplace_hint(section.params_.end(), std::move(key),
                                 IniParam{std::string(Stretch(text, value, pos))});
    key.clear();
    SkipLine(text.data(), len, pos);
  }
}

bool IniParser::OnSave(const char* path) {
  return Guarded([&] {
    Output output;
    for (const auto& [name, section] : sections_) {
      output.Add("", '[');
      output.Add(name, ']');
      output.Add("", '\n');
      for (const auto& [key, param] : section.params_) {
        output.Add(key, '=');
        output.Add(param.value_, '\n');
      }
    }
    return ReplaceFile(path, output.text());
  });
}

void IniParser::SkipLine(const char* buf, int len, int& pos) {
  while (pos < len &&
         (buf[pos] == ' ' || buf[pos] == '\t' || buf[pos] == '\n' || buf[pos] == '\r')) {
    ++pos;
  }
}
