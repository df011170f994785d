#include "tools/vekctl/live_view.h"

#include <cmath>
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
    moved_ = true;
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

int RingFrames(const AreaView& vek2dru, const GroupRow& group) {
  const unsigned char* ring = vek2dru.get() + group.ring;
  constexpr std::uint32_t kSpan = 2 * AREA_RING_CAPACITY;
  const std::uint32_t write = shared::load_acquire(ring, SHARED_FIELD(FrameRing, write_pos));
  const std::uint32_t read = shared::load_acquire(ring, SHARED_FIELD(FrameRing, read_pos));
  if (write >= kSpan || read >= kSpan) return -1;
  const std::uint32_t stored = (write + kSpan - read) % kSpan;
  return stored > AREA_RING_CAPACITY ? -1 : static_cast<int>(stored / AREA_FRAME_SIZE);
}

double DistanceFrom(const AreaView& sys, const GroupRow& group, const Axes& pos,
                    std::size_t joints) {
  double distance = 0;
  for (std::size_t j = 0; j < joints; ++j) {
    const double off = std::fabs(shared::load(sys.get(), group.sys.joint_pos, j) - pos[j]);
    // Written so that what is no number counts as far away.
    if (!(off <= distance)) distance = off;
  }
  return distance;
}

bool StandsStill(const AreaView& sys, const GroupRow& group) {
  return shared::load(sys.get(), group.sys.standstill) != 0;
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
