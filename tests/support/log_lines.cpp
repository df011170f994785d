#include "tests/support/log_lines.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/debug_log.h"
#include "platform/standalone/log_drain.h"

namespace {

// The log of the test process, in a file that goes with it.
class TestLog {
 public:
  TestLog() : path_(std::filesystem::temp_directory_path() / "vek_log_XXXXXX") {
    const int fd = mkstemp(path_.data());
    if (fd >= 0) close(fd);
    setenv("VEK_LOG", path_.c_str(), 1);
    // The log never looks into the areas; it only refuses to start without them.
    static long storage;
    if (fd < 0 || !server_.OnInit(reinterpret_cast<SysInfo*>(&storage)) ||
        !g_log_clt.OnInit(LOG_MODULE_VEK, reinterpret_cast<SysInfo*>(&storage),
                          reinterpret_cast<CfgConfig*>(&storage))) {
      std::perror("StartTestLog");
      std::abort();
    }
  }
  // A forked child leaves the file to its parent.
  ~TestLog() {
    if (owner_ == getpid()) std::remove(path_.c_str());
  }
  TestLog(const TestLog&) = delete;
  TestLog& operator=(const TestLog&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  const pid_t owner_ = getpid();
  DebugLogSrv server_;
};

TestLog& test_log() {
  static TestLog log;
  return log;
}

}  // namespace

void StartTestLog() {
  test_log();
}

std::vector<std::string> LogLines() {
  constexpr std::size_t kStamp = sizeof "2026-11-21 12:00:00.123456 " - 1;
  logging::flush();
  std::vector<std::string> lines;
  std::ifstream file(test_log().path());
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line.size() > kStamp ? line.substr(kStamp) : line);
  }
  return lines;
}

std::vector<std::string> LogLines(const std::string& text) {
  std::vector<std::string> lines = LogLines();
  std::erase_if(lines, [&](const std::string& line) { return line.find(text) == line.npos; });
  return lines;
}
