#include "tools/drusim/robot.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/host.h"
#include "tools/drusim/servo_data.h"
#include "tools/failure.h"

namespace {

// Locks the area that the servo task reads. The lock goes with the process, however it ends; an
// area that takes none is played all the same.
void ClaimServoTask() {
  const int fd = host_open(kVek2DruArea.path, O_RDWR | O_CLOEXEC);
  if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    Fail("another drusim plays the servo task here already");
  }
}

}  // namespace

Robot::Robot(const RobotOptions& options) {
  ClaimServoTask();
  const ServoAreas areas{
      .sys = sys.get(), .mac = mac.get(), .udp = udp.get(), .vek2dru = vek2dru.get()};
  if (options.gyro) gyro = std::make_unique<GyroFeed>();
  for (const GroupRow& group : kGroups) {
    groups.emplace_back(group, areas, options.times);
  }
}

void Robot::OnStart(const RobotOptions& options) {
  for (ServoModel& model : groups) {
    const GroupRow& group = model.group();
    model.OnStart(options.axes[group.index], options.pose[group.index]);
    PublishServoData(sys.get(), group);
  }
  PublishLiftOffsets(mac.get());
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
