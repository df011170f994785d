#include "tools/vekctl/gnuplot.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tools/failure.h"

PlotFolder::PlotFolder() {
  std::string path = (std::filesystem::temp_directory_path() / "vekplot-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) Fail(path, ": ", std::strerror(errno));
  path_ = path;
}

PlotFolder::~PlotFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string PlotFolder::Write(const std::string& name, const std::string& content) const {
  std::string path = path_ + "/" + name;
  std::ofstream file(path, std::ios::binary);
  file << content;
  file.close();
  if (!file) Fail(path, ": cannot be written");
  return path;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c;
    if (c == '\'') quoted += c;
  }
  return quoted + "'";
}

void RunGnuplot(const std::string& script_file) {
  std::string program = "gnuplot";
  std::string script = script_file;
  char* const arguments[] = {program.data(), script.data(), nullptr};
  pid_t pid = -1;
  if (posix_spawnp(&pid, "gnuplot", nullptr, nullptr, arguments, environ) != 0) {
    Fail("gnuplot cannot be run (Debian package gnuplot-nox)");
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) Fail("gnuplot failed");
}
