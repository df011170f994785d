#include "ini/ini_parser.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <memory>
#include <string_view>

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

// Opens without waiting for the other end of a FIFO. Only the open is free of waiting: reads and
// writes on the stream are ordinary ones.
File OpenFile(const char* path, int flags, const char* mode) {
  const int fd = open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  FILE* stream = fd < 0 ? nullptr : fdopen(fd, mode);
  if (stream != nullptr) {
    fcntl(fd, F_SETFL, 0);
  } else if (fd >= 0) {
    close(fd);
  }
  return {stream, &fclose};
}

// The contents of a regular file whose positions fit an int; false for anything else, and when not
// all of it could be read. Throws for want of memory.
bool ReadWholeFile(const char* path, std::string& text) {
  const File file = OpenFile(path, O_RDONLY, "r");
  struct stat info {};
  if (!file || fstat(fileno(file.get()), &info) != 0) return false;
  if (!S_ISREG(info.st_mode) || info.st_size > INT_MAX) return false;
  text.resize(static_cast<std::size_t>(info.st_size));
  return std::fread(text.data(), 1, text.size(), file.get()) == text.size();
}

// A failed write is not reported, like a failed close: only the opening of the file decides.
void Write(FILE* file, std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) {
    (void)std::fwrite(part.data(), 1, part.size(), file);
  }
}

}  // namespace

bool IniParser::OnLoad(const char* path) {
  sections_.clear();
  try {
    std::string text;
    if (!ReadWholeFile(path, text)) return false;
    Parse(text);
    return true;
  } catch (const std::exception&) {  // out of memory
    sections_.clear();
    return false;
  }
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
  const File file = OpenFile(path, O_WRONLY | O_CREAT | O_TRUNC, "w");
  if (!file) return false;
  std::setvbuf(file.get(), nullptr, _IOLBF, BUFSIZ);  // what was written stands line by line
  for (const auto& [name, section] : sections_) {
    Write(file.get(), {"[", name, "]\n"});
    for (const auto& [key, param] : section.params_) {
      Write(file.get(), {key, "=", param.value_, "\n"});
    }
  }
  return true;
}

void IniParser::SkipLine(const char* buf, int len, int& pos) {
  while (pos < len &&
         (buf[pos] == ' ' || buf[pos] == '\t' || buf[pos] == '\n' || buf[pos] == '\r')) {
    ++pos;
  }
}
