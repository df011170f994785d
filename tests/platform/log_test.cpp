// What is logged, and how it reads.
#include <gtest/gtest.h>

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

constexpr std::size_t kLimit = 1000;

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

TEST(Log, CopiesTextsAndReadsNoFurtherThanTheyReach) {
  StartTestLog();
  const auto unterminated = std::make_unique<std::array<char, 3>>(std::array{'a', 'b', 'c'});
  std::string reused = "first";
  g_log_clt.INFO_LOG("%s", reused.c_str());
  reused.assign("other");
  g_log_clt.INFO_LOG("%.3s|%.*s", unterminated->data(), 2, unterminated->data());
  const char* volatile null = nullptr;
  g_log_clt.INFO_LOG("%s", null);
  EXPECT_EQ(LogLines(), (std::vector<std::string>{"INFO  first", "INFO  abc|ab", "INFO  (null)"}));
}

TEST(Log, KeepsAMessageOneLine) {
  StartTestLog();
  g_log_clt.ERROR_LOG("a\nb\tc\x01\x1f\x7f%s", "\r\n");
  EXPECT_EQ(LogLines(), std::vector<std::string>{"ERROR a\\x0ab\\x09c\\x01\\x1f\\x7f\\x0d\\x0a"});
}

TEST(Log, CutsAtAThousandBytes) {
  StartTestLog();
  const std::string full(kLimit, 'x');
  const std::string half(kLimit / 2, 'y');
  const std::string control(2 * kLimit, '\n');
  g_log_clt.INFO_LOG("%s", full.c_str());
  g_log_clt.INFO_LOG("%s", (full + "x").c_str());
  g_log_clt.INFO_LOG("%s%s.", half.c_str(), half.c_str());
  g_log_clt.INFO_LOG("%1500d", 1);
  g_log_clt.INFO_LOG("%*d", 2'000'000'000, 1);
  g_log_clt.INFO_LOG("%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%s|", 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0,
                     1, 2, 3, 4, 5, 6, 7, 8, 9, full.c_str());
  g_log_clt.INFO_LOG("%s", control.c_str());
  g_log_clt.WARN_USER(14, (full + full).c_str());
  const std::string spaces(kLimit, ' ');
  std::string escaped;
  for (std::size_t k = 0; k < kLimit; ++k) escaped += "\\x0a";
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), 8U);
  EXPECT_EQ(lines[0], "INFO  " + full);
  EXPECT_EQ(lines[1], "INFO  " + full + "...");
  EXPECT_EQ(lines[2], "INFO  " + half + half + "...");
  EXPECT_EQ(lines[3], "INFO  " + spaces + "...");
  EXPECT_EQ(lines[4], "INFO  " + spaces + "...");
  EXPECT_EQ(lines[5], "INFO  01234567890123456789" + full.substr(20) + "...");
  EXPECT_EQ(lines[6], "INFO  " + escaped + "...");
  EXPECT_EQ(lines[7].size(), std::string("WARN  [user 14] ").size() + kLimit + 3);
}

TEST(Log, EndsWhereAFormatOrTheRoomForArgumentsDoes) {
  StartTestLog();
  // Not literals: the compiler refuses them.
  const std::string unknown[] = {"%d then %1$s", "%d ends in %"};
  g_log_clt.INFO_LOG(unknown[0].c_str(), 1);
  g_log_clt.INFO_LOG(unknown[1].c_str(), 2);
  std::string many;
  for (int k = 0; k < 400; ++k) many += "%d";
  [&]<int... k>(std::integer_sequence<int, k...>) {
    g_log_clt.INFO_LOG(many.c_str(), k % 10 ...);
  }
  (std::make_integer_sequence<int, 400>());
  const std::vector<std::string> lines = LogLines();
  EXPECT_EQ(lines.at(0), "INFO  1 then %1$s");
  EXPECT_EQ(lines.at(1), "INFO  2 ends in %");
  EXPECT_EQ(lines.at(2).find_first_not_of("0123456789", 6), lines.at(2).size() - 3);
  EXPECT_EQ(lines.at(2).substr(lines.at(2).size() - 3), "...");
}

struct UserCase {
  int code;
  const char* arguments;  // one letter each: s text, d number, m mask
};

TEST(Log, ShowsTheArgumentsOfEveryUserMessage) {
  StartTestLog();
  const UserCase cases[] = {
      {0, ""},    {1, "s"},   {2, "ss"},  {3, "s"},   {4, "d"},   {6, ""},
      {7, "s"},   {8, "ss"},  {9, "s"},   {10, "ss"}, {11, ""},   {12, ""},
      {13, "dd"}, {14, "s"},  {15, ""},   {17, "s"},  {18, ""},   {19, "ss"},
      {20, "ss"}, {21, ""},   {22, "s"},  {23, "sd"}, {24, "sm"}, {25, "sm"},
      {26, "sm"}, {27, "sm"}, {28, "sm"}, {29, "sm"}, {30, "sd"},
  };
  for (const auto& [code, arguments] : cases) {
    SCOPED_TRACE(code);
    const std::string types = arguments;
    std::vector<std::string> shown;
    if (types.empty()) g_log_clt.INFO_USER(code);
    if (types == "s") g_log_clt.INFO_USER(code, "First");
    if (types == "ss") g_log_clt.INFO_USER(code, "First", "Second");
    if (types == "d") g_log_clt.INFO_USER(code, -1234);
    if (types == "dd") g_log_clt.INFO_USER(code, -1234, -5678);
    if (types == "sd") g_log_clt.INFO_USER(code, "First", -5678);
    if (types == "sm") g_log_clt.INFO_USER(code, "First", 0xa5);
    if (!types.empty()) shown.emplace_back(types[0] == 's' ? "First" : "-1234");
    if (types.size() == 2) {
      shown.emplace_back(types[1] == 's' ? "Second" : types[1] == 'd' ? "-5678" : "0x000000a5");
    }
    const std::string line = LogLines().back();
    const std::string head = "INFO  [user " + std::to_string(code) + "] ";
    EXPECT_EQ(line.substr(0, head.size()), head);
    EXPECT_GT(line.size(), head.size() + 10);
    EXPECT_EQ(line.find_first_of("%\\"), line.npos);
    std::size_t at = head.size();
    for (const std::string& argument : shown) {
      at = line.find(argument, at);
      ASSERT_NE(at, line.npos) << line;
      at += argument.size();
    }
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

TEST(Log, CountsWhatAFullQueueRefuses) {
  StartTestLog();
  constexpr unsigned kPosted = 50'000;  // far more than is written in the meantime
  for (unsigned k = 0; k < kPosted; ++k) g_log_clt.INFO_LOG("number %u", k);
  unsigned written = 0;
  unsigned lost = 0;
  long last = -1;
  for (const std::string& line : LogLines()) {
    long number = 0;
    unsigned count = 0;
    if (std::sscanf(line.c_str(), "WARN  log: %u messages lost", &count) == 1) {
      lost += count;
    } else {
      ASSERT_EQ(std::sscanf(line.c_str(), "INFO  number %ld", &number), 1) << line;
      ASSERT_GT(number, last);
      last = number;
      ++written;
    }
  }
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(written + lost, kPosted);
}

TEST(Log, TakesMessagesOfSeveralThreads) {
  StartTestLog();
  constexpr int kEach = 200;  // together less than the queue holds
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int k = 0; k < kEach; ++k) g_log_clt.WARN_LOG("%d %d %s", t, k, "same text in all");
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::array<int, 4> next{};
  for (const std::string& line : LogLines()) {
    int thread = -1;
    int number = -1;
    ASSERT_EQ(std::sscanf(line.c_str(), "WARN  %d %d same text", &thread, &number), 2) << line;
    EXPECT_EQ(number, next.at(static_cast<std::size_t>(thread))++);
  }
  EXPECT_EQ(next, (std::array<int, 4>{kEach, kEach, kEach, kEach}));
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
