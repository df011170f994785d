// An INI document: loading, saving, typed access with binding of keys to variables, editing.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ini/ini_section.h"

// Sections and keys are exact byte strings in ascending byte order; the document remembers no
// other. There are no comments, and blanks around keys and values belong to them. One thread at a
// time. Nothing throws, but for the lists when memory runs short; every other operation then gives
// false.
class IniParser {
 public:
  IniParser() = default;
  virtual ~IniParser() = default;
  IniParser(const IniParser&) = delete;
  IniParser& operator=(const IniParser&) = delete;

  // Replaces the document with the file's contents; all bindings end. False, with an empty
  // document, when the path is no readable regular file, the file is too large for a 32-bit
  // position or memory is short.
  bool OnLoad(const char* path);
  // Writes the document, so that an interruption leaves the former file or the new one whole (see
  // ReplaceFile). False, with the file as it was, when it cannot be opened for writing, the
  // document cannot be written or memory is short.
  bool OnSave(const char* path);
  // Advances pos over blanks, tabs, line feeds and carriage returns, up to len.
  void SkipLine(const char* buf, int len, int& pos);

  // Getters. An absent section logs user error 2 and gives false, dst unwritten. An absent key
  // reads as the empty text. With `bind` set the variable is bound to the key, so that setters
  // write it too; this logs user error 2 and gives false when the key is absent, dst then holds ""
  // or 0.
  bool OnGetValue(const std::string& section, const std::string& key, std::string& value);
  // No length limit: dst must have room for the text.
  bool OnGetValue(const std::string& section, const std::string& key, char* dst,
                  unsigned char bind);
  bool OnGetValue(const std::string& section, const std::string& key, int* dst, unsigned char bind);
  bool OnGetValue(const std::string& section, const std::string& key, double* dst,
                  unsigned char bind);

  // Setters. False when the section is absent; an absent key is not created and not reported. The
  // forms but the first write the variable bound to the key, too. A double is written with 6
  // significant digits, the variable receives it whole.
  bool OnSetValue(const std::string& section, const std::string& key, std::string value);
  bool OnSetValue(const std::string& section, const std::string& key, char* value);
  bool OnSetValue(const std::string& section, const std::string& key, double value);
  bool OnSetValue(const std::string& section, const std::string& key, int value);
  // No other type is converted to one of these in silence: a literal is no char*, a bool no int.
  template <class T>
  bool OnSetValue(const std::string& section, const std::string& key, T value) = delete;
  // The same as the char* form of OnSetValue.
  bool OnSetKey(const std::string& section, const std::string& key, char* value);

  // Editing; bound variables are never touched. False only when the section is absent.
  // Replaces a value that is not empty, else adds the key; a key that exists with an empty value
  // keeps it. Both say so on standard output.
  bool OnAddKey(const std::string& section, const std::string& key, char* value);
  bool OnDelKey(const std::string& section, const std::string& key);
  // True, whether or not the section was there.
  bool OnAddSection(const std::string& section);
  bool OnDelSection(const std::string& section);
  // Empties the list, then gives all section names.
  void OnGetSectionList(std::vector<std::string>& list);
  // Appends the section's keys.
  void OnGetKeyList(std::string& section, std::vector<std::string>& list);

 private:
  void Parse(const std::string& text);
  void ParseRecords(const std::string& text, std::string& key, int& pos, IniSection& section);
  IniSection* Find(const std::string& section);
  // The text of a key, empty when the key is absent; null, reported, when the section is.
  const std::string* FindText(const std::string& section, const std::string& key);
  // The section must exist.
  bool Bind(const std::string& section, const std::string& key, void* variable);
  // Replaces the text of a key and gives the variable bound to it, if that is asked for.
  bool SetText(const std::string& section, const std::string& key, std::string text, void** bound);

  std::map<std::string, IniSection> sections_;
};
