// The operation mailbox as the process that serves it sees it.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/shared_access.h"
#include "vek/operation_table.h"
#include "vek/shared_areas.h"

class OperationMailbox {
 public:
  // Bytes of op_text, whatever they hold, and a zero behind them.
  using Text = std::array<char, sizeof(UdpMailbox::op_text) + 1>;

  // `udp`: start of the mapped Udp area.
  explicit OperationMailbox(void* udp) : udp_(udp) {}

  // The code, 0 or less when no operation is pending. What was written before it can be read now.
  std::int16_t Code() const { return shared::load_acquire(udp_, kCode); }
  std::int32_t Value() const { return shared::load(udp_, kValue); }
  float Float() const { return shared::load(udp_, kFloat); }
  Text OpText() const {
    Text text{};
    shared::read_bytes(text.data(), At(kText), sizeof(UdpMailbox::op_text));
    return text;
  }

  void SetValue(std::int32_t value) { shared::store(udp_, kValue, value); }
  void SetFloat(float value) { shared::store(udp_, kFloat, value); }
  // Writes all of op_text: at most 29 characters, then zeros.
  void SetText(const char* text) {
    Text bytes{};
    std::memcpy(bytes.data(), text, strnlen(text, sizeof(UdpMailbox::op_text) - 1));
    shared::write_bytes(At(kText), bytes.data(), sizeof(UdpMailbox::op_text));
  }
  // Ends op_text at a character.
  void CutText(std::size_t length) { shared::store(udp_, kText, '\0', length); }
  // Writes a text of any length and its zero from op_text on, over the fields behind it: only the
  // end of the area ends it.
  void SpillText(const char* text) {
    shared::write_bytes(At(kText), text, std::min(std::strlen(text) + 1, kTextRoom));
  }

  // Answers and frees the mailbox. op_seq is read only now, as a long text may have replaced it;
  // the sum wraps at 16 bits. Parameter operations free it before the answer, all others behind it.
  void Reply(OperationStatus status, bool free_first) {
    const auto reply =
        static_cast<std::uint16_t>(shared::load(udp_, SHARED_FIELD(UdpArea, mailbox.op_seq)) +
                                   static_cast<std::uint16_t>(status));
    if (free_first) shared::store_release(udp_, kCode, 0);
    shared::store_release(udp_, SHARED_FIELD(UdpArea, mailbox.op_reply), reply);
    if (!free_first) shared::store_release(udp_, kCode, 0);
  }

  // Bytes from op_text to the end of the area.
  static constexpr std::size_t kTextRoom = AREA_UDP_SIZE - offsetof(UdpArea, mailbox.op_text);

 private:
  static constexpr auto kCode = SHARED_FIELD(UdpArea, mailbox.op_code);
  static constexpr auto kText = SHARED_FIELD(UdpArea, mailbox.op_text);
  static constexpr auto kValue = SHARED_FIELD(UdpArea, mailbox.op_value);
  static constexpr auto kFloat = SHARED_FIELD(UdpArea, mailbox.op_float);

  void* At(shared::Field<char> field) const {
    return static_cast<unsigned char*>(udp_) + field.offset;
  }

  void* udp_;
};
