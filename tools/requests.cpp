#include "tools/requests.h"

#include <algorithm>

namespace {

void Announce(unsigned char* udp, const GroupRow& group, SetValue value) {
  const SetBytes bytes = BytesOf(group, value);
  shared::store(udp, bytes.enable, 1);
  shared::store_release(udp, bytes.fresh, 1);
}

}  // namespace

void RequestState(unsigned char* udp, const GroupRow& group, int state) {
  shared::store_release(udp, group.udp.state_cmd, static_cast<std::uint16_t>(state));
}

SetBytes BytesOf(const GroupRow& group, SetValue value) {
  const GroupUdpFields& udp = group.udp;
  switch (value) {
    case SetValue::Speed:
      return {"speed", udp.vel_enable, udp.vel_new};
    case SetValue::Acceleration:
      return {"acceleration", udp.acc_enable, udp.acc_new};
    default:
      return {"joint", udp.joint_cmd_enable, udp.joint_cmd_new};
  }
}

bool IsPending(const unsigned char* udp, const GroupRow& group, SetValue value) {
  return shared::load_acquire(udp, BytesOf(group, value).fresh) != 0;
}

void SendJointCommand(unsigned char* udp, const GroupRow& group, const std::vector<float>& joints) {
  const std::size_t count = std::min(joints.size(), group.udp.joint_cmd_axes);
  for (std::size_t j = 0; j < count; ++j) shared::store(udp, group.udp.joint_cmd, joints[j], j);
  Announce(udp, group, SetValue::Joints);
}

void SendPercent(unsigned char* udp, const GroupRow& group, SetValue value, float percent) {
  const bool speed = value == SetValue::Speed;
  shared::store(udp, speed ? group.udp.vel_percent : group.udp.acc_percent, percent);
  Announce(udp, group, value);
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
