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

const std::string kFormer(50'000, 'a');
const std::string kText(70'000, 'b');

struct WholeFile : testing::Test {
  TempFolder folder;
  const std::string path = folder.Path("/f");

  bool Replace(const std::string& name) const {
    return ReplaceFile(folder.Path(name).c_str(), kText);
  }
  bool Exists(const std::string& name) const {
    return fs::exists(fs::symlink_status(folder.Path(name)));
  }
  void ExpectFile(const std::string& name, const std::string& text) const {
    EXPECT_TRUE(Exists(name) && folder.Read(name) == text) << name;
  }
};

// Replaces the file in a process that is killed at its `stops`-th entry into or return from a
// system call. Its end: 0 done, 1 failed, 2 cannot be traced, or -1 killed before.
int ReplaceAndDie(const std::string& path, int stops) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
    raise(SIGSTOP);
    _exit(ReplaceFile(path.c_str(), kText) ? 0 : 1);
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
  for (const bool missing : {false, true}) {
    int end = -1;
    int stops = 0;
    while (end == -1) {  // each run finds what the last one left behind
      missing ? folder.Remove("/f") : folder.Write("/f", kFormer);
      end = ReplaceAndDie(path, ++stops);
      if (end == 2) GTEST_SKIP() << "no process can be traced here";
      const bool replaced = folder.Read("/f") == kText;
      EXPECT_TRUE(replaced || end == -1);
      if (!missing) ExpectFile(replaced ? "/f.old" : "/f", kFormer);
      EXPECT_EQ(Exists("/f"), replaced || !missing);
    }
    EXPECT_EQ(end, 0);
    EXPECT_GT(stops, 10);
    EXPECT_FALSE(Exists("/f.new"));
  }
}

TEST_F(WholeFile, AFullDiskLeavesTheOldFile) {
  folder.Write("/f", kFormer);
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit full{kText.size() - 1, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const bool replaced = Replace("/f");
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_FALSE(replaced || Exists("/f.new"));
  ExpectFile("/f", kFormer);
}

TEST_F(WholeFile, LinksStayAndTheirTargetsAreReplaced) {
  fs::create_directory(folder.Path("/d"));
  fs::create_symlink("d/relative", folder.Path("/link"));
  fs::create_symlink(path, folder.Path("/d/relative"));
  fs::create_symlink("loop", folder.Path("/loop"));
  EXPECT_TRUE(Replace("/link") && fs::is_symlink(folder.Path("/d/relative")));  // as yet to nothing
  folder.Write("/f", kFormer);
  EXPECT_TRUE(Replace("/link") && fs::is_symlink(folder.Path("/link")));
  ExpectFile("/f", kText);
  ExpectFile("/f.old", kFormer);
  EXPECT_FALSE(Replace("/loop"));
}

TEST_F(WholeFile, OwnerAndModeAreKept) {
  umask(026);
  EXPECT_TRUE(Replace("/f"));
  EXPECT_EQ(fs::status(path).permissions(), fs::perms{0640});
  const uid_t owner = geteuid() == 0 ? 1234 : geteuid();  // others cannot give files away
  EXPECT_EQ(chown(path.c_str(), owner, getegid()) + chmod(path.c_str(), 0604), 0);
  EXPECT_TRUE(Replace("/f"));
  struct stat info {};
  EXPECT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_TRUE(info.st_uid == owner && info.st_mode == (S_IFREG | 0604));
}

TEST_F(WholeFile, ALeftoverIsNotFollowedAndOneThatStaysNoHindrance) {
  folder.Write("/other", kFormer);
  fs::create_symlink("other", folder.Path("/f.new"));
  fs::create_symlink("other", folder.Path("/f.old"));
  folder.Write("/f", kFormer);
  EXPECT_TRUE(Replace("/f"));
  ExpectFile("/other", kFormer);
  ExpectFile("/f", kText);

  fs::create_directory(folder.Path("/f.new"));  // no place for a second file: written in place
  folder.Write("/f", kFormer + kFormer);
  EXPECT_TRUE(Replace("/f") && Replace("/" + std::string(NAME_MAX, 'n')));
  ExpectFile("/f", kText);
}

TEST_F(WholeFile, WhatIsNoRegularFileWithAPathIsWrittenInPlace) {
  mkfifo(path.c_str(), 0600);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(ReplaceFile(path.c_str(), "text") && ReplaceFile("/dev/full", "text"));
  char got[8] = "";
  EXPECT_EQ(read(reader, got, sizeof got), 4) << got;
  const std::string nameless = "/proc/self/fd/" + std::to_string(memfd_create("f", 0));
  std::string text;
  EXPECT_TRUE(ReplaceFile(nameless.c_str(), kText) && ReadWholeFile(nameless.c_str(), text));
  EXPECT_TRUE(text == kText);
  EXPECT_FALSE(Replace("") || Replace("/d/f") || ReplaceFile("", "") || ReplaceFile(nullptr, ""));
}

}  // namespace
