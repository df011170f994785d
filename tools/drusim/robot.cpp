#include "tools/drusim/robot.h"

#include "tools/drusim/servo_data.h"
#include "tools/failure.h"

Robot::Robot(const RobotOptions& options) {
  const ServoAreas areas{
      .sys = sys.get(), .mac = mac.get(), .udp = udp.get(), .vek2dru = vek2dru.get()};
  if (options.gyro) gyro = std::make_unique<GyroFeed>();
  for (const GroupRow& group : kGroups) {
    groups.emplace_back(group, areas, options.times);
    groups.back().OnStart(options.axes[group.index], options.pose[group.index]);
    PublishServoData(areas.sys, group);
  }
  PublishLiftOffsets(areas.mac);
  for (const auto& [group, axis] : options.failing) {
    Group(*group).servos().SetFailing(axis, true);
  }
}

GyroFeed& Robot::Gyro() {
  if (gyro == nullptr) Fail("there is no gyro (drusim --gyro makes one)");
  return *gyro;
}

const AreaView& Robot::TrajBuf() {
  if (!trajbuf_) trajbuf_.emplace(kTrajBufArea);
  return *trajbuf_;
}
