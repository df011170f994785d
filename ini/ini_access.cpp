// Typed access with binding, and editing.
#include <locale.h>
#include <algorithm>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "ini/guarded.h"
#include "ini/ini_parser.h"
#include "platform/debug_log.h"
#include "platform/shared_access.h"

namespace {

// User error: a section or a key is missing; arguments: section, key.
constexpr int kUserErrorMissing = 2;

// Bound variables and destinations are words of shared areas, at any alignment.
void Store(void* dst, const std::string& text) {
  shared::write_bytes(dst, text.c_str(), std::strlen(text.c_str()) + 1);
}
void Store(void* dst, int value) {
  shared::store<std::int32_t>(dst, value);
}
void Store(void* dst, double value) {
  shared::store<double>(dst, value);
}

int ToInt(const std::string& text) {
  using Int = std::numeric_limits<std::int32_t>;
  return static_cast<int>(
      std::clamp<long>(std::strtol(text.c_str(), nullptr, 10), Int::min(), Int::max()));
}

// Files are written with a decimal point, whatever the locale of the process.
double ToDouble(const std::string& text) {
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text.c_str(), nullptr, classic);
}

// As a default-configured text stream writes it: general notation, 6 significant digits.
std::string ToText(double value) {
  char text[32];
  const auto end =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6).ptr;
  return {text, end};
}

}  // namespace

IniSection* IniParser::Find(const std::string& section) {
  const auto found = sections_.find(section);
  return found == sections_.end() ? nullptr : &found->second;
}

const std::string* IniParser::FindText(const std::string& section, const std::string& key) {
  static const std::string empty;
  const IniSection* found = Find(section);
  if (found == nullptr) {
    g_log_clt.ERROR_USER(kUserErrorMissing, section.c_str(), key.c_str());
    return nullptr;
  }
  const auto param = found->params_.find(key);
  return param == found->params_.end() ? &empty : &param->second.value_;
}

bool IniParser::Bind(const std::string& section, const std::string& key, void* variable) {
  if (Find(section)->OnSetValuePtr(key, variable)) return true;
  g_log_clt.ERROR_USER(kUserErrorMissing, section.c_str(), key.c_str());
  return false;
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, std::string& value) {
  const std::string* text = FindText(section, key);
  return text != nullptr && Guarded([&] {
           value = *text;
           return true;
         });
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, char* dst,
                           unsigned char bind) {
  const std::string* text = FindText(section, key);
  if (text == nullptr) return false;
  Store(dst, *text);
  return bind == 0 || Bind(section, key, dst);
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, int* dst,
                           unsigned char bind) {
  const std::string* text = FindText(section, key);
  if (text == nullptr) return false;
  Store(dst, ToInt(*text));
  return bind == 0 || Bind(section, key, dst);
}

bool IniParser::OnGetValue(const std::string& section, const std::string& key, double* dst,
                           unsigned char bind) {
  const std::string* text = FindText(section, key);
  if (text == nullptr) return false;
  Store(dst, ToDouble(*text));
  return bind == 0 || Bind(section, key, dst);
}

bool IniParser::SetText(const std::string& section, const std::string& key, std::string text,
                        void** bound) {
  IniSection* found = Find(section);
  if (found == nullptr) return false;
  found->OnSetValue(key, std::move(text));
  if (bound != nullptr) *bound = found->OnGetValuePtr(key);
  return true;
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, std::string value) {
  return SetText(section, key, std::move(value), nullptr);
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, char* value) {
  return Guarded([&] {
    const std::string text(value);  // a copy, as the value may be the bound variable itself
    void* bound = nullptr;
    if (!SetText(section, key, text, &bound)) return false;
    if (bound != nullptr) Store(bound, text);
    return true;
  });
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, double value) {
  void* bound = nullptr;
  if (!SetText(section, key, ToText(value), &bound)) return false;
  if (bound != nullptr) Store(bound, value);
  return true;
}

bool IniParser::OnSetValue(const std::string& section, const std::string& key, int value) {
  void* bound = nullptr;
  if (!SetText(section, key, std::to_string(value), &bound)) return false;
  if (bound != nullptr) Store(bound, value);
  return true;
}

bool IniParser::OnSetKey(const std::string& section, const std::string& key, char* value) {
  return OnSetValue(section, key, value);
}

bool IniParser::OnAddKey(const std::string& section, const std::string& key, char* value) {
  IniSection* found = Find(section);
  if (found == nullptr) return false;
  // The text decides, not the presence of the key: an empty value is "added", and so stays empty.
  const auto param = found->params_.find(key);
  const bool set = param != found->params_.end() && !param->second.value_.empty();
  std::printf("%s: %s %s.%s=%s\n", "OnAddKey", set ? "set" : "add", section.c_str(), key.c_str(),
              value);
  std::fflush(stdout);
  return Guarded([&] {
    if (set) {
      param->second.value_ = value;
    } else {
      found->OnInsertItem(key, value);
    }
    return true;
  });
}

bool IniParser::OnDelKey(const std::string& section, const std::string& key) {
  IniSection* found = Find(section);
  if (found == nullptr) return false;
  std::printf("%s: delete %s.%s\n", "OnDelKey", section.c_str(), key.c_str());
  std::fflush(stdout);
  found->OnDeleteItem(key);
  return true;
}

bool IniParser::OnAddSection(const std::string& section) {
  return Guarded([&] {
    IniSection fresh;
    fresh.name_ = section;
    sections_.try_emplace(section, std::move(fresh));
    return true;
  });
}

bool IniParser::OnDelSection(const std::string& section) {
  sections_.erase(section);
  return true;
}

void IniParser::OnGetSectionList(std::vector<std::string>& list) {
  list.clear();
  for (const auto& [name, section] : sections_) list.push_back(name);
}

void IniParser::OnGetKeyList(std::string& section, std::vector<std::string>& list) {
  IniSection* found = Find(section);
  if (found != nullptr) found->OnGetKeyList(list);
}
