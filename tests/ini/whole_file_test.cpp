// Replacing a file: nothing that ends the process or fills the disk costs its contents.
#include "ini/whole_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/support/temp_root.h"

namespace {

namespace fs = std::filesystem;

struct WholeFile : testing::Test {
  TempFolder folder;
  const std::string path = folder.Path("/f");

  bool Replace(const std::string& name) { return ReplaceFile(folder.Path(name).c_str(), "new"); }
  std::string At(const std::string& name) const {
    return fs::exists(fs::symlink_status(folder.Path(name))) ? folder.Read(name) : "none";
  }
};

// Replaces the file in a process that is killed at its `stops`-th entry into or return from a
// system call. Its end: 0 done, 1 failed, 2 cannot be traced, or -1 killed before.
int ReplaceAndDie(const std::string& path, int stops) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
    raise(SIGSTOP);
    _exit(ReplaceFile(path.c_str(), "new") ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  for (; stops > 0 && WIFSTOPPED(status); --stops) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return -1;
}

TEST_F(WholeFile, AProcessKilledAnywhereLeavesTheOldOrTheNewFile) {
  for (const std::string former : {"former", "none"}) {
    int end = -1;
    for (int stops = 1; end == -1; ++stops) {  // each finds what the one before left behind
      folder.Remove("/f");
      if (former != "none") folder.Write("/f", former);
      end = ReplaceAndDie(path, stops);
      if (end == 2) GTEST_SKIP() << "no process can be traced here";
      const std::string left = At("/f");
      EXPECT_TRUE(left == "new" || (left == former && end == -1)) << stops << ": " << left;
      EXPECT_TRUE(left == former || former == "none" || At("/f.old") == former) << stops;
    }
    EXPECT_EQ(end, 0);
    EXPECT_EQ(At("/f.new"), "none");
  }
}

TEST_F(WholeFile, AFullDiskLeavesTheOldFile) {
  folder.Write("/f", "former");
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{2, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const bool replaced = Replace("/f");
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_TRUE(!replaced && At("/f") == "former" && At("/f.new") == "none");
}

TEST_F(WholeFile, LinksStayAndTheirTargetsKeepOwnerAndMode) {
  umask(026);
  fs::create_directory(folder.Path("/d"));
  fs::create_symlink("d/relative", folder.Path("/link"));
  fs::create_symlink(path, folder.Path("/d/relative"));
  fs::create_symlink("loop", folder.Path("/loop"));
  EXPECT_TRUE(Replace("/link") && At("/f") == "new");  // it led nowhere
  struct stat info {};
  EXPECT_TRUE(stat(path.c_str(), &info) == 0 && info.st_mode == (S_IFREG | 0640));

  folder.Write("/f", "former");
  const uid_t owner = geteuid() == 0 ? 1234 : geteuid();  // only root gives files away
  EXPECT_EQ(chown(path.c_str(), owner, getegid()) + chmod(path.c_str(), 0604), 0);
  EXPECT_TRUE(Replace("/link") && At("/f") == "new" && At("/f.old") == "former");
  EXPECT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_TRUE(info.st_uid == owner && info.st_mode == (S_IFREG | 0604));
  EXPECT_TRUE(fs::is_symlink(folder.Path("/link")) && fs::is_symlink(folder.Path("/d/relative")));
  EXPECT_FALSE(Replace("/loop") || Replace("") || Replace("/d/d/f"));
}

TEST_F(WholeFile, WhatCannotBeReplacedIsWrittenInPlace) {
  folder.Write("/other", "other");
  fs::create_symlink("other", folder.Path("/f.new"));
  EXPECT_TRUE(Replace("/f") && At("/other") == "other");  // a leftover is not followed

  folder.Write("/f", "former");
  fs::create_directory(folder.Path("/f.new"));
  EXPECT_TRUE(Replace("/f") && At("/f") == "new");
  EXPECT_TRUE(Replace("/" + std::string(NAME_MAX, 'n')));

  mkfifo(folder.Path("/fifo").c_str(), 0600);
  const int reader = open(folder.Path("/fifo").c_str(), O_RDONLY | O_NONBLOCK);
  char got[8] = "";
  EXPECT_TRUE(Replace("/fifo") && read(reader, got, sizeof got) == 3) << got;

  const std::string nameless = "/proc/self/fd/" + std::to_string(memfd_create("f", 0));
  std::string text;
  EXPECT_TRUE(ReplaceFile(nameless.c_str(), "new") && ReadWholeFile(nameless.c_str(), text));
  EXPECT_EQ(text, "new");
}

}  // namespace
