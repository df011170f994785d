// The inertial sensor: its serial line and the decoder of its frames. One thread.
#pragma once

class SerialPort {
 public:
  SerialPort() = default;
  ~SerialPort();
  SerialPort(const SerialPort&) = delete;
  SerialPort& operator=(const SerialPort&) = delete;

  // Opens the line; parity 'n', 'e' or 'o'. False when it cannot be opened or set. A line that was
  // open is closed first.
  bool Connect(const char* path, int baud, int data_bits, int stop_bits, char parity);
  // Takes what has arrived, at most `size` bytes; <= 0 when nothing. Never waits.
  int Read(void* buffer, int size);

 private:
  int fd_ = -1;
};

// Decoder of the YIS100DK's frames.
class CYIS100DK {
 public:
  // Feeds one byte. After the last byte of a good frame that carries acceleration or angular rate,
  // new_frame is true; what the frame does not carry keeps its values.
  void OnRecvChar(unsigned char byte);

  double values[6]{};      // acceleration x, y, z (m/s^2), angular rate x, y, z (deg/s)
  bool new_frame = false;  // set by the decoder, cleared by the caller

 private:
  static constexpr int kLongestFrame = 262;

  void OnPayload(const unsigned char* payload, int length);

  unsigned char recent_[kLongestFrame]{};  // bytes received since the last good frame
  int length_ = 0;
};
