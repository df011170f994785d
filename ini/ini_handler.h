// Brings an INI file into the layout of a reference and keeps the values it has.
#pragma once

#include <string>
#include <vector>

#include "ini/ini_parser.h"

// One operation of a script.
struct IniHandlerOp {
  char op;         // 'A' add, 'S' set, 'D' delete
  char name[64];   // of the parameter, in full
  char value[64];  // its text
};

// One thread at a time. Nothing throws; a step that runs out of memory fails.
class IniHandler {
 public:
  IniHandler() = default;
  virtual ~IniHandler() = default;
  IniHandler(const IniHandler&) = delete;
  IniHandler& operator=(const IniHandler&) = delete;

  // Merges the reference into the target, applies the script and saves the target. False, after an
  // error in the log, at the first step that fails; the file is then as it was.
  bool OnProcess(char* target, char* reference, char* script);

  // The steps.

  // Reads the operations of a script, one a line, in place of those before; a line that is none is
  // warned of. False when the script is no readable regular file.
  bool LoadIniHandler(char* script);
  // Deletes the target's sections and keys that the reference does not have.
  bool MergeDelete();
  // Adds the reference's sections and keys that the target does not have, with their values.
  bool MergeAdd();
  // Applies the operations to the target, each with a line in the log.
  void ProcessIniHandler();
  // Has no effect: operations act on the section and the key with the empty names.
  void SplitFullName(std::string full_name, std::string section, std::string key);

 protected:
  IniParser target_;
  IniParser reference_;
  std::vector<IniHandlerOp> ops_;

 private:
  void LoadOperation(const std::string& line);
  bool DeleteKeys(std::string& section);
  bool AddKeys(std::string& section);
  void Apply(IniHandlerOp& op);
};
