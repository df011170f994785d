#include <cstdio>

#include "tools/group_argument.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/judgement.h"
#include "tools/vekctl/live_view.h"

namespace {

constexpr std::chrono::seconds kWatch{1};

class GroupWatch {
 public:
  explicit GroupWatch(const GroupRow& group) : group_(group), ring_read_(RingRead()) {}

  // What the areas say by now.
  GroupSnapshot Look() {
    vek_.Alive();
    ring_taken_from_ = ring_taken_from_ || RingRead() != ring_read_;
    const unsigned char* const sys = sys_.get();
    const unsigned char* const udp = udp_.get();
    GroupSnapshot now{
        .vek_runs = vek_.HasMoved(),
        .load_complete = shared::load(cfg_.get(), SHARED_FIELD(CfgConfig, load_complete)),
        .state = GroupState(sys_, group_),
        .state_cmd = shared::load_acquire(udp, group_.udp.state_cmd),
        .brake_unlocked = shared::load(sys, group_.sys.brake_unlock) != 0,
        .vel_percent = shared::load(udp, group_.udp.vel_percent),
        .acc_percent = shared::load(udp, group_.udp.acc_percent),
        .axes = shared::load(mac_.get(), group_.axes),
        .dof = shared::load(cfg_.get(), group_.cfg.dof),
        .ring_frames = RingFrames(vek2dru_, group_),
        .ring_taken_from = ring_taken_from_,
        .set = {},
        .traj_state = group_.plays_trajectories() ? TrajState(udp_, group_) : TRAJ_IDLE,
    };
    for (std::size_t k = 0; k < kSetValues; ++k) {
      const auto value = static_cast<SetValue>(k);
      now.set[k] = {.enabled = shared::load(udp, BytesOf(group_, value).enable) != 0,
                    .pending = IsPending(udp, group_, value)};
    }
    return now;
  }

 private:
  std::uint32_t RingRead() const {
    return shared::load_acquire(vek2dru_.get() + group_.ring, SHARED_FIELD(FrameRing, read_pos));
  }

  const GroupRow& group_;
  AreaView sys_{kSysInfoArea}, cfg_{kCfgConfigArea}, mac_{kMacArea}, udp_{kUdpArea},
      vek2dru_{kVek2DruArea};
  StampWatch vek_ = WatchVek(sys_.get());
  std::uint32_t ring_read_;
  bool ring_taken_from_ = false;
};

}  // namespace

int RunWhy(const WhyOptions& options) {
  const GroupRow& group = GroupByKey(options.group);
  SettleRoot(options.root);
  GroupWatch watch(group);
  // What lasts only a cycle or two is no reason: a reason is one that is still there in the end.
  std::string reason;
  const auto start = Clock::now();
  do {
    ShortPause();
    reason = WhyItStands(group, watch.Look());
  } while (!reason.empty() && Clock::now() - start < kWatch);
  std::printf("%s: %s\n", options.group.c_str(),
              reason.empty() ? "nothing keeps it from moving" : reason.c_str());
  return reason.empty() ? 0 : kStatusFailed;
}
