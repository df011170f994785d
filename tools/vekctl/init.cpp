#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/host.h"
#include "tools/area_view.h"
#include "tools/failure.h"
#include "tools/vekctl/commands.h"
#include "vek/groups.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kFolders[] = {
    "/dev", "/home/QUARLE/Config/cfg", "/home/QUARLE/Tags", "/home/QUARLE/Tmp", "/etc/network",
    "/var"};
constexpr long kGpioBytes = 64;
constexpr float kPercent = 20;

// A file of `size` zeros, unless it is there.
void MakeFile(const fs::path& path, long size) {
  const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
  if (fd < 0 && errno == EEXIST) return;
  const bool made = fd >= 0 && ftruncate(fd, size) == 0;
  const int error = errno;
  if (fd >= 0) close(fd);
  if (!made) Fail(path.string(), ": ", std::strerror(error));
}

void MakeFolder(const char* folder) {
  std::error_code error;
  fs::create_directories(host_path(folder), error);
  if (error) Fail(folder, ": ", error.message());
}

void MakeArea(const AreaInfo& area, bool force) {
  const fs::path path = host_path(area.path);
  std::error_code error;
  if (fs::exists(path, error)) {
    if (!fs::is_regular_file(path, error)) Fail(area.path, ": is no plain file");
    const auto size = fs::file_size(path, error);
    if (size == static_cast<std::uintmax_t>(area.size)) return;
    if (!force) {
      Fail(area.path, ": has ", size, " bytes, not ", area.size, "; --force makes it anew");
    }
    if (!fs::remove(path, error)) Fail(area.path, ": ", error.message());
  }
  MakeFile(path, area.size);
}

// The sample beside the executable's build folder, or where the sources were when it was built.
fs::path SampleIni() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  const fs::path candidates[] = {
      executable.parent_path().parent_path().parent_path() / "config" / "robot.ini",
      fs::path(VEK_CONFIG_DIR) / "robot.ini"};
  for (const fs::path& path : candidates) {
    if (fs::is_regular_file(path, error)) return path;
  }
  FailUsage("no sample robot.ini found: give one with --ini FILE");
}

void CopyIni(const std::string& from) {
  const fs::path path = host_path(kRobotIni);
  if (fs::exists(path)) return;
  const fs::path source = from.empty() ? SampleIni() : fs::path(from);
  std::error_code error;
  if (!fs::is_regular_file(source, error)) FailUsage(source.string(), ": is no file");
  fs::copy_file(source, path, error);
  if (error) Fail(path.string(), ": ", error.message());
}

void SetPercents() {
  const AreaView udp(kUdpArea);
  for (const GroupRow& group : kGroups) {
    shared::store(udp.get(), group.udp.vel_percent, kPercent);
    shared::store(udp.get(), group.udp.acc_percent, kPercent);
  }
}

}  // namespace

int RunInit(const InitOptions& options) {
  SettleRoot(options.root, true);
  for (const char* folder : kFolders) MakeFolder(folder);
  for (const AreaInfo& area : kDeviceAreas) MakeArea(area, options.force);
  MakeFile(host_path("/dev/qlm_gpio"), kGpioBytes);
  MakeFile(host_path("/dev/rtc0"), 0);
  CopyIni(options.ini);
  SetPercents();
  std::printf("%s: ready\n", host_path("").c_str());
  return 0;
}
