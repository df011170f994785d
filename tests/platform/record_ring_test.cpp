// The private record ring against a plain queue.
#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <random>
#include <vector>

#include "platform/shared_memory.h"

namespace {

using Record = std::vector<unsigned char>;

TEST(RecordRing, IsAQueueAtEveryFillLevelAndWrap) {
  for (const std::size_t size : {4u, 5u, 23u, 1000u}) {
    CACB ring;
    ASSERT_TRUE(ring.OnInitSize(static_cast<long>(size)));
    std::deque<Record> queue;
    std::size_t used = 0;
    std::mt19937 random(static_cast<unsigned>(size));
    for (int step = 0; step < 5000; ++step) {
      SCOPED_TRACE(testing::Message() << "size " << size << " step " << step);
      const Record in(random() % 30, static_cast<unsigned char>(step));
      const bool fits = used + 4 + in.size() <= size;
      ASSERT_EQ(ring.WriteBuf(in.data(), static_cast<long>(in.size())), fits);
      if (fits) queue.push_back(in);
      used += fits ? 4 + in.size() : 0;
      const std::size_t behind = random() % (queue.size() + 1);
      if (behind == queue.size()) continue;
      Record out(40);
      out.resize(std::size_t(ring.PeekBuf(out.data(), 40, static_cast<long>(behind))));
      ASSERT_EQ(out, queue[behind]);
      out.resize(40);
      out.resize(std::size_t(ring.ReadBuf(out.data(), 40)));
      ASSERT_EQ(out, queue.front());
      used -= 4 + out.size();
      queue.pop_front();
    }
  }
}

TEST(RecordRing, HoldsThePromisedFramesAndSurvivesHostileArguments) {
  CACB ring;
  Record bytes(196, 7);
  EXPECT_FALSE(ring.WriteBuf(bytes.data(), 0) || ring.OnInitSize(0) || ring.OnInitSize(-1));
  ASSERT_TRUE(ring.OnInitSize(71680));
  while (ring.OnGetStoreNum() < 358) ASSERT_TRUE(ring.WriteBuf(bytes.data(), 196));
  for (const long hostile : {-1L, LONG_MIN, 358L, LONG_MAX, LONG_MAX - 3}) {
    EXPECT_FALSE(ring.WriteBuf(bytes.data(), hostile)) << hostile;
    EXPECT_EQ(ring.PeekBuf(bytes.data(), 196, hostile), 0) << hostile;
  }
  EXPECT_EQ(ring.PeekBuf(bytes.data(), -1, 0), 0);
}

}  // namespace
