// The serial line of the gyro: a tty, or at a desk anything that bytes can be read from.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "platform/gyro.h"
#include "platform/standalone/host_root.h"

namespace {

// One argument of Connect and the flag that termios has for it.
struct Choice {
  int value;
  tcflag_t flag;
};

constexpr Choice kBauds[] = {{9600, B9600},     {19200, B19200},   {38400, B38400},
                             {57600, B57600},   {115200, B115200}, {230400, B230400},
                             {460800, B460800}, {921600, B921600}};
constexpr Choice kDataBits[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};
constexpr Choice kStopBits[] = {{1, 0}, {2, CSTOPB}};
constexpr Choice kParities[] = {{'n', 0}, {'e', PARENB}, {'o', PARENB | PARODD}};

struct Line {
  speed_t baud = 0;
  tcflag_t form = 0;  // data bits, stop bits, parity
};

template <int N>
bool choose(const Choice (&choices)[N], int value, tcflag_t& flags) {
  for (const Choice& choice : choices) {
    if (choice.value != value) continue;
    flags |= choice.flag;
    return true;
  }
  return false;
}

// Sets the line raw, so that bytes arrive as they were sent. What is no tty needs no setting.
bool set_line(int fd, const Line& line) {
  termios settings{};
  if (tcgetattr(fd, &settings) != 0) return errno == ENOTTY;
  cfmakeraw(&settings);
  settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CSTOPB | PARENB | PARODD | CRTSCTS);
  settings.c_cflag |= line.form | CLOCAL | CREAD;
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 0;
  return cfsetspeed(&settings, line.baud) == 0 && tcsetattr(fd, TCSANOW, &settings) == 0;
}

}  // namespace

SerialPort::~SerialPort() {
  if (fd_ >= 0) close(fd_);
}

bool SerialPort::Connect(const char* path, int baud, int data_bits, int stop_bits, char parity) {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  Line line;
  if (!choose(kBauds, baud, line.baud) || !choose(kDataBits, data_bits, line.form) ||
      !choose(kStopBits, stop_bits, line.form) || !choose(kParities, parity, line.form)) {
    return false;
  }
  // Opened both ways, a FIFO does not end when its writer goes.
  const int fd = standalone::open_path(path, O_RDWR | O_NOCTTY | O_NONBLOCK);
  if (fd < 0) return false;
  if (!set_line(fd, line)) {
    close(fd);
    return false;
  }
  fd_ = fd;
  return true;
}

int SerialPort::Read(void* buffer, int size) {
  if (size <= 0) return 0;
  return static_cast<int>(read(fd_, buffer, static_cast<std::size_t>(size)));
}
