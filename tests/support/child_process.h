// A program of the build, run as a process of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support/temp_root.h"

class ChildProcess {
 public:
  // Starts build/bin/NAME with the arguments, this process's environment and its output going to
  // two files of its own. A failure throws.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments = {});
  // Kills it if it still runs.
  ~ChildProcess();

  void Signal(int number) const;
  // Waits for the end, at most `seconds`: the exit status, 1000 + N after signal N, -1 when it
  // still runs.
  int Wait(double seconds = 30);
  bool Running() { return Wait(0) == -1; }
  // What it has written so far.
  std::string Stdout() const { return folder_.Read("/out"); }
  std::string Stderr() const { return folder_.Read("/err"); }
  // Waits until its standard output or standard error holds `text`; false after `seconds`.
  bool WaitForText(const std::string& text, double seconds = 30);

 private:
  TempFolder folder_;
  pid_t pid_ = -1;
  int status_ = -1;
};

// How often `part` occurs in `text`.
int Count(const std::string& text, const std::string& part);

// Sleeps one millisecond.
void PollPause();

// Polls `condition` every millisecond; false when it did not hold within `seconds`.
template <class Condition>
bool WaitUntil(Condition condition, double seconds = 30) {
  for (double waited = 0; waited < seconds; waited += 0.001) {
    if (condition()) return true;
    PollPause();
  }
  return condition();
}
