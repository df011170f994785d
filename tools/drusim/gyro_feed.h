// The simulated inertial sensor: frames of slowly changing, slightly noisy values through a pty.
#pragma once

#include <array>
#include <cstdint>
#include <string>

class GyroFeed {
 public:
  // Makes the pty, and dev/ttyUSB0 beneath the root a link to it; a Failure when that is not
  // possible. A link that an earlier run left is replaced, anything else is left alone.
  GyroFeed();
  // Removes the link.
  ~GyroFeed();
  GyroFeed(const GyroFeed&) = delete;
  GyroFeed& operator=(const GyroFeed&) = delete;

  // Sends a frame when one is due, 100 in a second of `time_ns`. Never waits: what nobody reads is
  // lost.
  void OnCycle(std::int64_t time_ns);

  // While frozen, the values stay as they are.
  void SetFrozen(bool frozen) { frozen_ = frozen; }
  // While not connected, nothing is sent.
  void SetConnected(bool connected) { connected_ = connected; }

 private:
  void Change();

  // Ends of the pty. The far one is kept open, too: so the line is there before somebody opens it.
  int near_ = -1;
  int far_ = -1;
  std::string link_, device_;
  bool frozen_ = false;
  bool connected_ = true;
  std::int64_t next_ns_ = 0;
  std::uint32_t step_ = 0;  // of the values
  std::uint32_t noise_ = 1;
  std::array<std::int32_t, 6> values_{};  // acceleration (1e-6 m/s^2), angular rate (1e-6 deg/s)
};
