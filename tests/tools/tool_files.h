// What the tests of the tools share.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "tests/support/child_process.h"
#include "tools/failure.h"

// A file of its own in the temporary folder; removed at the end.
class TempFile {
 public:
  explicit TempFile(const std::string& content, const std::string& suffix = ".txt")
      : path_(Text(std::filesystem::temp_directory_path().string(), "/vek-tool-", getpid(), '-',
                   count_++, suffix)) {
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~TempFile() { std::filesystem::remove(path_); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  static inline int count_ = 0;
  std::string path_;
};

// The message of the usage Failure that `run` ends in, or a text that says that there was none.
inline std::string UsageMessage(const std::function<void()>& run) {
  try {
    run();
  } catch (const Failure& failure) {
    return Text(failure.status() == kStatusUsage ? "" : "status 1: ", failure.what());
  }
  return "no failure";
}

// What a program said and how it ended.
struct Outcome {
  int status;
  std::string out, err;
};
inline Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
  ChildProcess child(program, arguments);
  const int status = child.Wait(60);
  return {status, child.Stdout(), child.Stderr()};
}

// `count` waypoints of `joints` equal numbers, 0.001 apart.
inline std::string Ramp(int count, int joints) {
  std::string text;
  for (int k = 0; k < count; ++k) {
    for (int j = 0; j < joints; ++j) text += Text(j > 0 ? "," : "", 0.001 * k);
    text += '\n';
  }
  return text;
}
