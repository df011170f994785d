#include "tests/support/log_lines.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "platform/debug_log.h"
#include "platform/standalone/log_drain.h"

namespace {

// A file in memory, which goes with the process.
const std::string& LogPath() {
  static const std::string path = "/proc/self/fd/" + std::to_string(memfd_create("log", 0));
  return path;
}

bool Start() {
  // The log never looks into the areas; it only refuses to start without them.
  static long storage;
  static DebugLogSrv server;
  auto* const sys = reinterpret_cast<SysInfo*>(&storage);
  return setenv("VEK_LOG", LogPath().c_str(), 1) == 0 && server.OnInit(sys) &&
         g_log_clt.OnInit(LOG_MODULE_VEK, sys, reinterpret_cast<CfgConfig*>(&storage));
}

}  // namespace

void StartTestLog() {
  // By a thread of its own, since that one loses no messages and waits instead: those of a test are
  // to be as quick as a real-time task.
  static const bool started = [] {
    bool done = false;
    std::thread([&done] { done = Start(); }).join();
    return done;
  }();
  if (started) return;
  std::perror("StartTestLog");
  std::abort();
}

std::vector<std::string> LogLines(const std::string& text) {
  constexpr std::size_t kStamp = sizeof "2026-11-21 12:00:00.123456 " - 1;
  logging::flush();
  std::vector<std::string> lines;
  std::ifstream file(LogPath());
  for (std::string line; std::getline(file, line);) {
    line.erase(0, line.size() > kStamp ? kStamp : 0);
    if (line.find(text) != line.npos) lines.push_back(line);
  }
  return lines;
}
