// Writing JSON, one object or list a line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// A text in quotes. Bytes that are no UTF-8 appear as the characters of their numbers.
std::string JsonText(std::string_view text);
// The shortest text that reads back as the same number; null when it is not finite.
std::string JsonNumber(float number);
// Of values that are JSON already.
std::string JsonList(const std::vector<std::string>& values);

class JsonObject {
 public:
  // Adds a member; `value` is JSON already.
  JsonObject& Add(std::string_view name, std::string_view value);
  std::string Text() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};
