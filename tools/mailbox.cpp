#include "tools/mailbox.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

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

std::atomic<bool> g_interrupted{false};

void OnInterrupt(int) {
  g_interrupted = true;
}

// While it lives, what would end the process ends its waiting, so that no request is left behind.
// A signal that is ignored stays so.
class Interruptible {
 public:
  Interruptible() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    for (std::size_t k = 0; k < kSignals.size(); ++k) {
      sigaction(kSignals[k], nullptr, &former_[k]);
      if (former_[k].sa_handler != SIG_IGN) sigaction(kSignals[k], &action, nullptr);
    }
  }
  ~Interruptible() {
    for (std::size_t k = 0; k < kSignals.size(); ++k) sigaction(kSignals[k], &former_[k], nullptr);
  }
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

 private:
  static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
  std::array<struct sigaction, kSignals.size()> former_{};
};

bool IsOver(Clock::time_point deadline) {
  return g_interrupted || Clock::now() >= deadline;
}

OperationReply NoReply(const std::string& trouble) {
  OperationReply reply;
  reply.trouble = (g_interrupted ? "interrupted: " : "") + trouble;
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
  const Interruptible interruptible;
  Turn turn;
  for (; !turn.Take(); ShortPause()) {
    if (IsOver(deadline)) return NoReply("the mailbox is occupied by another client");
  }
  vek_ = WatchVek(sys_.get());
  if (!Post(request, deadline)) {
    const std::int16_t code = shared::load_acquire(udp_.get(), kCode);
    if (code <= 0) return NoReply("nothing was asked for");
    return NoReply(Text("the mailbox is occupied by ", NameOf(code),
                        CycleRuns() ? "" : ", and Vek's cycle stands still"));
  }
  for (;; ShortPause()) {
    if (const auto status = Status(request.code)) return Result(*status);
    if (IsOver(deadline)) return GiveUp(request);
  }
}

// Waits until the mailbox is free and takes it; false when it was not free in time, or interrupted.
bool Mailbox::Post(const OperationRequest& request, Clock::time_point deadline) {
  for (auto occupied = Clock::now();; ShortPause()) {
    const auto now = Clock::now();
    const std::int16_t code = shared::load_acquire(udp_.get(), kCode);
    if (code > 0 || g_interrupted) {
      if (IsOver(deadline)) return false;
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
  // A Vek whose start failed serves the mailbox without a cycle. It leaves op_code until the end of
  // an operation, so nobody can tell whether it has begun this one.
  if (!CycleRuns() && shared::replace(udp_.get(), kCode, code, 0)) {
    return NoReply(
        "no reply, and Vek's cycle stands still: the request was taken out of the mailbox, but may "
        "already be under way");
  }
  if (const auto status = Status(request.code)) return Result(*status);  // in the last moment
  return NoReply(shared::load_acquire(udp_.get(), kCode) == code
                     ? "no reply yet: it is still being carried out"
                     : "no reply, though the mailbox was cleared");
}

// Whether its stamp moves: since Ask began, and still. Takes up to two seconds when it does not.
bool Mailbox::CycleRuns() {
  if (!vek_.Alive()) return false;
  StampWatch now = WatchVek(sys_.get());
  while (now.Alive() && !now.HasMoved()) ShortPause();
  return now.HasMoved();
}
