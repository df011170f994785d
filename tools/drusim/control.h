// Actions by hand: a FIFO, one action a line, such as `echo "fault arm0 3 77" > FIFO`.
#pragma once

#include <string>

#include "tools/drusim/robot.h"

class ControlPipe {
 public:
  // Makes the FIFO, or takes one that an earlier run left; a Failure (status 2) when that is not
  // possible.
  explicit ControlPipe(std::string path);
  // Removes it.
  ~ControlPipe();
  ControlPipe(const ControlPipe&) = delete;
  ControlPipe& operator=(const ControlPipe&) = delete;

  // Performs what has arrived, without waiting. A wrong line, and an action that cannot be done,
  // are told on standard error and ignored.
  void OnCycle(Robot& robot);

 private:
  void Perform(std::string_view line, Robot& robot) const;

  std::string path_;
  int fd_ = -1;
  std::string text_;  // of a line that has not ended yet
};
