// Rings over mapped memory, between two processes that trust each other's positions in nothing.
//
// Layout, little-endian: u32 write_pos at 0, u32 read_pos at 4, 8 reserved bytes, C = 2032 data
// bytes at 16. Positions run over 0..2C-1, so that full (distance C) and empty (distance 0) differ;
// the byte at position p lies at 16 + p mod C.
//
// Each end owns one position and publishes it with release when its bytes are done with; the other
// end reads it with acquire. The pairs are named [filled] and [drained] below.
#include <cstdint>

#include "platform/shared_access.h"
#include "platform/shared_memory.h"

namespace {

constexpr long kRingSize = 2048;
constexpr std::uint32_t kDataStart = 16;
constexpr std::uint32_t kCapacity = 2032;
constexpr std::uint32_t kSpan = 2 * kCapacity;
static_assert(kDataStart + kCapacity == kRingSize);

constexpr shared::Field<std::uint32_t> kWritePos{0};
constexpr shared::Field<std::uint32_t> kReadPos{4};

// `x` modulo m, for x below 2m: spares a division.
constexpr std::uint32_t wrapped(std::uint32_t x, std::uint32_t m) {
  return x < m ? x : x - m;
}

// Both positions as they were once: judged and used from here, never read again in between.
struct Positions {
  std::uint32_t write;
  std::uint32_t read;

  bool InRange() const { return write < kSpan && read < kSpan && Stored() <= kCapacity; }
  // Bytes stored; only when in range.
  std::uint32_t Stored() const { return wrapped(write + kSpan - read, kSpan); }
};

// Two stretches of the data bytes that hold `length` bytes from a position on.
struct Stretches {
  std::uint32_t start;   // of the first, in bytes from the ring's start
  std::uint32_t first;   // its length
  std::uint32_t second;  // length of what goes on at the data's start
};

Stretches stretches(std::uint32_t position, std::uint32_t length) {
  const std::uint32_t at = wrapped(position, kCapacity);
  const std::uint32_t first = length < kCapacity - at ? length : kCapacity - at;
  return {kDataStart + at, first, length - first};
}

unsigned char* ring_at(void* start, long size) {
  const bool aligned = reinterpret_cast<std::uintptr_t>(start) % alignof(std::uint32_t) == 0;
  return aligned && size == kRingSize ? static_cast<unsigned char*>(start) : nullptr;
}

}  // namespace

bool KACB::OnAttach(void* start, long size) {
  ring_ = ring_at(start, size);
  if (ring_ == nullptr) return false;
  const std::uint32_t read = shared::load_acquire(ring_, kReadPos);
  // While read_pos is out of range a reader empties the ring and never reads; so write_pos comes
  // first, and the ring is empty at every moment.
  shared::store_release(ring_, kWritePos, read < kSpan ? read : 0);
  if (read >= kSpan) shared::store_release(ring_, kReadPos, 0);
  return true;
}

bool KACB::OnWrite(const void* data, long length) {
  if (ring_ == nullptr || length < 0 || length > static_cast<long>(kCapacity)) return false;
  // write_pos needs no order: only this end moves it. read_pos with acquire [drained]: the reader
  // has copied what lay before it, so those bytes may be overwritten.
  const Positions now{shared::load(ring_, kWritePos), shared::load_acquire(ring_, kReadPos)};
  const auto count = static_cast<std::uint32_t>(length);
  if (!now.InRange() || count > kCapacity - now.Stored()) return false;

  const auto* bytes = static_cast<const unsigned char*>(data);
  const Stretches to = stretches(now.write, count);
  shared::write_bytes(ring_ + to.start, bytes, to.first);
  if (to.second > 0) shared::write_bytes(ring_ + kDataStart, bytes + to.first, to.second);
  // Release [filled]: without it the reader could see the new position before the bytes.
  shared::store_release(ring_, kWritePos, wrapped(now.write + count, kSpan));
  return true;
}

namespace {

// Acquire [filled]: the bytes before write_pos are complete. read_pos is this end's own.
Positions reader_positions(const unsigned char* ring) {
  return {shared::load_acquire(ring, kWritePos), shared::load(ring, kReadPos)};
}

// Makes read_pos equal to write_pos. A write_pos out of range is set right last: until then the
// writer refuses, so it never stores against half of the change.
void discard(unsigned char* ring, std::uint32_t write) {
  shared::store_release(ring, kReadPos, write < kSpan ? write : 0);
  if (write >= kSpan) shared::store_release(ring, kWritePos, 0);
}

}  // namespace

bool KACBReader::OnAttach(void* start, long size) {
  ring_ = ring_at(start, size);
  return ring_ != nullptr;
}

bool KACBReader::OnRead(void* data, long length) {
  if (ring_ == nullptr || length < 0) return false;
  const Positions now = reader_positions(ring_);
  if (!now.InRange()) {
    discard(ring_, now.write);
    return false;
  }
  if (length > static_cast<long>(now.Stored())) return false;

  const auto count = static_cast<std::uint32_t>(length);
  auto* bytes = static_cast<unsigned char*>(data);
  const Stretches from = stretches(now.read, count);
  shared::read_bytes(bytes, ring_ + from.start, from.first);
  if (from.second > 0) shared::read_bytes(bytes + from.first, ring_ + kDataStart, from.second);
  // Release [drained]: without it the writer could overwrite bytes that are still being copied.
  shared::store_release(ring_, kReadPos, wrapped(now.read + count, kSpan));
  return true;
}

void KACBReader::OnEmpty() {
  if (ring_ != nullptr) discard(ring_, shared::load_acquire(ring_, kWritePos));
}

long KACBReader::OnGetStoreLength() {
  if (ring_ == nullptr) return 0;
  const Positions now = reader_positions(ring_);
  if (now.InRange()) return static_cast<long>(now.Stored());
  discard(ring_, now.write);
  return 0;
}

void KACBOnInit(KACB* object) {
  *object = KACB();
}
