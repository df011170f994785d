#include <cstdio>

#include "tools/failure.h"
#include "tools/gpio_levels.h"
#include "tools/vekctl/operation_commands.h"

namespace {

// Settles the root, and gives the input.
int PrepareInput(const GpioOptions& options) {
  const auto input = ParseInteger(options.input);
  if (!input || *input < 0 || *input > kHighestGpioInput) {
    FailUsage('\'', options.input, "' is no input from 0 to ", kHighestGpioInput);
  }
  if (options.root.host) FailUsage("gpio plays the levels of a root: never on the real paths");
  SettleRoot(options.root);
  return static_cast<int>(*input);
}

}  // namespace

int RunGpioGet(const GpioOptions& options) {
  const int input = PrepareInput(options);
  std::printf("%d\n", GetGpioLevel(input));
  return 0;
}

int RunGpioSet(const GpioOptions& options) {
  const std::int32_t level = ParseWord(options.level);
  const int input = PrepareInput(options);
  SetGpioLevel(input, level);
  std::printf("input %d: level %d\n", input, level);
  return 0;
}
