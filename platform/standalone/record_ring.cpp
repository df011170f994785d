// The private record ring. A record is its content's length (4 bytes) and its content; both may run
// over the storage's end and go on at its start.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "platform/shared_memory.h"

namespace {

using Head = std::int32_t;
constexpr long kHeadSize = sizeof(Head);

// The position `by` bytes (at most `size`) behind `at`.
long advance(long at, long by, long size) {
  const long room = size - at;
  return by < room ? at + by : by - room;
}

void put(unsigned char* storage, long size, long at, const void* from, long length) {
  const auto count = static_cast<std::size_t>(length);
  const auto room = static_cast<std::size_t>(size - at);
  const auto* bytes = static_cast<const unsigned char*>(from);
  std::memcpy(storage + at, bytes, std::min(count, room));
  if (count > room) std::memcpy(storage, bytes + room, count - room);
}

void get(const unsigned char* storage, long size, long at, void* to, long length) {
  const auto count = static_cast<std::size_t>(length);
  const auto room = static_cast<std::size_t>(size - at);
  auto* bytes = static_cast<unsigned char*>(to);
  std::memcpy(bytes, storage + at, std::min(count, room));
  if (count > room) std::memcpy(bytes + room, storage, count - room);
}

Head head_at(const unsigned char* storage, long size, long at) {
  Head length = 0;
  get(storage, size, at, &length, kHeadSize);
  return length;
}

}  // namespace

bool CACB::OnInitSize(long size) {
  Empty();
  size_ = 0;
  storage_.reset(size > 0 ? new (std::nothrow) unsigned char[static_cast<std::size_t>(size)]()
                          : nullptr);
  if (storage_ != nullptr) size_ = size;
  return storage_ != nullptr;
}

bool CACB::WriteBuf(const unsigned char* data, long length) {
  const long room = size_ - used_ - kHeadSize;
  if (length < 0 || length > room || !std::in_range<Head>(length)) return false;
  if (count_ == 0) alike_ = length;
  if (length != alike_) alike_ = -1;
  const auto head = static_cast<Head>(length);
  const long at = advance(first_, used_, size_);
  put(storage_.get(), size_, at, &head, kHeadSize);
  if (length > 0) put(storage_.get(), size_, advance(at, kHeadSize, size_), data, length);
  used_ += kHeadSize + length;
  ++count_;
  return true;
}

long CACB::ReadBuf(unsigned char* data, long length) {
  if (count_ == 0) return 0;
  const long copied = PeekBuf(data, length, 0);
  const long taken = kHeadSize + head_at(storage_.get(), size_, first_);
  first_ = advance(first_, taken, size_);
  used_ -= taken;
  --count_;
  return copied;
}

long CACB::PeekBuf(unsigned char* data, long length, long position) const {
  if (position < 0 || position >= count_) return 0;
  long at = first_;
  if (alike_ >= 0) {
    at = advance(at, position * (kHeadSize + alike_), size_);
  } else {
    for (long k = 0; k < position; ++k) {
      at = advance(at, kHeadSize + head_at(storage_.get(), size_, at), size_);
    }
  }
  const long copied = std::min<long>(length, head_at(storage_.get(), size_, at));
  if (copied <= 0) return 0;
  get(storage_.get(), size_, advance(at, kHeadSize, size_), data, copied);
  return copied;
}

void CACB::Empty() {
  first_ = used_ = count_ = 0;
}
