// The gyro, the stop input, the clock text and shell commands.
#include <fcntl.h>
#include <sys/wait.h>

#include <cstdio>
#include <ctime>
#include <span>

#include "platform/debug_log.h"
#include "platform/host.h"
#include "vek/vek.h"

namespace {

constexpr char kGpioPath[] = "/dev/qlm_gpio";
constexpr int kGyroNone = 0;
constexpr int kGyroYis100dk = 1;
constexpr int kGyroBaud = 460800;
constexpr unsigned long kGpioGetLevel = 0x80044802;

constexpr std::span<const GroupRow> kRequestedByGyro = kGroups;
// The lift is not asked to stop, deliberately.
constexpr std::span<const GroupRow> kRequestedByStop = kRequestedByGyro.first(4);

// A gyro whose third value does not change by this much for so many passes is frozen.
constexpr int kGyroWatched = 2;
constexpr double kGyroChange = 0.0001;
constexpr int kGyroFrozenPasses = 50;
constexpr shared::Field<std::uint32_t> kGyroFresh[] = {SHARED_FIELD(SysInfo, group[0].gyro_fresh),
                                                       SHARED_FIELD(SysInfo, group[1].gyro_fresh),
                                                       SHARED_FIELD(SysInfo, group[3].gyro_fresh)};

constexpr int kClockPasses = 500;

// The first group stands for all: a message comes when its request changes.
bool IsRequested(const SysInfo* sys, int state) {
  return shared::load(sys, kGroups[0].sys.group_state_request) == state;
}

void Request(SysInfo* sys, std::span<const GroupRow> groups, int state) {
  for (const GroupRow& group : groups) {
    shared::store(sys, group.sys.group_state_request, state);
  }
}

}  // namespace

bool Vek::OpenGyro() {
  constexpr auto kGyroUsed = SHARED_FIELD(SysInfo, gyro_used);
  const std::int32_t type = shared::load(cfg_, SHARED_FIELD(CfgConfig, GyroType));
  if (type == kGyroNone) {
    g_log_clt.INFO_LOG("Gyro is not used");
    shared::store(sys_, kGyroUsed, 0);
    return true;
  }
  if (type != kGyroYis100dk) {
    g_log_clt.ERROR_USER(4, type);
    shared::store(sys_, kGyroUsed, 0);
    return false;
  }
  char path[100];
  std::snprintf(path, sizeof path, "/dev/ttyUSB%d",
                shared::load(cfg_, SHARED_FIELD(CfgConfig, GyroId)));
  if (!serial_port_.Connect(path, kGyroBaud, 8, 1, 'n')) {
    g_log_clt.ERROR_USER(3, path);
    shared::store(sys_, kGyroUsed, 0);
    return false;
  }
  gyro_open_ = true;
  g_log_clt.INFO_LOG("Gyro YIS100DK is opened");
  shared::store(sys_, kGyroUsed, 1);
  return true;
}

bool Vek::OpenGpio() {
  constexpr auto kGpioUsed = SHARED_FIELD(SysInfo, gpio_used);
  if (shared::load(cfg_, SHARED_FIELD(CfgConfig, UseEMG)) == 0) {
    g_log_clt.INFO_LOG("Gpio is not used");
    shared::store(sys_, kGpioUsed, 0);
    return true;
  }
  gpio_fd_ = host_open(kGpioPath, O_RDWR);
  if (gpio_fd_ == -1) {
    g_log_clt.ERROR_USER(3, kGpioPath);
    shared::store(sys_, kGpioUsed, 0);
    return false;
  }
  g_log_clt.INFO_LOG("Gpio is opened");
  shared::store(sys_, kGpioUsed, 1);
  return true;
}

bool Vek::GetGpio(int input, int& level) {
  std::int32_t word = input;
  if (host_ioctl(gpio_fd_, kGpioGetLevel, &word) < 0) return false;
  level = word;
  return true;
}

void Vek::OnProcessGpio() {
  // The word alone may stem from an earlier run.
  if (gpio_fd_ == -1 || shared::load(sys_, SHARED_FIELD(SysInfo, gpio_used)) == 0) return;
  // Input 6 overwrites input 4, deliberately: of that one only a failed read counts.
  int level = 0;
  if (GetGpio(4, level) && GetGpio(6, level) && level != 1) return;
  if (!IsRequested(sys_, GROUP_STATE_TRANS_TO_POSITION)) g_log_clt.WARN_USER(21);
  Request(sys_, kRequestedByStop, GROUP_STATE_TRANS_TO_POSITION);
}

void Vek::OnProcessGyro() {
  if (!gyro_open_ || shared::load(sys_, SHARED_FIELD(SysInfo, gyro_used)) == 0) return;
  // Before this pass's bytes, so the value that the passes before left.
  WatchGyro();
  ReadGyro();
}

void Vek::WatchGyro() {
  struct State {
    double last_fbk_gyro = 0;
    double delta_fbk_gyro = 0;
    int gyro_error_count = 0;
  };
  static State state;
  state.delta_fbk_gyro = gyro_.values[kGyroWatched] - state.last_fbk_gyro;
  state.last_fbk_gyro = gyro_.values[kGyroWatched];
  if (!(state.delta_fbk_gyro > -kGyroChange && state.delta_fbk_gyro < kGyroChange)) {
    state.gyro_error_count = 0;
    return;
  }
  if (++state.gyro_error_count < kGyroFrozenPasses) return;
  state.gyro_error_count = kGyroFrozenPasses;
  if (IsRequested(sys_, GROUP_STATE_REQUEST_GYRO_FROZEN)) return;
  g_log_clt.ERROR_USER(6);
  Request(sys_, kRequestedByGyro, GROUP_STATE_REQUEST_GYRO_FROZEN);
}

void Vek::ReadGyro() {
  static unsigned char buf[1000];
  const int count = serial_port_.Read(buf, sizeof buf);
  for (int k = 0; k < count; ++k) gyro_.OnRecvChar(buf[k]);
  if (!gyro_.new_frame) return;
  for (std::size_t k = 0; k < std::size(gyro_.values); ++k) {
    shared::store(sys_, SHARED_FIELD(SysInfo, gyro_values), gyro_.values[k], k);
  }
  for (const auto fresh : kGyroFresh) shared::store_release(sys_, fresh, 1);
  gyro_.new_frame = false;
}

void Vek::OnProcessSystemTime() {
  static int cycle_count = 0;
  if (sys_ == nullptr) return;
  if (cycle_count != 1) {
    cycle_count = cycle_count < kClockPasses ? cycle_count + 1 : 1;
    return;
  }
  cycle_count = 2;
  timeval now{};
  tm local{};
  host_gettimeofday(&now);
  if (localtime_r(&now.tv_sec, &local) == nullptr) return;
  char text[sizeof SysInfo::system_time_text];
  const int length =
      std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900,
                    local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  shared::write_bytes(sys_->system_time_text, text, static_cast<std::size_t>(length) + 1);
}

bool Vek::RunShell(const char* command) {
  const int status = host_system(command);
  if (status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
  std::printf("Failed to execute shell: %s\n", command);
  return false;
}

bool Vek::RunShellWithReturn(const char* command, char* buffer, unsigned size) {
  if (buffer == nullptr || size < 2) return false;
  FILE* stream = host_popen(command);
  if (stream == nullptr) return false;
  const bool has_line = std::fgets(buffer, static_cast<int>(size - 1), stream) != nullptr;
  if (has_line) buffer[size - 1] = '\0';
  host_pclose(stream);
  return has_line;
}
