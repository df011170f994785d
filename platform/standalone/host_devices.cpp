// Devices: real character devices, and at a desk plain files that stand for them.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "platform/host.h"
#include "platform/standalone/host_root.h"

namespace {

constexpr unsigned long kGpioGetLevel = 0x80044802;  // _IOR('H', 2, int)
constexpr unsigned long kRtcSetTime = 0x4024700a;

bool is_regular_file(int fd) {
  struct stat info {};
  return fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

// Replaces an input's number by its level: the little-endian 32-bit word at 4 times the number, as
// it stands in the file now.
int read_level(int fd, void* argument) {
  static_assert(sizeof(off_t) == 8, "4 times any input number must fit");
  auto* number = static_cast<std::int32_t*>(argument);
  std::int32_t level = 0;
  const auto at = static_cast<off_t>(*number) * static_cast<off_t>(sizeof level);
  const ssize_t got = pread(fd, &level, sizeof level, at);
  if (got < 0) return -1;  // a number below 0 too
  if (got != sizeof level) {
    errno = EINVAL;
    return -1;
  }
  *number = level;
  return 0;
}

}  // namespace

int host_open(const char* path, int flags) {
  // A FIFO that someone put in a device's place must not make the open wait.
  const int at_desk = standalone::has_root() ? O_NONBLOCK : 0;
  return standalone::open_path(path, flags | at_desk | O_NOCTTY, 0666);
}

int host_ioctl(int fd, unsigned long request, void* argument) {
  if (request == kGpioGetLevel && is_regular_file(fd)) return read_level(fd, argument);
  // With a root set the hardware clock is never changed, whatever the descriptor leads to.
  if (request == kRtcSetTime && standalone::has_root()) return fcntl(fd, F_GETFD) < 0 ? -1 : 0;
  return ioctl(fd, request, argument);
}

int host_close(int fd) {
  return close(fd);
}
