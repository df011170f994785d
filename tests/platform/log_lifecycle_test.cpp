// The log's start and end, and where its lines go: each in a process of its own.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/debug_log.h"
#include "platform/standalone/platform_warning.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"

namespace {

long g_storage;
SysInfo* const kSys = reinterpret_cast<SysInfo*>(&g_storage);
CfgConfig* const kCfg = reinterpret_cast<CfgConfig*>(&g_storage);

bool StartClient() {
  return g_log_clt.OnInit(LOG_MODULE_VEK, kSys, kCfg);
}

// Where VEK_LOG points in a test.
class LogFolder : public TempRoot {
 public:
  LogFolder() { setenv("VEK_LOG", Path("/log").c_str(), 1); }
  std::string Log() const { return Read("/log"); }
};

// Runs `body` in a forked child, which ends by exit(); returns what it wrote to standard error.
template <class Body>
std::string InChild(Body body) {
  const TempRoot folder;
  const pid_t child = fork();
  if (child == 0) {
    if (std::freopen(folder.Path("/stderr").c_str(), "w", stderr) == nullptr) std::abort();
    body();
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "of the child";
  return folder.Read("/stderr");
}

bool Matches(const std::string& text, const std::string& pattern) {
  return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
}

std::size_t CountLines(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(LogLifecycle, WritesALineOfTheAgreedFormInLocalTime) {
  const std::string text = InChild([] {
    setenv("TZ", "XYZ-05:30", 1);
    DebugLogSrv server;
    ASSERT_TRUE(server.OnInit(kSys) && StartClient());
    g_log_clt.INFO_LOG("text");
    const time_t later = time(nullptr) + 5 * 3600 + 30 * 60;
    char day_and_hour[32];
    strftime(day_and_hour, sizeof day_and_hour, "%Y-%m-%d %H", gmtime(&later));
    g_log_clt.WARN_LOG("it is %s", day_and_hour);
  });
  std::string stamp = "0000-00-00 00:00:00.000000 ";
  for (std::size_t at = 0; (at = stamp.find('0', at)) != stamp.npos; at += 5) {
    stamp.replace(at, 1, "[0-9]");
  }
  EXPECT_TRUE(Matches(text, stamp + "INFO  text\n" + stamp + "WARN  it is *\n")) << text;
  const std::string hour = text.substr(text.find('\n') + 1, 13);
  const std::string told = text.substr(text.size() - 14, 13);
  // At the turn of an hour the stamp may be of the next one.
  EXPECT_TRUE(hour == told || hour != text.substr(0, 13)) << text;
}

TEST(LogLifecycle, WritesEverythingAtExitAndNothingAfterTheEnd) {
  const LogFolder folder;
  const std::string text = InChild([] {
    g_log_clt.INFO_LOG("before the start");
    DebugLogSrv server;
    EXPECT_FALSE(server.OnInit(nullptr));
    EXPECT_FALSE(g_log_clt.OnInit(LOG_MODULE_VEK, kSys, nullptr));
    ASSERT_TRUE(server.OnInit(kSys));
    g_log_clt.INFO_LOG("before the client");
    ASSERT_TRUE(StartClient() && StartClient() && server.OnInit(kSys));
    for (int k = 0; k < 500; ++k) g_log_clt.INFO_LOG("kept %d", k);
    std::exit(::testing::Test::HasFailure() ? 1 : 0);  // the server is not destroyed
  });
  EXPECT_EQ(CountLines(text), 500U);
  EXPECT_EQ(text, folder.Log());
  EXPECT_NE(text.find("INFO  kept 499\n"), std::string::npos);

  const std::string destroyed = InChild([] {
    {
      DebugLogSrv server;
      DebugLogSrv unused;
      ASSERT_TRUE(server.OnInit(kSys) && StartClient());
      g_log_clt.INFO_LOG("kept");
    }
    g_log_clt.INFO_LOG("after the end");
    DebugLogSrv again;
    ASSERT_TRUE(again.OnInit(kSys));
    g_log_clt.INFO_LOG("second life");
  });
  EXPECT_TRUE(Matches(destroyed, "*INFO  kept\n*INFO  second life\n")) << destroyed;
  EXPECT_EQ(CountLines(destroyed), 2U);
  EXPECT_EQ(folder.Log(), text + destroyed) << "a file is appended to";
}

TEST(LogLifecycle, OpensItsFileAndWritesWithoutBeingAsked) {
  DebugLogSrv server;
  setenv("VEK_LOG", "/nonexistent/folder/log", 1);
  EXPECT_FALSE(server.OnInit(kSys));
  const LogFolder folder;
  ASSERT_TRUE(server.OnInit(kSys) && StartClient());
  g_log_clt.INFO_LOG("by itself");
  EXPECT_TRUE(WaitUntil([&] { return folder.Log().find("by itself\n") != std::string::npos; }));
}

TEST(LogLifecycle, SurvivesAStandardErrorThatIsGoneOrStandsStill) {
  for (const bool gone : {true, false}) {
    const LogFolder folder;
    InChild([gone] {
      int ends[2];
      ASSERT_EQ(pipe(ends), 0);
      dup2(ends[1], STDERR_FILENO);
      if (gone) close(ends[0]);  // else it stays, and nobody reads
      logging::platform_warning("early");
      DebugLogSrv server;
      ASSERT_TRUE(server.OnInit(kSys) && StartClient());
      for (int k = 0; k < 900; ++k) g_log_clt.INFO_LOG("%0300d", k);
    });
    EXPECT_EQ(CountLines(folder.Log()), 900U);
  }
}

TEST(LogLifecycle, PrefixesLevelsForTheJournalOnly) {
  for (const bool matches : {true, false}) {
    const LogFolder folder;
    const std::string text = InChild([matches] {
      struct stat status {};
      fstat(STDERR_FILENO, &status);
      const std::string stream =
          std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino + (matches ? 0 : 1));
      setenv("JOURNAL_STREAM", stream.c_str(), 1);
      DebugLogSrv server;
      ASSERT_TRUE(server.OnInit(kSys) && StartClient());
      g_log_clt.INFO_LOG("i");
      g_log_clt.WARN_LOG("w");
      g_log_clt.ERROR_LOG("e");
    });
    EXPECT_EQ(Matches(text, "<6>2* INFO  i\n<4>2* WARN  w\n<3>2* ERROR e\n"), matches) << text;
    EXPECT_EQ(text == folder.Log(), !matches) << "the file has no prefix";
  }
}

TEST(LogLifecycle, WarnsOfThePlatformBeforeAndAfterTheStart) {
  const std::string text = InChild([] {
    logging::platform_warning("%s\n", "early");
    DebugLogSrv server;
    ASSERT_TRUE(server.OnInit(kSys));
    logging::platform_warning("late %d", 1);
  });
  EXPECT_TRUE(Matches(text, "2* WARN  platform: early\\x0a\n2* WARN  platform: late 1\n")) << text;
}

TEST(LogLifecycle, LeavesTheLogToTheParentAfterAFork) {
  const LogFolder folder;
  DebugLogSrv server;
  ASSERT_TRUE(server.OnInit(kSys) && StartClient());
  g_log_clt.INFO_LOG("once");
  // From then on the drain sleeps; a fork while it allocates would hang some sanitizers.
  ASSERT_TRUE(WaitUntil([&] { return CountLines(folder.Log()) == 1; }));
  InChild([] { g_log_clt.INFO_LOG("child"); });
  EXPECT_EQ(CountLines(folder.Log()), 1U);
}

}  // namespace
