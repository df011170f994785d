// The gyro, the stop input and the clock text.
#include <fcntl.h>
#include <sys/wait.h>

#include <cstdio>

#include "platform/debug_log.h"
#include "platform/host.h"
#include "vek/vek.h"

namespace {

constexpr char kGpioPath[] = "/dev/qlm_gpio";
constexpr int kGyroNone = 0;
constexpr int kGyroYis100dk = 1;
constexpr int kGyroBaud = 460800;

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

// Opened, and not served yet.
void Vek::OnProcessGpio() {}
void Vek::OnProcessGyro() {}
void Vek::OnProcessSystemTime() {}

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
