// The operation mailbox as its requester sees it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/vekctl/live_view.h"

inline constexpr std::size_t kOperationText = 30;  // room of op_text

struct OperationRequest {
  int code = 0;  // 1..32767
  // At most kOperationText bytes, which then stand without a zero.
  std::string text = {};
  std::int32_t value = 0;
  float real = 0;
};

struct OperationReply {
  std::optional<int> status;  // one of OperationStatus; nothing: no reply came
  std::string trouble;        // then: why, in words
  // What the mailbox holds after a reply; the operation says which of these is a result.
  std::int32_t value = 0;
  float real = 0;
  // Up to its zero, which may lie anywhere in the area. Of a text that reaches as far, characters
  // 41 and 42 are the reply and not the text's own; a text of 40 or 41 characters has no end then.
  std::string text;
  bool OverlapsReply() const;
};
inline constexpr std::size_t kReplyInText = 40;  // where op_reply lies, from op_text

// Takes turns with other clients of its kind. Requesters that are none know of no lock: they and a
// client may spoil each other's arguments.
class Mailbox {
 public:
  // Maps the areas; a Failure (status 1) when they cannot be.
  Mailbox() = default;

  // Has Vek carry out an operation and waits for its reply, at most `timeout_s` seconds or until
  // SIGINT, SIGTERM or SIGHUP, waiting for a mailbox that is occupied included. Without a reply by
  // then, the request is taken out of the mailbox when Vek's cycle stands still, so that it is not
  // carried out at some later start, and left when it runs: Vek may be waiting for the servo side.
  // From one thread of a process at a time, and not again after such a signal.
  OperationReply Ask(const OperationRequest& request, double timeout_s);

 private:
  bool Post(const OperationRequest& request, Clock::time_point deadline);
  void Write(const OperationRequest& request);
  std::optional<int> PresentStatus() const;
  std::optional<int> Status(int code) const;
  OperationReply Result(int status) const;
  OperationReply GiveUp(const OperationRequest& request);
  bool CycleRuns();

  AreaView sys_{kSysInfoArea}, udp_{kUdpArea};
  StampWatch vek_ = WatchVek(sys_.get());
  std::uint16_t seq_ = 0;
};
