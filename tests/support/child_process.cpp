#include "tests/support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <system_error>

int Count(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++count;
  return count;
}

void PollPause() {
  usleep(1000);
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
  const std::string path = std::string(VEK_BIN_DIR) + "/" + program;
  std::vector<char*> argv{const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int flags = O_WRONLY | O_CREAT | O_APPEND;
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, folder_.Path("/out").c_str(), flags, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, folder_.Path("/err").c_str(), flags, 0600);
  const int error = posix_spawn(&pid_, path.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), path);
}

ChildProcess::~ChildProcess() {
  if (!Running()) return;
  Signal(SIGKILL);
  Wait();
}

void ChildProcess::Signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::Wait(double seconds) {
  const auto ended = [this] {
    int status = 0;
    if (status_ == -1 && waitpid(pid_, &status, WNOHANG) == pid_) {
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }
    return status_ != -1;
  };
  WaitUntil(ended, seconds);
  return status_;
}

bool ChildProcess::WaitForText(const std::string& text, double seconds) {
  return WaitUntil([&] { return (Stdout() + '\0' + Stderr()).find(text) != text.npos; }, seconds);
}
