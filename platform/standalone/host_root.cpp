#include "platform/standalone/host_root.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

#include "platform/host.h"

namespace standalone {
namespace {

std::string find_root() {
  const char* given = std::getenv("VEK_ROOT");
  if (given == nullptr || *given == '\0') return {};
  std::error_code error;
  std::string path = std::filesystem::absolute(given, error).string();
  if (error) path = given;
  // A root of "/" keeps its slash: an empty text would mean that there is no root.
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

const std::string& root() {
  static const std::string path = find_root();
  return path;
}

int open_path(const char* path, int flags, unsigned mode) {
  try {
    return ::open(host_path(path).c_str(), flags | O_CLOEXEC, mode);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return -1;
  }
}

}  // namespace standalone

std::string host_path(const char* path) {
  return standalone::root() + path;
}
