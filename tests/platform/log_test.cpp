// What is logged, and how it reads.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/debug_log.h"
#include "platform/standalone/log_queue.h"
#include "tests/support/log_lines.h"

namespace {

// Logs, and returns what the C library makes of the same call.
#define LOG_AND_PRINT(...)                                      \
  [] {                                                          \
    g_log_clt.INFO_LOG(__VA_ARGS__);                            \
    std::array<char, 4096> printed;                             \
    std::snprintf(printed.data(), printed.size(), __VA_ARGS__); \
    return std::string(printed.data());                         \
  }()

TEST(Log, RendersEveryConversionAsPrintf) {
  StartTestLog();
  const std::vector<std::string> expected = {
      LOG_AND_PRINT("plain"),
      LOG_AND_PRINT("100%% of %d%%", 5),
      LOG_AND_PRINT("%d %i %u %o %x %X", -1, INT32_MIN, UINT32_MAX, 8U, 0xbeefU, 0xbeefU),
      LOG_AND_PRINT("%hhd %hhu %hd %hu", static_cast<signed char>(-3),
                    static_cast<unsigned char>(253), static_cast<short>(-300),
                    static_cast<unsigned short>(65000)),
      LOG_AND_PRINT("%ld %lu %lld %llu", -2L, 2UL, INT64_MIN + 0LL, UINT64_MAX + 0ULL),
      LOG_AND_PRINT("%zu %zd %jd %ju %td", sizeof(int), ssize_t{-1}, std::intmax_t{INT64_MIN},
                    std::uintmax_t{7}, std::ptrdiff_t{-9}),
      LOG_AND_PRINT("%f %lf %F %e %E %g %G %a %A", 0.1, -2.5, 1e10, 1e-7, 1e300, 1e-5, 1e20, 0.5,
                    0.5),
      LOG_AND_PRINT("%Lf %.20Lg", 1.25L, 0.1L),
      LOG_AND_PRINT("%f %f %f", 1.0 / 0.0, -1.0 / 0.0, static_cast<double>(0.25F)),
      LOG_AND_PRINT("%c%c|%p", 'o', 'k', reinterpret_cast<void*>(0x1234)),
      LOG_AND_PRINT("%5d|%-5d|%05d|%+d|% d|%#x|%#o|%08.3f", 1, 2, 3, 4, 5, 6U, 7U, 8.0),
      LOG_AND_PRINT("%.2f|%.0f|%.f|%8.3e", 1.005, 2.5, 3.5, 12345.678),
      LOG_AND_PRINT("%*d|%-*d|%.*f|%*.*f|%*d", 6, 1, 6, 2, 3, 3.14159, 9, 2, 2.71828, -4, 5),
      LOG_AND_PRINT("%s|%10s|%-10s|%.3s|%.*s|%.0s|%s", "a", "right", "left", "cutoff", 2, "xyz",
                    "no", ""),
      LOG_AND_PRINT("Arm%d: {%lf,%lf,%lf,%lf,%lf,%lf,%lf}", 1, .1, .2, .3, .4, .5, .6, .7),
      LOG_AND_PRINT("\xc3\xa4 stays"),
  };
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), expected.size());
  for (std::size_t k = 0; k < lines.size(); ++k) EXPECT_EQ(lines[k], "INFO  " + expected[k]);
}

TEST(Log, CopiesTextsAndKeepsAMessageOneLine) {
  StartTestLog();
  const auto unterminated = std::make_unique<std::array<char, 3>>(std::array{'a', 'b', 'c'});
  std::string reused = "first";
  g_log_clt.INFO_LOG("%s", reused.c_str());
  reused.assign("other");
  g_log_clt.INFO_LOG("%.3s|%.*s", unterminated->data(), 2, unterminated->data());
  const char* volatile null = nullptr;
  g_log_clt.INFO_LOG("%s", null);
  g_log_clt.ERROR_LOG("a\nb\tc\x01\x1f\x7f%s", "\r\n");
  EXPECT_EQ(LogLines(), (std::vector<std::string>{"INFO  first", "INFO  abc|ab", "INFO  (null)",
                                                  R"(ERROR a\x0ab\x09c\x01\x1f\x7f\x0d\x0a)"}));
}

TEST(Log, CutsAtAThousandBytes) {
  StartTestLog();
  constexpr std::size_t kLimit = 1000;
  const std::string full(kLimit, 'x');
  const std::string half(kLimit / 2, 'y');
  const std::string feeds(2 * kLimit, '\n');
  g_log_clt.INFO_LOG("%s", full.c_str());
  g_log_clt.INFO_LOG("%s", (full + "x").c_str());
  g_log_clt.INFO_LOG("%s%s.", half.c_str(), half.c_str());
  g_log_clt.INFO_LOG("%1500d", 1);
  g_log_clt.INFO_LOG("%*d", 2'000'000'000, 1);
  g_log_clt.INFO_LOG("%d%d%d%d%d%d%d%d%d%d%s|", 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, full.c_str());
  g_log_clt.INFO_LOG("%s", feeds.c_str());
  const std::string spaces(kLimit, ' ');
  std::string escaped;
  for (std::size_t k = 0; k < kLimit; ++k) escaped += "\\x0a";
  const std::string texts[] = {
      full,           full + "...",   half + half + "...",
      spaces + "...", spaces + "...", "0123456789" + full.substr(10) + "...",
      escaped + "..."};
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), std::size(texts));
  for (std::size_t k = 0; k < lines.size(); ++k) EXPECT_EQ(lines[k], "INFO  " + texts[k]);
}

TEST(Log, EndsWhereAFormatOrTheRoomForArgumentsDoes) {
  StartTestLog();
  // Not literals: the compiler refuses them.
  const std::string unknown[] = {"%d then %1$s", "%d ends in %"};
  g_log_clt.INFO_LOG(unknown[0].c_str(), 1);
  g_log_clt.INFO_LOG(unknown[1].c_str(), 2);
  std::string many;
  for (int k = 0; k < 300; ++k) many += "%d";
  many += "%s";
  const std::string text(500, 'x');
  [&]<int... k>(std::integer_sequence<int, k...>) {
    g_log_clt.INFO_LOG(many.c_str(), k % 10 ..., text.c_str());
  }
  (std::make_integer_sequence<int, 300>());
  const std::vector<std::string> lines = LogLines();
  EXPECT_EQ(lines.at(0), "INFO  1 then %1$s");
  EXPECT_EQ(lines.at(1), "INFO  2 ends in %");
  EXPECT_EQ(fnmatch("INFO  *[0-9]xx*xx...", lines.at(2).c_str(), 0), 0) << lines.at(2);
}

TEST(Log, ShowsTheArgumentsOfEveryUserMessage) {
  StartTestLog();
  // The codes by their arguments.
  for (const int code : {0, 6, 11, 12, 15, 18, 21}) g_log_clt.INFO_USER(code);
  for (const int code : {1, 3, 7, 9, 14, 17, 22}) g_log_clt.INFO_USER(code, "First");
  for (const int code : {2, 8, 10, 19, 20}) g_log_clt.INFO_USER(code, "First", "Second");
  for (const int code : {23, 30}) g_log_clt.INFO_USER(code, "First", -5678);
  for (const int code : {24, 25, 26, 27, 28, 29}) g_log_clt.INFO_USER(code, "First", 0xa5);
  g_log_clt.INFO_USER(4, -1234);
  g_log_clt.INFO_USER(13, -1234, -5678);
  const std::vector<std::string> patterns = {"*First*",       "*First*Second*",
                                             "*First*-5678*", "*First*0x000000a5*",
                                             "*-1234*",       "*-1234*-5678*"};
  const std::size_t counts[] = {7 + 5 + 2 + 6, 5, 2, 6, 2, 1};
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), 29U);
  for (const std::string& line : lines) {
    EXPECT_EQ(fnmatch("INFO  [[]user *[]] ??????????*", line.c_str(), 0), 0) << line;
    EXPECT_EQ(line.find_first_of("%\\"), line.npos) << line;
  }
  for (std::size_t k = 0; k < patterns.size(); ++k) {
    const auto matches = [&](const std::string& line) {
      return fnmatch(patterns[k].c_str(), line.c_str(), 0) == 0;
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), matches), counts[k]) << patterns[k];
  }
}

TEST(Log, NeverTouchesTheArgumentsOfAnUnknownCode) {
  StartTestLog();
  for (const int code : {5, 16, 31, -1, INT32_MAX}) g_log_clt.WARN_USER(code, "text", 1);
  g_log_clt.ERROR_USER(2, static_cast<const char*>(nullptr), "Key");
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[0], "WARN  [user 5] unknown message");
  EXPECT_EQ(lines[3], "WARN  [user -1] unknown message");
  EXPECT_NE(lines[5].find("(null)"), std::string::npos);
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
  int written = 0;
  int lost = 0;
  for (const std::string& line : LogLines()) {
    int thread = -1;
    int number = -1;
    if (std::sscanf(line.c_str(), "WARN  log: %d messages lost", &number) == 1) {
      lost += number;
      continue;
    }
    ASSERT_EQ(std::sscanf(line.c_str(), "WARN  %d %d same text in al", &thread, &number), 2);
    ASSERT_GE(number, next.at(static_cast<std::size_t>(thread)));
    next.at(static_cast<std::size_t>(thread)) = number + 1;
    ++written;
  }
  EXPECT_GT(lost, 0);
  EXPECT_EQ(written + lost, 4 * kEach);
}

TEST(LogQueue, KeepsOrderWhileItsTicketsWrapAround) {
  logging::BoundedQueue<int, 4, std::uint8_t> queue;
  int pushed = 0;
  int popped = 0;
  const auto push = [&] { return queue.Push([&](int& item) { item = pushed++; }); };
  const auto pop = [&] { return queue.Pop([&](const int& item) { EXPECT_EQ(item, popped++); }); };
  EXPECT_FALSE(pop());
  for (int round = 0; round < 1000; ++round) {
    while (push()) {
    }
    ASSERT_EQ(pushed - popped, 4);
    for (int k = 0; k <= round % 4; ++k) ASSERT_TRUE(pop());
    ASSERT_EQ(queue.IsEmpty(), pushed == popped);
  }
}

}  // namespace
