#include "tools/mailbox.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/host.h"
#include "vek/operation_table.h"

namespace {

constexpr auto kCode = SHARED_FIELD(UdpArea, mailbox.op_code);
constexpr auto kText = SHARED_FIELD(UdpArea, mailbox.op_text);
constexpr auto kValue = SHARED_FIELD(UdpArea, mailbox.op_value);
constexpr auto kFloat = SHARED_FIELD(UdpArea, mailbox.op_float);
constexpr auto kSeq = SHARED_FIELD(UdpArea, mailbox.op_seq);
constexpr auto kReply = SHARED_FIELD(UdpArea, mailbox.op_reply);
static_assert(sizeof(UdpMailbox::op_text) == kOperationText);
static_assert(kReply.offset - kText.offset == kReplyInText);

constexpr int kGetString = 5;  // the one operation whose result may run over op_seq
// After op_code is cleared, within this time if at all.
constexpr std::chrono::milliseconds kReplyFollows{100};
constexpr int kStatuses[] = {OP_DONE, OP_INVALID_CODE, OP_REJECTED, OP_FAILED, OP_STAGE_FAILED};

// A number that no reply to an earlier request can be taken for: the present reply lies some 32768
// from it. Its low byte is 0, so that a text that runs over it changes it, as no text contains a 0.
std::uint16_t FreshSeq(std::uint16_t reply) {
  return static_cast<std::uint16_t>((reply & 0xff00) ^ 0x8000);
}

std::string NameOf(int code) {
  const auto operation = FindOperation(code);
  return operation ? operation->Command() : Text("operation ", code);
}

OperationReply NoReply(std::string trouble) {
  OperationReply reply;
  reply.trouble = std::move(trouble);
  return reply;
}

// A lock of the Udp area's file, which keeps other clients off the mailbox. The kernel takes it
// back from a process that dies.
class Turn {
 public:
  Turn() : fd_(host_open(kUdpArea.path, O_RDONLY)) {}
  ~Turn() { host_close(fd_); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  // False while another client has it. What cannot be locked, a device perhaps, is nobody's.
  bool Take() { return flock(fd_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

 private:
  int fd_;
};

}  // namespace

bool OperationReply::OverlapsReply() const {
  return text.size() >= kReplyInText;
}

OperationReply Mailbox::Ask(const OperationRequest& request, double timeout_s) {
  const auto deadline = After(Clock::now(), timeout_s);
  Turn turn;
  for (; !turn.Take(); ShortPause()) {
    if (Clock::now() >= deadline) return NoReply("the mailbox is occupied by another client");
  }
  vek_ = WatchVek(sys_.get());
  if (!Post(request, deadline)) {
    const std::string name = NameOf(shared::load_acquire(udp_.get(), kCode));
    return NoReply(
        Text("the mailbox is occupied by ", name, VekRuns() ? "" : ", and Vek is not running"));
  }
  for (;; ShortPause()) {
    if (const auto status = Status(request.code)) return Result(*status);
    if (Clock::now() >= deadline) return GiveUp(request);
  }
}

// Waits until the mailbox is free and takes it; false when it was not free in time.
bool Mailbox::Post(const OperationRequest& request, Clock::time_point deadline) {
  for (auto occupied = Clock::now();; ShortPause()) {
    const auto now = Clock::now();
    const std::int16_t code = shared::load_acquire(udp_.get(), kCode);
    if (code > 0) {
      if (now >= deadline) return false;
      occupied = now;
    } else if (PresentStatus() || now - occupied >= kReplyFollows) {
      // Without a reply to the last request, one may be about to be written, as the next one's.
      Write(request);
      if (shared::replace(udp_.get(), kCode, code, static_cast<std::int16_t>(request.code))) {
        return true;
      }
    }
  }
}

// Everything but op_code, which announces it.
void Mailbox::Write(const OperationRequest& request) {
  std::array<char, kOperationText> text{};
  std::copy_n(request.text.data(), std::min(request.text.size(), text.size()), text.data());
  shared::write_bytes(udp_.get() + kText.offset, text.data(), text.size());
  shared::store(udp_.get(), kValue, request.value);
  shared::store(udp_.get(), kFloat, request.real);
  seq_ = FreshSeq(shared::load(udp_.get(), kReply));
  shared::store(udp_.get(), kSeq, seq_);
}

// What op_reply says about op_seq, if it is a reply to it.
std::optional<int> Mailbox::PresentStatus() const {
  const std::uint16_t reply = shared::load_acquire(udp_.get(), kReply);
  const auto status = static_cast<std::uint16_t>(reply - shared::load(udp_.get(), kSeq));
  const auto* const known = std::find(std::begin(kStatuses), std::end(kStatuses), status);
  if (known == std::end(kStatuses)) return std::nullopt;
  return *known;
}

// The status of the request, once it is there: some operations write the reply before they clear
// op_code, others after that.
std::optional<int> Mailbox::Status(int code) const {
  if (shared::load_acquire(udp_.get(), kCode) > 0) return std::nullopt;
  if (shared::load(udp_.get(), kSeq) == seq_) return PresentStatus();
  // A text that runs over op_seq is a result, whatever lies where the reply should.
  if (code == kGetString) return OP_DONE;
  return std::nullopt;
}

OperationReply Mailbox::Result(int status) const {
  std::array<char, AREA_UDP_SIZE - kText.offset> bytes{};
  shared::read_bytes(bytes.data(), udp_.get() + kText.offset, bytes.size());
  return {.status = status,
          .trouble = {},
          .value = shared::load(udp_.get(), kValue),
          .real = shared::load(udp_.get(), kFloat),
          .text = {bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0')}};
}

OperationReply Mailbox::GiveUp(const OperationRequest& request) {
  const auto code = static_cast<std::int16_t>(request.code);
  if (!VekRuns() && shared::replace(udp_.get(), kCode, code, 0)) {
    return NoReply("Vek is not running (its cycle stamp stands still): request withdrawn");
  }
  if (const auto status = Status(request.code)) return Result(*status);  // in the last moment
  return NoReply(shared::load_acquire(udp_.get(), kCode) == code
                     ? "no reply in time: it is still being carried out"
                     : "no reply, though the mailbox was cleared");
}

// Whether its stamp moves: since Ask began, and still. Takes up to two seconds when it does not.
bool Mailbox::VekRuns() {
  if (!vek_.Alive()) return false;
  StampWatch now = WatchVek(sys_.get());
  while (now.Alive() && !now.HasMoved()) ShortPause();
  return now.HasMoved();
}
