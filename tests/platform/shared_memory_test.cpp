// Areas behind files and devices, the rings towards the servo task and the private record ring.
#include "platform/shared_memory.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <deque>
#include <filesystem>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/temp_root.h"
#include "vek/shared_areas.h"

namespace {

using Record = std::vector<unsigned char>;

TEST(Area, OpensWhatIsThereAndOnlyAFileAreaIsCreatedOrGrown) {
  const TempRoot root;
  root.Write("/dev/file", "bytes");
  root.Write("/tags/short", "abc");
  std::filesystem::create_symlink("/dev/zero", root.Path("/dev/node"));
  const struct {
    const char* path;
    long size;
    bool opens;
  } cases[] = {{"/dev/node", 5, true},  {"/dev/missing", 5, false}, {"/dev", 5, false},
               {"/dev/file", 6, false}, {"/dev/file", 4, true},     {"/dev/file", -1, false},
               {"/dev/file", 0, false}, {"/dev/file", 5, true}};
  KShm area;
  for (const auto& c : cases) {
    EXPECT_EQ(area.OnOpen(c.path, c.size), c.opens) << c.path << " " << c.size;
    ASSERT_EQ(area.OnGetAddr() != nullptr, c.opens);  // the former mapping is gone
  }
  EXPECT_FALSE(std::filesystem::exists(root.Path("/dev/missing")));
  std::memcpy(area.OnGetAddr(), "BOTH", 4);
  Shm file;
  for (const char* path : {"/tags/new", "/tags/short"}) EXPECT_TRUE(file.OnOpen(path, 5)) << path;
  EXPECT_TRUE(file.OnOpen("/dev/file", 4));
  EXPECT_EQ(root.Read("/tags/new"), std::string(5, '\0'));
  EXPECT_EQ(root.Read("/tags/short"), std::string("abc\0\0", 5));
  EXPECT_EQ(root.Read("/dev/file"), "BOTHs");
  EXPECT_FALSE(file.OnOpen("/missing/file", 5) || file.OnOpen("/tags", 5));
}

constexpr std::uint32_t kC = AREA_RING_CAPACITY;
constexpr std::uint32_t kSpan = 2 * kC;

Record FrameOf(std::uint32_t number) {
  Record frame(196);
  std::iota(frame.begin(), frame.end(), static_cast<unsigned char>(number));
  std::memcpy(frame.data(), &number, sizeof number);
  return frame;
}

// A ring with guard bytes around its data, and its two ends.
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
    Record frame = FrameOf(1);
    const auto both_at = [&](std::uint32_t position) {
      return ring.write_pos == position && ring.read_pos == position;
    };
    Set(c.write, c.read);
    EXPECT_EQ(writer.OnWrite(frame.data(), 196), c.takes_a_frame);
    Set(c.write, c.read);
    EXPECT_EQ(reader.OnGetStoreLength(), c.stored);
    EXPECT_TRUE(c.stored > 0 || both_at(c.emptied));
    Set(c.write, c.read);
    EXPECT_EQ(reader.OnRead(frame.data(), 196), c.stored > 0);
    EXPECT_TRUE(c.stored > 0 || both_at(c.emptied));
    Set(c.write, c.read);
    reader.OnEmpty();
    EXPECT_TRUE(both_at(c.emptied));
    Set(c.write, c.read);
    EXPECT_TRUE(writer.OnAttach(&ring, AREA_RING_SIZE) && both_at(c.reattached));
  }
}

// Every frame arrives once, whole and in order, with the ends at full speed.
TEST_F(Ring, WriterAndReaderAtTheSameTime) {
  const Record first = FrameOf(0);
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
    Record frame(196);
    while (!reader.OnRead(frame.data(), 196)) std::this_thread::yield();
    wrong += frame != FrameOf(number) ? 1 : 0;
  }
  producer.join();
  EXPECT_EQ(wrong, 0);
}

// Against a plain queue: records of one length, of several, and of one again.
TEST(RecordRing, GivesEveryRecordAtItsPlace) {
  CACB ring;
  ASSERT_TRUE(ring.OnInitSize(1000));
  std::deque<Record> model;
  std::mt19937 random(3);
  for (int k = 0; k < 20000; ++k) {
    const bool mixed = k / 3000 % 2 == 1;
    if (k % 6000 == 0) {
      ring.Empty();
      model.clear();
    }
    const Record record(mixed ? random() % 40 : 20, static_cast<unsigned char>(k));
    const bool fits = ring.WriteBuf(record.data(), static_cast<long>(record.size()));
    if (fits) model.push_back(record);
    ASSERT_EQ(ring.OnGetStoreNum(), static_cast<long>(model.size()));
    const std::size_t place = random() % model.size();
    Record found(40);
    found.resize(
        static_cast<std::size_t>(ring.PeekBuf(found.data(), 40, static_cast<long>(place))));
    ASSERT_EQ(found, model[place]) << k;
    while (!fits && model.size() > 1 && random() % 8 != 0) {
      found.assign(40, 0);
      found.resize(static_cast<std::size_t>(ring.ReadBuf(found.data(), 40)));
      ASSERT_EQ(found, model.front()) << k;
      model.pop_front();
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
