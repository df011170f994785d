#include "tests/support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

extern char** environ;

namespace {

[[noreturn]] void GiveUp(const std::string& what) {
  std::fprintf(stderr, "ChildProcess: %s\n", what.c_str());
  std::_Exit(EXIT_FAILURE);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

void PollPause() {
  usleep(1000);
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
  folder_ = (std::filesystem::temp_directory_path() / "vek-child-XXXXXX").string();
  if (mkdtemp(folder_.data()) == nullptr) GiveUp("no temporary folder");
  const std::string path = std::string(VEK_BIN_DIR) + "/" + program;
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int flags = O_WRONLY | O_CREAT | O_APPEND;
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, (folder_ + "/out").c_str(), flags, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, (folder_ + "/err").c_str(), flags, 0600);
  const int error = posix_spawn(&pid_, path.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) GiveUp("cannot start " + path);
}

ChildProcess::~ChildProcess() {
  if (Running()) {
    Signal(SIGKILL);
    Wait();
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void ChildProcess::Signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::Wait(double seconds) {
  WaitUntil(
      [this] {
        int status = 0;
        if (status_ == -1 && waitpid(pid_, &status, WNOHANG) == pid_) {
          status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
        }
        return status_ != -1;
      },
      seconds);
  return status_;
}

std::string ChildProcess::Stdout() const {
  return ReadFile(folder_ + "/out");
}
std::string ChildProcess::Stderr() const {
  return ReadFile(folder_ + "/err");
}

bool ChildProcess::WaitForText(const std::string& text, double seconds) {
  return WaitUntil(
      [&] {
        return Stdout().find(text) != std::string::npos || Stderr().find(text) != std::string::npos;
      },
      seconds);
}
