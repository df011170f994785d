// The simulated robot: the areas, the servo side's groups and the gyro. Scripts and the control
// pipe act on it.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "tools/area_view.h"
#include "tools/drusim/gyro_feed.h"
#include "tools/drusim/servo_model.h"

struct RobotOptions {
  struct Servo {
    const GroupRow* group;
    std::size_t axis;
  };
  std::array<int, kGroupCount> axes{7, 7, 3, 6, 2};  // servo axes of each group
  std::array<Axes, kGroupCount> pose{};              // where the axes stand at the start, ju
  ServoTimes times;
  std::vector<Servo> failing;  // servos whose commands fail from the start
  bool gyro = false;
};

struct Robot {
  // Maps the areas and makes the gyro; the areas stay as they are. A Failure when that is not
  // possible, or when another process plays the servo task already.
  explicit Robot(const RobotOptions& options);
  // Switches everything on.
  void OnStart(const RobotOptions& options);

  ServoModel& Group(const GroupRow& group) { return groups[group.index]; }
  // A Failure when the robot has none.
  GyroFeed& Gyro();
  // The trajectory file, mapped at first use: Vek makes it. A Failure when it is missing.
  const AreaView& TrajBuf();

  AreaView sys{kSysInfoArea}, cfg{kCfgConfigArea}, mac{kMacArea}, udp{kUdpArea},
      vek2dru{kVek2DruArea};
  std::vector<ServoModel> groups;
  std::unique_ptr<GyroFeed> gyro;
  bool quit = false;          // an action asked for the end
  std::int64_t stall_ns = 0;  // actions let the present cycle take so much longer

 private:
  std::optional<AreaView> trajbuf_;
};
