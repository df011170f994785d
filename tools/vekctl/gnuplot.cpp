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

void CheckPictureName(const std::string& output) {
  if (!output.ends_with(".png") && !output.ends_with(".svg")) {
    FailUsage(output, ": a picture ends in .png or .svg");
  }
}

std::string PictureHead(const std::string& output, std::size_t width, std::size_t height) {
  const bool png = output.ends_with(".png");
  return Text("set encoding utf8\nset terminal ", png ? "pngcairo" : "svg", " size ", width, ',',
              height, " font 'DejaVu Sans,13' background rgb 'white'\nset output ", Quoted(output),
              "\nset grid lc rgb '#dddddd' lt 1\nset border 3 lc rgb '#666666'\n"
              "set tics nomirror\nset autoscale xfix\nset offsets 0,0,graph 0.05,graph 0.05\n");
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
