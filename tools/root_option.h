// Which machine a tool works on: a root folder, or the real paths of this host.
#pragma once

#include <string>

struct RootOption {
  std::string root;   // --root DIR
  bool host = false;  // --host: the real paths
};

// Settles it for the whole process: --root, else --host, else the environment's VEK_ROOT. To be
// called before anything else of the platform. A Failure (status 2) when nothing says where, when
// two options contradict each other or the root is no folder; with `create` it is made, and --host
// is refused.
void SettleRoot(const RootOption& option, bool create = false);
