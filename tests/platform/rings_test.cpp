// The rings towards the servo task, judged by their bytes.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <numeric>
#include <thread>

#include "platform/shared_memory.h"
#include "vek/shared_areas.h"

namespace {

constexpr std::uint32_t kC = AREA_RING_CAPACITY;
constexpr std::uint32_t kSpan = 2 * kC;
using Frame = std::array<unsigned char, AREA_FRAME_SIZE>;

Frame FrameOf(std::uint32_t number) {
  Frame frame;
  std::iota(frame.begin(), frame.end(), static_cast<unsigned char>(number));
  std::memcpy(frame.data(), &number, sizeof number);
  return frame;
}

// A ring with guard bytes behind it, and its two ends.
struct Ring : testing::Test {
  alignas(4) FrameRing ring;
  KACB writer;
  KACBReader reader;

  Ring() {
    std::memset(&ring, 0xa5, sizeof ring);
    Set(0, 0);
    EXPECT_TRUE(writer.OnAttach(&ring, AREA_RING_SIZE) && reader.OnAttach(&ring, AREA_RING_SIZE));
  }
  ~Ring() override {
    const std::string guard(sizeof ring.reserved_2048, '\xa5');
    EXPECT_EQ(std::memcmp(ring.reserved_8, guard.data(), sizeof ring.reserved_8), 0);
    EXPECT_EQ(std::memcmp(ring.reserved_2048, guard.data(), guard.size()), 0);
  }
  void Set(std::uint32_t write, std::uint32_t read) {
    ring.write_pos = write;
    ring.read_pos = read;
  }
  bool BothAt(std::uint32_t position) const {
    return ring.write_pos == position && ring.read_pos == position;
  }
};

TEST_F(Ring, HostilePositionsAreRefusedAndRepaired) {
  const struct {
    std::uint32_t write, read;
    long stored;               // 0: the reader repairs
    bool takes_a_frame;        // the writer, before any repair
    std::uint32_t emptied;     // both positions after the reader emptied or repaired
    std::uint32_t reattached;  // both after a writer attached
  } cases[] = {
      {kC, 0, kC, false, kC, 0},                    // full
      {0, kC, kC, false, 0, kC},                    // full, the other way round
      {kC - 196, 0, kC - 196, true, kC - 196, 0},   // the last frame that fits
      {kC - 195, 0, kC - 195, false, kC - 195, 0},  // one byte too many
      {kC + 1, 0, 0, false, kC + 1, 0},             // more than there is room for
      {0, 1, 0, false, 0, 1},
      {kSpan, 5, 0, false, 0, 5},
      {5, kSpan, 0, false, 5, 0},
      {0xffffffff, 0xffffffff, 0, false, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Frame frame = FrameOf(1);
    Set(c.write, c.read);
    EXPECT_EQ(writer.OnWrite(frame.data(), 196), c.takes_a_frame);
    Set(c.write, c.read);
    EXPECT_EQ(reader.OnGetStoreLength(), c.stored);
    EXPECT_TRUE(c.stored > 0 || BothAt(c.emptied));
    Set(c.write, c.read);
    EXPECT_EQ(reader.OnRead(frame.data(), 196), c.stored > 0);
    EXPECT_TRUE(c.stored > 0 || BothAt(c.emptied));
    Set(c.write, c.read);
    reader.OnEmpty();
    EXPECT_TRUE(BothAt(c.emptied));
    Set(c.write, c.read);
    EXPECT_TRUE(writer.OnAttach(&ring, AREA_RING_SIZE) && BothAt(c.reattached));
  }
}

// Every frame arrives once, whole and in order, with the ends at full speed.
TEST_F(Ring, WriterAndReaderAtTheSameTime) {
  const auto first = FrameOf(0);
  Set(kSpan - 96, kSpan - 96);
  ASSERT_TRUE(writer.OnWrite(first.data(), 196));
  EXPECT_EQ(std::memcmp(ring.data + kC - 96, first.data(), 96), 0);
  EXPECT_EQ(std::memcmp(ring.data, first.data() + 96, 100), 0);
  std::thread producer([this] {
    for (std::uint32_t number = 1; number < 50000; ++number) {
      while (!writer.OnWrite(FrameOf(number).data(), 196)) std::this_thread::yield();
    }
  });
  int wrong = 0;
  for (std::uint32_t number = 0; number < 50000; ++number) {
    Frame frame;
    while (!reader.OnRead(frame.data(), 196)) std::this_thread::yield();
    wrong += frame != FrameOf(number) ? 1 : 0;
  }
  producer.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
