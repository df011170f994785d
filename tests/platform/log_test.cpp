// What is logged, and how it reads.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
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

void ExpectInfos(const std::vector<std::string>& texts) {
  const std::vector<std::string> lines = LogLines();
  ASSERT_EQ(lines.size(), texts.size());
  for (std::size_t k = 0; k < lines.size(); ++k) EXPECT_EQ(lines[k], "INFO  " + texts[k]);
}

TEST(Log, RendersEveryConversionAsPrintf) {
  StartTestLog();
  ExpectInfos({
      LOG_AND_PRINT("100%% of %d%%", 5),
      LOG_AND_PRINT("%d %i %u %o %x %X", -1, INT32_MIN, UINT32_MAX, 8U, 0xbeefU, 0xbeefU),
      LOG_AND_PRINT("%hhd %hu", static_cast<signed char>(-3), static_cast<unsigned short>(65000)),
      LOG_AND_PRINT("%ld %lu %lld %llu", -2L, 2UL, INT64_MIN + 0LL, UINT64_MAX + 0ULL),
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
  std::string escaped, many;
  for (int k = 0; k < 1000; ++k) escaped += "\\x0a";
  for (int k = 0; k < 300; ++k) many += "%d";
  many += "%s";
  [&]<int... k>(std::integer_sequence<int, k...>) {
    g_log_clt.INFO_LOG(many.c_str(), k % 10 ..., full.c_str());
  }
  (std::make_integer_sequence<int, 300>());
  const std::string last = LogLines().back().substr(6);
  EXPECT_EQ(fnmatch("0123456789*[0-9]xx*xx...", last.c_str(), 0), 0) << last;
  ExpectInfos({full, full + "...", spaces + "...", escaped + "...", last});
}

TEST(Log, ShowsTheArgumentsOfEveryUserMessage) {
  StartTestLog();
  const auto expect = [](std::initializer_list<int> codes, const std::string& shown,
                         auto... given) {
    for (const int code : codes) {
      g_log_clt.WARN_USER(code, given...);
      const std::string line = LogLines().back();
      const std::string pattern = "WARN  [[]user " + std::to_string(code) + "[]] " + shown;
      EXPECT_EQ(fnmatch(pattern.c_str(), line.c_str(), 0), 0) << line;
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
    int thread = -1, number = -1;
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
  int pushed = 0, popped = 0;
  const auto pop = [&] { return queue.Pop([&](const int& item) { EXPECT_EQ(item, popped++); }); };
  EXPECT_FALSE(pop());
  for (int round = 0; round < 1000; ++round) {
    while (queue.Push([&](int& item) { item = pushed++; })) {
    }
    ASSERT_EQ(pushed - popped, 4);
    for (int k = 0; k <= round % 4; ++k) ASSERT_TRUE(pop());
    ASSERT_EQ(queue.IsEmpty(), pushed == popped);
  }
}

}  // namespace
