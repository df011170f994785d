// The mailbox's operations on the controller as a whole.
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <span>
#include <string>
#include <string_view>

#include "platform/host.h"
#include "vek/operation_run.h"

namespace {

constexpr char kNetworkFile[] = "/etc/network/interfaces";
constexpr char kHardwareClock[] = "/dev/rtc0";
constexpr unsigned long kRtcSetTime = 0x4024700a;

constexpr unsigned kRebootStep_us = 10'000;
constexpr int kRebootSteps = 300;
constexpr std::int32_t kMaxCycleTime_ms = 20;
constexpr std::size_t kAddressLength = 19;  // that is looked at

// Versions of the interface that a client may have, but for their lowest 8 bits.
constexpr std::uint32_t kAcceptedVersions[] = {AREA_INTERFACE_VERSION};

bool IsAccepted(std::uint32_t version) {
  return std::any_of(std::begin(kAcceptedVersions), std::end(kAcceptedVersions),
                     [=](std::uint32_t accepted) { return (accepted ^ version) < 0x100; });
}

// Reads numbers with a separator behind each but the last, like scanf's "%d": white space may stand
// before a number, and a ' ' as separator asks for no more than that. False when one is missing or
// does not fit an int.
bool ScanInts(const char* text, std::string_view separators, std::span<int> numbers) {
  for (std::size_t k = 0; k < numbers.size(); ++k) {
    char* end = nullptr;
    const long long number = std::strtoll(text, &end, 10);
    if (end == text || number < INT_MIN || number > INT_MAX) return false;
    numbers[k] = static_cast<int>(number);
    text = end;
    if (k < separators.size() && separators[k] != ' ' && *text++ != separators[k]) return false;
  }
  return true;
}

// The time of "YEAR-MONTH-DAY HOUR:MINUTE:SECOND", local time. Days and hours beyond the calendar
// run over into the next month or day.
std::optional<std::time_t> ParseLocalTime(const char* text) {
  static_assert(sizeof(std::time_t) == 8, "years beyond 2038");
  constexpr int kFirstYear = 1900;
  constexpr int kFirstMonth = 1;
  std::array<int, 6> fields{};
  if (!ScanInts(text, "-- ::", fields)) return std::nullopt;
  const auto [year, month, day, hour, minute, second] = fields;
  if (year < INT_MIN + kFirstYear || month < INT_MIN + kFirstMonth) return std::nullopt;
  std::tm local{};
  local.tm_year = year - kFirstYear;
  local.tm_mon = month - kFirstMonth;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  local.tm_isdst = -1;  // as the time zone has it on that day
  const std::time_t time = std::mktime(&local);
  if (time == -1) return std::nullopt;
  return time;
}

using Address = std::array<int, 4>;

bool IsAllowed(const Address& address) {
  constexpr Address kNone = {0, 0, 0, 0};
  constexpr Address kAll = {255, 255, 255, 255};
  constexpr int kLoopback = 127;
  return std::all_of(address.begin(), address.end(), [](int n) { return n >= 0 && n <= 255; }) &&
         address != kNone && address != kAll && address[0] != kLoopback;
}

std::string Dotted(const Address& address) {
  std::string text;
  for (const int number : address) {
    if (!text.empty()) text += '.';
    text += std::to_string(number);
  }
  return text;
}

// An address as it was typed, unless there is more in it than digits and dots: nothing else ever
// reaches the network file.
std::string AddressText(const char* typed, const Address& address) {
  return typed[std::strspn(typed, "0123456789.")] == '\0' ? typed : Dotted(address);
}

// The network file, emptied; null when it cannot be written. Without O_NONBLOCK a FIFO in its place
// would hold up the loop for ever.
FILE* OpenNetworkFile() {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK;
  const int fd = open(host_path(kNetworkFile).c_str(), kFlags, 0666);
  if (fd == -1) return nullptr;
  FILE* const file = fdopen(fd, "w");
  if (file == nullptr) close(fd);
  return file;
}

// Writes and closes the network file; false when not all of it could be written.
bool WriteInterface(FILE* file, const std::string& address, const std::string& gateway) {
  std::fprintf(file,
               "auto lo\niface lo inet loopback\nauto eth3\niface eth3 inet static\naddress %s\n"
               "netmask 255.255.255.0\ngateway %s\ndns-nameservers 8.8.8.8\n",
               address.c_str(), gateway.c_str());
  const bool written = std::fflush(file) == 0;
  return std::fclose(file) == 0 && written;
}

}  // namespace

OperationStatus Vek::OperationRun::SetUpdateFlag() {
  host_system("touch /home/QUARLE/Tmp/UpdateFlag && sync");
  return Report(OperationEvent::Done);
}

OperationStatus Vek::OperationRun::Reboot() {
  Report(OperationEvent::Started);
  for (int step = 0; step < kRebootSteps; ++step) {
    host_usleep(kRebootStep_us);
    if (g_exit) return Report(OperationEvent::Failed);
  }
  host_system("sync && reboot");
  return Report(OperationEvent::Done);
}

OperationStatus Vek::OperationRun::GetVersion() {
  Report(OperationEvent::Started);
  const auto version = shared::load(vek_.sys_, SHARED_FIELD(SysInfo, version_word));
  mailbox_.SetValue(static_cast<std::int32_t>(version));
  return OP_DONE;
}

OperationStatus Vek::OperationRun::CheckVersion() {
  const bool accepted = IsAccepted(static_cast<std::uint32_t>(value_));
  mailbox_.SetValue(accepted ? 1 : 0);
  if (accepted) return Report(OperationEvent::Done, value_);
  return Report(OperationEvent::Failed,
                shared::load(vek_.sys_, SHARED_FIELD(SysInfo, version_word)), value_);
}

OperationStatus Vek::OperationRun::SetCycleTime() {
  const std::int32_t time_ms = std::clamp<std::int32_t>(value_, 0, kMaxCycleTime_ms);
  shared::store(vek_.sys_, SHARED_FIELD(SysInfo, pd_cmd_cycle_time), time_ms);
  return Report(OperationEvent::Done, time_ms);
}

OperationStatus Vek::OperationRun::GetCycleTime() {
  const std::int32_t time_ms = shared::load(vek_.sys_, SHARED_FIELD(SysInfo, pd_cmd_cycle_time));
  mailbox_.SetValue(time_ms);
  return Report(OperationEvent::Done, time_ms);
}

OperationStatus Vek::OperationRun::SetTime() {
  const OperationMailbox::Text text = mailbox_.OpText();
  const std::optional<std::time_t> time = ParseLocalTime(text.data());
  if (!time) return Report(OperationEvent::Rejected, text.data());
  const timeval now{*time, 0};
  if (host_settimeofday(&now) != 0) return Report(OperationEvent::Failed);
  const int fd = host_open(kHardwareClock, O_RDONLY);
  if (fd == -1) return Report(OperationEvent::StageFailed);
  // Without a time, and whatever comes of it: the hardware clock keeps its time, deliberately.
  host_ioctl(fd, kRtcSetTime, nullptr);
  host_close(fd);
  return Report(OperationEvent::Done, text.data());
}

OperationStatus Vek::OperationRun::GetTime() {
  const OperationMailbox::Text text = SysText(SHARED_FIELD(SysInfo, system_time_text));
  mailbox_.SetText(text.data());
  return Report(OperationEvent::Done, text.data());
}

OperationStatus Vek::OperationRun::SetIp() {
  const OperationMailbox::Text text = mailbox_.OpText();
  OperationMailbox::Text typed = text;
  typed[kAddressLength] = '\0';
  Address address{};
  if (!ScanInts(typed.data(), "...", address) || !IsAllowed(address)) {
    return Report(OperationEvent::Rejected, text.data());
  }
  const std::string address_text = AddressText(typed.data(), address);
  const std::string gateway = Dotted({address[0], address[1], address[2], 1});
  vek_.RunShell("mount -o remount rw /");
  FILE* const file = OpenNetworkFile();
  // The file system stays writable then, deliberately.
  if (file == nullptr) return Report(OperationEvent::Failed, kNetworkFile);
  const bool written = WriteInterface(file, address_text, gateway);
  vek_.RunShell("mount -o remount r /");  // "r", deliberately
  if (!written) return Report(OperationEvent::Failed, kNetworkFile);
  return Report(OperationEvent::Done, address_text.c_str());
}

OperationStatus Vek::OperationRun::GetIp() {
  char answer[sizeof(UdpMailbox::op_text)] = {};
  if (!vek_.RunShellWithReturn("hostname -I", answer, sizeof answer)) {
    return Report(OperationEvent::Failed);
  }
  mailbox_.SetText(answer);
  return Report(OperationEvent::Done, answer);
}
