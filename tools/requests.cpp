#include "tools/requests.h"

void RequestState(unsigned char* udp, const GroupRow& group, int state) {
  shared::store_release(udp, group.udp.state_cmd, static_cast<std::uint16_t>(state));
}

void WriteTrajectory(unsigned char* trajbuf, const GroupRow& group, const Waypoints& waypoints) {
  for (std::size_t k = 0; k < waypoints.points.size(); ++k) {
    const auto& joint = waypoints.points[k].joint;
    for (std::size_t j = 0; j < joint.size(); ++j) {
      shared::store(trajbuf, group.traj.points, joint[j], k * AREA_WAYPOINT_FLOATS + j);
    }
  }
  shared::store(trajbuf, group.traj.point_count,
                static_cast<std::int32_t>(waypoints.points.size()));
  shared::store(trajbuf, group.traj.next_point, 0);
}

bool StartTrajectory(unsigned char* udp, const GroupRow& group) {
  return shared::replace(udp, group.udp.traj_state, TRAJ_IDLE, TRAJ_START);
}

bool StopTrajectory(unsigned char* udp, const GroupRow& group) {
  // Vek moves the byte from state to state at the same time; what it last wrote is replaced.
  for (int state = shared::load_acquire(udp, group.udp.traj_state);
       state >= TRAJ_START && state <= TRAJ_PLAY_END;
       state = shared::load_acquire(udp, group.udp.traj_state)) {
    if (shared::replace(udp, group.udp.traj_state, static_cast<std::int8_t>(state), TRAJ_STOP)) {
      return true;
    }
  }
  return false;
}
