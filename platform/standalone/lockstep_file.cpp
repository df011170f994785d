#include "platform/standalone/lockstep_file.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/host.h"
#include "platform/standalone/host_root.h"

namespace lockstep {
namespace {

// Bytes of the file that are locked; they lie behind the state and need not exist.
constexpr off_t kSideBytes = sizeof(State);
constexpr off_t kGuardByte = kSideBytes + 2;

off_t byte_of(Side side) {
  return kSideBytes + static_cast<off_t>(side);
}

struct flock lock_of(int type, off_t byte) {
  struct flock lock {};
  lock.l_type = static_cast<short>(type);
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

// Locks of the open file, which go with its last descriptor: threads and forked children do not
// lose them by closing another one.
bool change_lock(int fd, int command, int type, off_t byte) {
  struct flock lock = lock_of(type, byte);
  int result = 0;
  do {
    result = fcntl(fd, command, &lock);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

void* map(int fd) {
  void* const address =
      mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd, 0);
  return address == MAP_FAILED ? nullptr : address;
}

}  // namespace

void clear(State& state, Side side) {
  for (std::uint32_t party = kTask; party < kParties; ++party) {
    if (side_of(party) == side) state.seat[party].wake = kAway;
  }
  const std::uint32_t holder = state.holder;
  if (holder >= kParties || side_of(holder) == side) state.holder = kNobody;
}

const char* File::Open(Side side) {
  side_ = side;
  static_cast<void>(mkdir(host_path("/var").c_str(), 0777));  // as a rule it is there
  fd_ = standalone::open_path("/var/lockstep", O_RDWR | O_CREAT | O_NOCTTY, 0666);
  if (fd_ < 0) return std::strerror(errno);
  const char* const problem = Take();
  if (problem != nullptr) close(fd_);
  return problem;
}

const char* File::Take() {
  const Guard guard(*this);
  if (!change_lock(fd_, F_OFD_SETLK, F_WRLCK, byte_of(side_))) {
    return "another process plays this part";
  }
  const int error = posix_fallocate(fd_, 0, sizeof(State));
  if (error != 0) return std::strerror(error);
  void* const address = map(fd_);
  if (address == nullptr) return std::strerror(errno);
  if (OtherIsThere()) {
    state_ = std::launder(static_cast<State*>(address));
    clear(*state_, side_);
  } else {
    state_ = new (address) State;
    state_->processor = static_cast<std::uint32_t>(std::max(sched_getcpu(), 0));
  }
  return nullptr;
}

bool File::IsLocked(Side side) const {
  struct flock lock = lock_of(F_WRLCK, byte_of(side));
  return fcntl(fd_, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

File::Guard::Guard(File& file) : file_(file), threads_(file.threads_) {
  change_lock(file_.fd_, F_OFD_SETLKW, F_WRLCK, kGuardByte);
}

File::Guard::~Guard() {
  change_lock(file_.fd_, F_OFD_SETLK, F_UNLCK, kGuardByte);
}

}  // namespace lockstep
