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

// Where VEK_LOG points in a test.
struct LogFolder : TempRoot {
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

void Start(DebugLogSrv& server) {
  auto* const cfg = reinterpret_cast<CfgConfig*>(&g_storage);
  ASSERT_TRUE(server.OnInit(kSys) && g_log_clt.OnInit(LOG_MODULE_VEK, kSys, cfg));
}

bool Matches(const std::string& text, const std::string& pattern) {
  return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
}

// The minute in a zone 5:30 h east.
std::string Minute() {
  const time_t local = time(nullptr) + 5 * 3600 + 30 * 60;
  char text[32];
  return {text, strftime(text, sizeof text, "%Y-%m-%d %H:%M", gmtime(&local))};
}

TEST(LogLifecycle, WritesTheAgreedLinesInLocalTimeAndPrefixesThemForTheJournal) {
  setenv("TZ", "XYZ-05:30", 1);
  std::string stamp = "0000-00-00 00:00:00.000000 ";
  for (std::size_t at = 0; (at = stamp.find('0', at)) != stamp.npos; at += 5) {
    stamp.replace(at, 1, "[0-9]");
  }
  for (const bool journal : {true, false}) {
    const LogFolder folder;
    const std::string before = Minute();
    const std::string shown = InChild([journal] {
      struct stat own {};
      fstat(STDERR_FILENO, &own);
      own.st_ino += journal ? 0 : 1;
      const auto stream = std::to_string(own.st_dev) + ":" + std::to_string(own.st_ino);
      setenv("JOURNAL_STREAM", stream.c_str(), 1);
      logging::platform_warning("%s", "early\n");
      DebugLogSrv server;
      Start(server);
      g_log_clt.INFO_LOG("i");
      g_log_clt.ERROR_LOG("e");
      logging::platform_warning("late %d", 1);
    });
    const std::string log = folder.Log(), minute = log.substr(0, before.size());
    EXPECT_TRUE(before <= minute && minute <= Minute()) << log;
    const std::string late = "WARN  platform: late 1\n";
    EXPECT_TRUE(Matches(log, stamp + "INFO  i\n" + stamp + "ERROR e\n" + stamp + late)) << log;
    const std::string early = " WARN  platform: early\\x0a\n";
    EXPECT_EQ(Matches(shown, "<4>2*" + early + "<6>2*\n<3>2*\n<4>2*\n"), journal) << shown;
    EXPECT_EQ(Matches(shown, "2*" + early + log), !journal) << shown;
  }
}

TEST(LogLifecycle, WritesEverythingAtExitAndNothingBeforeTheStartOrAfterTheEnd) {
  const LogFolder folder;
  const std::string text = InChild([] {
    g_log_clt.INFO_LOG("before the start");
    DebugLogSrv server;
    Start(server);
    for (int k = 0; k < 500; ++k) g_log_clt.INFO_LOG("kept");
    std::exit(::testing::Test::HasFailure() ? 1 : 0);  // the server is not destroyed
  });
  const std::string destroyed = InChild([&] {
    {
      DebugLogSrv server;
      Start(server);
      g_log_clt.INFO_LOG("by itself");
      EXPECT_TRUE(WaitUntil([&] { return Matches(folder.Log(), "* by itself\n"); }));
      g_log_clt.INFO_LOG("kept");
    }
    g_log_clt.INFO_LOG("after the end");
    setenv("VEK_LOG", "/nonexistent/folder/log", 1);
    EXPECT_FALSE(DebugLogSrv().OnInit(kSys));
  });
  EXPECT_TRUE(Matches(destroyed, "2* INFO  by itself\n2* INFO  kept\n")) << destroyed;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 500);
  EXPECT_EQ(folder.Log(), text + destroyed) << "a file is appended to";
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
      Start(server);
      for (int k = 0; k < 900; ++k) g_log_clt.INFO_LOG("%0300d", k);
    });
    const std::string log = folder.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 900);
  }
}

}  // namespace
