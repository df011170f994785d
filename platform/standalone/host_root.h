// The root folder that stands for the controller's file system: VEK_ROOT of the environment, made
// absolute at first use and fixed from then on. Plain threads only.
#pragma once

#include <string>

namespace standalone {

// The root without a slash at its end; empty when none is set and paths are taken literally.
const std::string& root();

inline bool has_root() {
  return !root().empty();
}

// open() of a controller's path, under the root when there is one, with O_CLOEXEC; -1 and errno on
// failure. `mode` matters with O_CREAT alone.
int open_path(const char* path, int flags, unsigned mode = 0);

}  // namespace standalone
