// Shell and clock. With a root set the host is never changed: see desk_host.h.
#include "platform/host.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/standalone/clock.h"
#include "platform/standalone/desk_host.h"
#include "platform/standalone/host_root.h"
#include "platform/standalone/lockstep.h"

namespace {

// The one command that only asks, and so really runs with a root set.
constexpr char kAddressQuery[] = "hostname -I";

// What popen() is given at a desk in place of `command`; null when it could not be recorded. No
// other text of a caller ever reaches a real shell there.
const char* desk_query(const char* command) {
  const bool is_query = std::strcmp(command, kAddressQuery) == 0;
  if (!is_query && !standalone::record(command)) return nullptr;
  if (standalone::is_to_fail(standalone::program_of(command))) return "exit 1";
  return is_query ? kAddressQuery : "exit 0";
}

FILE* popen_at_desk(const char* command) {
  if (standalone::is_to_fail("popen")) {
    errno = ENOMEM;
    return nullptr;
  }
  const char* query = desk_query(command);
  return query == nullptr ? nullptr : popen(query, "re");
}

int settimeofday_at_desk(const timeval* now) {
  if (standalone::is_to_fail("settimeofday")) {
    errno = EPERM;
    return -1;
  }
  return standalone::record("settimeofday " + std::to_string(now->tv_sec)) ? 0 : -1;
}

// Runs `call`; the result of a failed call when memory runs out in it.
template <class Call, class Result>
Result without_throwing(Call call, Result failed) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return failed;
  }
}

}  // namespace

int host_system(const char* command) {
  if (!standalone::has_root()) return std::system(command);
  return without_throwing([=] { return standalone::run_at_desk(command); }, -1);
}

FILE* host_popen(const char* command) {
  if (!standalone::has_root()) return popen(command, "re");
  return without_throwing([=] { return popen_at_desk(command); }, static_cast<FILE*>(nullptr));
}

int host_pclose(FILE* stream) {
  return pclose(stream);
}

int host_settimeofday(const timeval* now) {
  if (!standalone::has_root()) return settimeofday(now, nullptr);
  return without_throwing([=] { return settimeofday_at_desk(now); }, -1);
}

int host_gettimeofday(timeval* now) {
  const std::timespec time = standalone::wall_time();
  *now = {.tv_sec = time.tv_sec, .tv_usec = static_cast<suseconds_t>(time.tv_nsec / 1000)};
  return 0;
}

void host_usleep(unsigned microseconds) {
  if (lockstep::active() && lockstep::sleep_in_loop(RTIME{microseconds} * 1000)) return;
  usleep(microseconds);
}
