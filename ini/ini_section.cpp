#include "ini/ini_section.h"

void IniSection::OnClear() {
  name_.clear();
  params_.clear();
}

bool IniSection::OnEmpty() const {
  return name_.empty();
}

void IniSection::OnInsertItem(const std::string& key, const std::string& value) {
  params_.try_emplace(key, IniParam{value, nullptr});
}

std::string IniSection::OnGetValue(const std::string& key) {
  const auto found = params_.find(key);
  return found == params_.end() ? std::string() : found->second.value_;
}

bool IniSection::OnSetValue(const std::string& key, std::string value) {
  const auto found = params_.find(key);
  if (found == params_.end()) return false;
  found->second.value_ = std::move(value);
  return true;
}

void* IniSection::OnGetValuePtr(const std::string& key) {
  const auto found = params_.find(key);
  return found == params_.end() ? nullptr : found->second.ptr_;
}

bool IniSection::OnSetValuePtr(const std::string& key, void* ptr) {
  const auto found = params_.find(key);
  if (found == params_.end()) return false;
  found->second.ptr_ = ptr;
  return true;
}

void IniSection::OnDeleteItem(const std::string& key) {
  params_.erase(key);
}

void IniSection::OnGetKeyList(std::vector<std::string>& keys) {
  for (const auto& [key, param] : params_) keys.push_back(key);
}
