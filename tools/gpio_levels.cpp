#include "tools/gpio_levels.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/host.h"
#include "tools/failure.h"

namespace {

constexpr char kPath[] = "/dev/qlm_gpio";

std::streamoff PlaceOf(int input) {
  return std::streamoff{4} * input;
}

std::fstream OpenLevels(std::ios::openmode mode) {
  const std::string path = host_path(kPath);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) Fail(kPath, ": is no plain file");
  return std::fstream(path, mode | std::ios::binary);
}

}  // namespace

std::int32_t GetGpioLevel(int input) {
  std::fstream file = OpenLevels(std::ios::in);
  std::int32_t level = 0;
  file.seekg(PlaceOf(input));
  file.read(reinterpret_cast<char*>(&level), sizeof level);
  if (!file) Fail(kPath, ": has no input ", input);
  return level;
}

void SetGpioLevel(int input, std::int32_t level) {
  std::fstream file = OpenLevels(std::ios::in | std::ios::out);
  file.seekp(PlaceOf(input));
  file.write(reinterpret_cast<const char*>(&level), sizeof level);
  file.close();
  if (!file) Fail(kPath, ": cannot be written");
}
