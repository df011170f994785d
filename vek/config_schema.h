// The schema of robot.ini: which sections and keys there are, their types and their places in
// CfgConfig, in the order in which they are read. The loader, the tools and the docs read this one
// table.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>

enum class ConfigType { Int, Double, String };

// Room of a string in CfgConfig, terminating zero included.
inline constexpr std::size_t kConfigStringSize = 32;

// A run of keys that follow each other in CfgConfig: `stem` followed by each character of
// `suffixes` in turn, or `stem` alone when `suffixes` is empty.
struct ConfigKeys {
  const char* stem;
  const char* suffixes;
  ConfigType type;
  std::size_t offset;  // of the first key, from the start of the section's record
};

// Sections that differ only in an index or two: printf pattern, number of instances of each index
// (1 where the pattern has none), and the record of the first instance in CfgConfig with the
// strides to the others.
struct ConfigFamily {
  const char* pattern;
  int units;  // arms or rails
  int joints;
  std::size_t offset;
  std::size_t unit_stride;
  std::size_t joint_stride;
  std::span<const ConfigKeys> keys;
};

// All families, in the order in which a section name is tried against them.
std::span<const ConfigFamily> ConfigFamilies();

// One section as found by its name: its keys, and the offset of its record in CfgConfig.
struct ConfigSection {
  const ConfigFamily* family = nullptr;  // null: no such section
  std::size_t offset = 0;
};
ConfigSection FindConfigSection(const std::string& name);

// Calls `visit` for each key of a family in read order, with the key's name, type and offset from
// the start of the section's record; stops when it returns false. False when it was stopped.
bool ForEachConfigKey(
    const ConfigFamily& family,
    const std::function<bool(const std::string& key, ConfigType type, std::size_t offset)>& visit);

// Calls `visit` for each section of a complete file, in schema order.
void ForEachConfigSection(
    const std::function<void(const std::string& name, const ConfigSection& section)>& visit);
