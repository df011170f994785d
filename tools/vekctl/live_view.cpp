#include "tools/vekctl/live_view.h"

#include <thread>

namespace {

constexpr std::chrono::milliseconds kPoll{2};
constexpr std::chrono::seconds kStandsStill{2};

}  // namespace

void ShortPause() {
  std::this_thread::sleep_for(kPoll);
}

StampWatch::StampWatch(const unsigned char* sys, shared::Field<std::uint64_t> stamp)
    : sys_(sys), stamp_(stamp), last_(shared::load(sys, stamp)), changed_(Clock::now()) {}

bool StampWatch::Alive() {
  const std::uint64_t now = shared::load(sys_, stamp_);
  if (now != last_) {
    last_ = now;
    changed_ = Clock::now();
  }
  return Clock::now() - changed_ < kStandsStill;
}

StampWatch WatchVek(const unsigned char* sys) {
  return {sys, SHARED_FIELD(SysInfo, vek_cycle_start_ns)};
}

StampWatch WatchDru(const unsigned char* sys) {
  return {sys, SHARED_FIELD(SysInfo, dru_cycle_start_ns)};
}

int GroupState(const AreaView& sys, const GroupRow& group) {
  return shared::load_acquire(sys.get(), group.sys.group_state);
}

int TrajState(const AreaView& udp, const GroupRow& group) {
  return shared::load_acquire(udp.get(), group.udp.traj_state);
}

const char* TrajStateName(int state) {
  switch (state) {
    case TRAJ_IDLE:
      return "idle";
    case 1:
    case 2:
      return "loading";
    case TRAJ_START:
      return "start";
    case TRAJ_PLAY_START:
    case TRAJ_NEXT_POINT:
    case TRAJ_PLAY_MID:
      return "playing";
    case TRAJ_END:
    case TRAJ_PLAY_END:
      return "ending";
    case TRAJ_STOP:
      return "stop";
    default:
      return "?";
  }
}
