// Vek and drusim in simulated time, led by a script.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"

// All that a run leaves behind.
struct Played {
  std::string frames, log, summary;
};

enum class Starts { VekFirst, DrusimFirst };

// Plays a script to its end in the present root; more arguments go to drusim.
inline Played PlayScript(const TempFolder& root, const std::string& script,
                         const std::vector<std::string>& more = {},
                         Starts starts = Starts::VekFirst) {
  setenv("VEK_CLOCK", "lockstep", 1);
  setenv("TZ", "UTC0", 1);
  setenv("VEK_LOG", root.Path("/var/vek.log").c_str(), 1);
  const TempFile file(script);
  const std::string frames = root.Path("/frames.csv");
  const auto start_vek = [] { return std::make_unique<ChildProcess>("vek"); };
  auto vek = starts == Starts::VekFirst ? start_vek() : nullptr;
  std::vector<std::string> arguments{"--script", file.path(), "--record", frames};
  arguments.insert(arguments.end(), more.begin(), more.end());
  ChildProcess drusim("drusim", arguments);
  if (vek == nullptr) vek = start_vek();
  EXPECT_EQ(drusim.Wait(100), 0) << drusim.Stderr();
  vek->Signal(SIGINT);
  EXPECT_EQ(vek->Wait(), 0);
  return {root.Read("/frames.csv"), root.Read("/var/vek.log"), drusim.Stdout()};
}
