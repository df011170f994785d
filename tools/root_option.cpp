#include "tools/root_option.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/failure.h"

void SettleRoot(const RootOption& option, bool create) {
  if (option.host && !option.root.empty()) FailUsage("--root and --host exclude each other");
  if (option.host && create) FailUsage("init needs a root: set VEK_ROOT or give --root DIR");
  if (option.host) {
    unsetenv("VEK_ROOT");
    return;
  }
  std::string root = option.root;
  if (root.empty()) {
    const char* environment = std::getenv("VEK_ROOT");
    root = environment != nullptr ? environment : "";
  }
  if (root.empty() && create) FailUsage("no root: set VEK_ROOT or give --root DIR");
  if (root.empty()) {
    FailUsage("no root: set VEK_ROOT, or give --root DIR, or --host for the real paths");
  }
  std::error_code error;
  if (create) {
    std::filesystem::create_directories(root, error);
    if (error) FailUsage("root ", root, ": ", error.message());
  }
  if (!std::filesystem::is_directory(root, error)) FailUsage("root ", root, ": is no folder");
  setenv("VEK_ROOT", root.c_str(), 1);
}
