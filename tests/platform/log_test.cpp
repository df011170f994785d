// What is logged, how it reads, where it goes, and the log's start and end.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/debug_log.h"
#include "platform/standalone/platform_warning.h"
#include "tests/support/child_process.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

bool Matches(const std::string& text, const std::string& pattern) {
  return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
}

// Logs, and returns what the C library makes of the same call.
#define LOG_AND_PRINT(...)                                      \
  [] {                                                          \
    g_log_clt.INFO_LOG(__VA_ARGS__);                            \
    std::array<char, 4096> printed;                             \
    std::snprintf(printed.data(), printed.size(), __VA_ARGS__); \
    return std::string(printed.data());                         \
  }()

void ExpectInfos(const std::vector<std::string>& texts) {
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), texts.size());
  for (std::size_t k = 0; k < lines.size(); ++k) EXPECT_EQ(lines[k], "INFO  " + texts[k]);
}

TEST(Log, RendersEveryConversionAsPrintf) {
  StartTestLog();
  ExpectInfos({
      LOG_AND_PRINT("100%% %d%% %i %u %o %x %X", -1, INT32_MIN, UINT32_MAX, 8U, 0xbeefU, 0xbeefU),
      LOG_AND_PRINT("%hhd %ld %lu %lld %llu", '\xfd', -2L, 2UL, INT64_MIN + 0LL, UINT64_MAX + 0ULL),
      LOG_AND_PRINT("%zu %zd %jd %ju %td", sizeof(int), ssize_t{-1}, std::intmax_t{INT64_MIN},
                    std::uintmax_t{7}, std::ptrdiff_t{-9}),
      LOG_AND_PRINT("%f %lf %F %e %E %g %G %a", 0.1, -2.5, 1e10, 1e-7, 1e300, 1e-5, 1e20, 0.5),
      LOG_AND_PRINT("%Lf %.20Lg %f %f", 1.25L, 0.1L, 1.0 / 0.0, static_cast<double>(0.25F)),
      LOG_AND_PRINT("%c%c|%p", 'o', 'k', reinterpret_cast<void*>(0x1234)),
      LOG_AND_PRINT("%5d|%-5d|%05d|%+d|% d|%#x|%08.3f|%.f", 1, 2, 3, 4, 5, 6U, 8.0, 3.5),
      LOG_AND_PRINT("%*d|%-*d|%.*f|%*.*f|%*d", 6, 1, 6, 2, 3, 3.14159, 9, 2, 2.71828, -4, 5),
      LOG_AND_PRINT("%s|%10s|%-10s|%.3s|%.*s|%.0s|%s", "a", "right", "left", "cutoff", 2, "xyz",
                    "no", "\xc3\xa4"),
  });
}

TEST(Log, CopiesTextsAndKeepsAMessageOneLine) {
  StartTestLog();
  const std::vector<char> unterminated{'a', 'b', 'c'};
  std::string reused = "first";
  g_log_clt.INFO_LOG("%s", reused.c_str());
  reused = "other";
  g_log_clt.INFO_LOG("%.3s|%.*s", unterminated.data(), 2, unterminated.data());
  const char* volatile null = nullptr;
  g_log_clt.INFO_LOG("%s", null);
  g_log_clt.INFO_LOG("a\nb\tc\x01\x1f\x7f%s", "\r\n");
  const std::string unknown[] = {"%d then %1$s", "%d ends in %"};  // literals do not compile
  for (const std::string& format : unknown) g_log_clt.INFO_LOG(format.c_str(), 1);
  ExpectInfos({"first", "abc|ab", "(null)", R"(a\x0ab\x09c\x01\x1f\x7f\x0d\x0a)", "1 then %1$s",
               "1 ends in %"});
}

TEST(Log, CutsAtAThousandBytesAndWhereArgumentsFindNoRoom) {
  StartTestLog();
  const std::string full(1000, 'x'), spaces(1000, ' ');
  g_log_clt.INFO_LOG("%s", full.c_str());
  g_log_clt.INFO_LOG("%s%s", full.c_str(), "x");
  g_log_clt.INFO_LOG("%*d", 2'000'000'000, 1);
  g_log_clt.INFO_LOG("%s", std::string(2000, '\n').c_str());
  std::string escaped, many = "%s";
  for (int k = 0; k < 1000; ++k) escaped += "\\x0a";
  for (int k = 0; k < 300; ++k) many = "%d" + many;
  [&]<int... k>(std::integer_sequence<int, k...>) {
    g_log_clt.INFO_LOG(many.c_str(), k % 10 ..., full.c_str());
  }
  (std::make_integer_sequence<int, 300>());
  const std::string last = LogLines().back().substr(6);
  EXPECT_TRUE(Matches(last, "0123456789*[0-9]xx*xx...")) << last;
  ExpectInfos({full, full + "...", spaces + "...", escaped + "...", last});
}

TEST(Log, ShowsTheArgumentsOfEveryUserMessage) {
  StartTestLog();
  const auto expect = [](std::initializer_list<int> codes, auto shown, auto... given) {
    for (const int code : codes) {
      g_log_clt.WARN_USER(code, given...);
      const std::string line = LogLines().back();
      EXPECT_TRUE(Matches(line, "WARN  [[]user " + std::to_string(code) + "[]] " + shown)) << line;
      EXPECT_EQ(line.find_first_of("%\\"), line.npos) << line;
    }
  };
  expect({0, 6, 11, 12, 15, 18, 21}, "??????????*");
  expect({1, 3, 7, 9, 14, 17, 22}, "*First*", "First");
  expect({2, 8, 10, 19, 20}, "*First*Second*", "First", "Second");
  expect({23, 30}, "*First*-5678*", "First", -5678);
  expect({24, 25, 26, 27, 28, 29}, "*First*0x000000a5", "First", 0xa5);
  expect({4}, "*-1234*", -1234);
  expect({13}, "*-1234*-5678*", -1234, -5678);
  expect({5, 16, 31, -1, INT32_MAX}, "unknown message", "text", 1);
}

TEST(Log, KeepsEachThreadsOrderAndCountsWhatAFullQueueRefuses) {
  StartTestLog();
  constexpr int kEach = 20'000;  // far more than is written in the meantime
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int k = 0; k < kEach; ++k) g_log_clt.WARN_LOG("%d %d %s", t, k, "same text in all");
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::array<int, 4> next{};
  int written = 0, lost = 0;
  for (const std::string& line : LogLines()) {
    int number = -1;
    std::size_t thread = 4;
    if (std::sscanf(line.c_str(), "WARN  log: %d messages lost", &number) == 1) {
      lost += number;
    } else {
      ASSERT_EQ(std::sscanf(line.c_str(), "WARN  %zu %d same text in al", &thread, &number), 2);
      ASSERT_GE(number, next.at(thread));
      next.at(thread) = number + 1;
      ++written;
    }
  }
  EXPECT_GT(lost, 0);
  EXPECT_EQ(written + lost, 4 * kEach);
}

// The log's start and end, each in a process of its own.
long g_storage;
SysInfo* const kSys = reinterpret_cast<SysInfo*>(&g_storage);

// Where VEK_LOG points in a test.
struct LogFolder : TempFolder {
  LogFolder() { setenv("VEK_LOG", Path("/log").c_str(), 1); }
  std::string Log() const { return Read("/log"); }
};

// Runs `body` in a forked child, which ends by exit(); returns what it wrote to standard error.
template <class Body>
std::string InChild(Body body) {
  const TempFolder folder;
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

TEST(LogLifecycle, WritesTheAgreedLinesAndPrefixesThemForTheJournal) {
  std::string stamp;
  for (const char c : std::string("0000-00-00 00:00:00.000000 ")) {
    stamp += c == '0' ? "[0-9]" : std::string(1, c);
  }
  for (const bool journal : {true, false}) {
    const LogFolder folder;
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
    const std::string log = folder.Log(), late = "WARN  platform: late 1\n";
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
    for (int k = 0; k < 5000; ++k) g_log_clt.INFO_LOG("kept");  // more than find room
    std::exit(::testing::Test::HasFailure() ? 1 : 0);           // the server is not destroyed
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
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 5000);
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
