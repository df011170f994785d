#include "tools/gpio_levels.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/host.h"
#include "tools/failure.h"

namespace {

constexpr char kPath[] = "/dev/qlm_gpio";

}  // namespace

void SetGpioLevel(int input, std::int32_t level) {
  const std::string path = host_path(kPath);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) Fail(kPath, ": is no plain file");
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(std::streamoff{4} * input);
  file.write(reinterpret_cast<const char*>(&level), sizeof level);
  file.close();
  if (!file) Fail(kPath, ": cannot be written");
}
