// Frames of the YIS family: 59 53, TID u16, LEN u8, LEN bytes of payload, CK1, CK2. The payload is
// a row of records {id u8, len u8, data}; numbers are little-endian.
#include <cstdint>
#include <cstring>

#include "platform/gyro.h"

namespace {

constexpr int kHead = 5;  // sync, TID, LEN
constexpr int kChecksum = 2;

struct Vector {
  unsigned char id;
  int first;  // of its three values
};

constexpr Vector kVectors[] = {{0x10, 0}, {0x20, 3}};  // acceleration, angular rate
constexpr int kVectorLength = 12;                      // three i32
constexpr double kUnit = 1e6;                          // counts in a m/s^2 or deg/s

// Whether the `length` bytes are one whole frame. LEN means nothing before the checksum agrees.
bool is_frame(const unsigned char* frame, int length) {
  if (frame[0] != 0x59 || frame[1] != 0x53 || kHead + frame[4] + kChecksum != length) return false;
  unsigned ck1 = 0;
  unsigned ck2 = 0;
  for (int k = 2; k < length - kChecksum; ++k) {
    ck1 += frame[k];
    ck2 += ck1;
  }
  return frame[length - 2] == ck1 % 256 && frame[length - 1] == ck2 % 256;
}

std::int32_t int32_at(const unsigned char* bytes) {
  std::uint32_t value = 0;
  for (int k = 3; k >= 0; --k) value = value << 8 | bytes[k];
  return static_cast<std::int32_t>(value);
}

}  // namespace

// Looks for a frame that ends with this byte, wherever it began: what noise or a broken frame
// before it claims to be, a far too great LEN included, neither loses nor delays it.
void CYIS100DK::OnRecvChar(unsigned char byte) {
  if (length_ == kLongestFrame) {
    --length_;
    std::memmove(recent_, recent_ + 1, kLongestFrame - 1);
  }
  recent_[length_++] = byte;
  for (int start = 0; start + kHead + kChecksum <= length_; ++start) {
    const unsigned char* frame = recent_ + start;
    if (!is_frame(frame, length_ - start)) continue;
    OnPayload(frame + kHead, frame[4]);
    length_ = 0;
    return;
  }
}

void CYIS100DK::OnPayload(const unsigned char* payload, int length) {
  for (int at = 0; at + 2 <= length;) {
    const unsigned char id = payload[at];
    const int size = payload[at + 1];
    const unsigned char* data = payload + at + 2;
    at += 2 + size;
    if (at > length) return;  // a record that runs out of the payload
    for (const Vector& vector : kVectors) {
      if (id != vector.id || size != kVectorLength) continue;
      for (int k = 0; k < 3; ++k, data += 4) values[vector.first + k] = int32_at(data) / kUnit;
      new_frame = true;
    }
  }
}
