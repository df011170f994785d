// The set channel as its client sees it: whether a value can be given, and what becomes of it.
#pragma once

#include <initializer_list>

#include "tools/requests.h"
#include "tools/vekctl/live_view.h"

class SetChannel {
 public:
  // Maps the areas.
  explicit SetChannel(const GroupRow& group) : group_(group) {}

  const AreaView& sys() const { return sys_; }
  const AreaView& udp() const { return udp_; }

  // A Failure (status 1) when Vek does not run or one of the values is pending.
  void CheckFree(std::initializer_list<SetValue> values);
  // Waits until Vek has taken the announced value over; a Failure (status 1) says why it has not.
  void AwaitTaken(SetValue value, Clock::time_point deadline);
  // A Failure (status 1) once the stamps of Vek or of the servo side stand still.
  void CheckRunning();
  // Whether the servo side has been seen at work.
  bool ServoSideHasMoved() const { return dru_.HasMoved(); }

 private:
  void CheckVek();

  const GroupRow& group_;
  AreaView sys_{kSysInfoArea}, udp_{kUdpArea};
  StampWatch vek_ = WatchVek(sys_.get());
  StampWatch dru_ = WatchDru(sys_.get());
};
