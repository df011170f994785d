#include "tools/failure.h"

#include <cstdio>

int RunTool(const char* name, int (*tool)(int argc, char** argv), int argc, char** argv) noexcept {
  try {
    return tool(argc, argv);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", name, failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name, error.what());
    return kStatusFailed;
  }
}
