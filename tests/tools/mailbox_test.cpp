// The requester's side of the operation mailbox against a Vek of a few lines.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/mailbox.h"

namespace {

constexpr int kBrakeLock = 102;
constexpr auto kCode = SHARED_FIELD(UdpArea, mailbox.op_code);
constexpr auto kText = SHARED_FIELD(UdpArea, mailbox.op_text);
constexpr auto kSeq = SHARED_FIELD(UdpArea, mailbox.op_seq);
constexpr auto kReply = SHARED_FIELD(UdpArea, mailbox.op_reply);

void Reply(unsigned char* udp, int status) {
  const auto reply = static_cast<std::uint16_t>(shared::load(udp, kSeq) + status);
  shared::store_release(udp, kReply, reply);
}
// Both orders leave time enough to take one half for the whole.
void LongPause() {
  for (int k = 0; k < 20; ++k) PollPause();
}
void ClearThenReply(unsigned char* udp, int status) {
  shared::store_release(udp, kCode, 0);
  LongPause();
  Reply(udp, status);
}
void ReplyThenClear(unsigned char* udp, int status) {
  Reply(udp, status);
  LongPause();
  shared::store_release(udp, kCode, 0);
}

struct Areas {
  Areas() { root.MakeAreas(); }
  TempRoot root;
};

// The areas, and Vek at work in a thread: it moves its cycle stamp and serves what it finds.
class MailboxTest : public Areas, public testing::Test {
 protected:
  using Serve = std::function<void(unsigned char* udp)>;

  ~MailboxTest() override {
    stop_ = true;
    if (vek_.joinable()) vek_.join();
  }
  void StartVek(Serve serve) {
    vek_ = std::thread([this, serve] {
      for (std::uint64_t cycle = 1; !stop_; ++cycle, PollPause()) {
        shared::store(sys_.get(), SHARED_FIELD(SysInfo, vek_cycle_start_ns), cycle);
        if (shared::load_acquire(udp_.get(), kCode) > 0) serve(udp_.get());
      }
    });
  }

  AreaView sys_{kSysInfoArea}, udp_{kUdpArea};
  Mailbox mailbox_;
  std::thread vek_;
  std::atomic<bool> stop_{false};
};

TEST_F(MailboxTest, TakesNoOldReplyForANewOne) {
  std::atomic<int> status{0};
  StartVek([&](unsigned char* udp) {
    EXPECT_EQ(std::string(reinterpret_cast<char*>(udp) + kText.offset, 30),
              "R.A" + std::string(27, '\0'));
    EXPECT_EQ(shared::load(udp, SHARED_FIELD(UdpArea, mailbox.op_value)), -7);
    EXPECT_EQ(shared::load(udp, SHARED_FIELD(UdpArea, mailbox.op_float)), 0.5F);
    (status % 200 == 0 ? ReplyThenClear : ClearThenReply)(udp, status);
  });
  // What an earlier requester left; from the third, the new reply wraps.
  for (const int old : {0, 300, 0x7f01, 0x7fff, 0x8063, 0xffff}) {
    for (const int next : {0, 99, 100, 200, 300}) {
      shared::store(udp_.get(), kReply, static_cast<std::uint16_t>(old));
      shared::store(udp_.get(), kSeq, static_cast<std::uint16_t>(old));
      status = next;
      const OperationReply reply =
          mailbox_.Ask({.code = kBrakeLock, .text = "R.A", .value = -7, .real = 0.5F}, 30);
      EXPECT_EQ(reply.status, next) << old << " " << reply.trouble;
      EXPECT_EQ(shared::load(udp_.get(), kCode), 0);
    }
  }
}

TEST_F(MailboxTest, TellsWhyThereIsNoReply) {
  const OperationRequest request{.code = kBrakeLock};
  EXPECT_EQ(mailbox_.Ask(request, 0.1).trouble,
            "no reply, and Vek's cycle stands still: the request was taken out of the mailbox, but "
            "may already be under way");
  EXPECT_EQ(shared::load(udp_.get(), kCode), 0) << "it must not act when Vek starts";

  shared::store(udp_.get(), kCode, 11);
  EXPECT_EQ(mailbox_.Ask(request, 0.1).trouble,
            "the mailbox is occupied by system-reboot, and Vek's cycle stands still");
  EXPECT_EQ(shared::load(udp_.get(), kCode), 11) << "somebody else's";

  std::atomic<bool> serves{false};
  StartVek([&](unsigned char* udp) {
    if (serves) ClearThenReply(udp, shared::load(udp, kCode) == kBrakeLock ? 0 : 7);
  });
  EXPECT_EQ(mailbox_.Ask(request, 0.1).trouble, "the mailbox is occupied by system-reboot");
  shared::store(udp_.get(), kCode, -5);  // counts as free
  EXPECT_EQ(mailbox_.Ask(request, 0.1).trouble, "no reply yet: it is still being carried out");
  EXPECT_EQ(shared::load(udp_.get(), kCode), kBrakeLock);
  serves = true;
  EXPECT_EQ(mailbox_.Ask(request, 30).status, 0) << "after the one that was left";
  EXPECT_EQ(mailbox_.Ask({.code = 600}, 0.3).trouble, "no reply, though the mailbox was cleared");
}

TEST_F(MailboxTest, ClientsTakeTurns) {
  StartVek([](unsigned char* udp) {
    EXPECT_EQ(shared::load(udp, SHARED_FIELD(UdpArea, mailbox.op_value)), shared::load(udp, kCode));
    Reply(udp, 0);
    shared::store_release(udp, kCode, 0);
  });
  const auto ask = [](const char* code) {
    for (int k = 0; k < 150; ++k) {
      EXPECT_EQ(RunProgram("vekctl", {"op", code, "--value", code}).status, 0);
    }
  };
  std::thread other(ask, "14");
  ask("102");
  other.join();
}

TEST(MailboxSignals, LeaveNoRequestBehind) {
  const Areas areas;
  const AreaView udp(kUdpArea);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    ChildProcess vekctl("vekctl", {"reboot", "--timeout", "60"});
    EXPECT_TRUE(WaitUntil([&] { return shared::load_acquire(udp.get(), kCode) == 11; }));
    vekctl.Signal(signal);
    EXPECT_EQ(vekctl.Wait(), 1);
    EXPECT_EQ(shared::load_acquire(udp.get(), kCode), 0);
    EXPECT_NE(vekctl.Stderr().find("reboot: interrupted: no reply"), std::string::npos);
  }
}

}  // namespace
