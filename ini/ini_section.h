// One section of an INI document and its records.
#pragma once

#include <map>
#include <string>
#include <vector>

// One value, and the variable bound to it: the getter that bound it knows the type, the record does
// not own it.
struct IniParam {
  std::string value_;
  void* ptr_ = nullptr;
};

// Keys are exact byte strings in ascending byte order. One thread. Nothing throws but for want of
// memory.
class IniSection {
 public:
  IniSection() = default;
  virtual ~IniSection() = default;
  IniSection(const IniSection&) = default;
  IniSection& operator=(const IniSection&) = default;
  IniSection(IniSection&&) = default;
  IniSection& operator=(IniSection&&) = default;

  // Empties the name and removes all records.
  void OnClear();
  // True when the name is empty, whatever the records.
  bool OnEmpty() const;
  // Adds a record; the first value of a key wins.
  void OnInsertItem(const std::string& key, const std::string& value);
  // The value, or the empty text when the key is absent.
  std::string OnGetValue(const std::string& key);
  // Replaces the value of a key; false when it is absent.
  bool OnSetValue(const std::string& key, std::string value);
  // The variable bound to the key, or null.
  void* OnGetValuePtr(const std::string& key);
  // Binds a variable to a key; false when the key is absent.
  bool OnSetValuePtr(const std::string& key, void* ptr);
  // Removes the record if there is one.
  void OnDeleteItem(const std::string& key);
  // Appends all keys.
  void OnGetKeyList(std::vector<std::string>& keys);

  std::string name_;
  std::map<std::string, IniParam> params_;
};
