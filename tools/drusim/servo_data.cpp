#include "tools/drusim/servo_data.h"

#include <string>

#include "tools/text.h"

namespace {

constexpr std::uint32_t kSensorVersion = 0x00020100;
constexpr std::uint32_t kSensorSerial = 2026'0000;
constexpr std::uint32_t kConfigVersion = 0x00010400;
constexpr int kLiftOffset = 131072;

// The lift has no firmware texts.
constexpr std::size_t kGroupsWithFirmware = std::extent_v<decltype(SysInfo::firmware_text)>;

void PublishFirmware(unsigned char* sys, const GroupRow& group, std::size_t j) {
  // Longer than the 29 characters that an operation hands on.
  const std::string text =
      Text("1.4.", j, " simulated ", group.key, " servo ", j, " (release build)");
  shared::write_bytes(sys + group.sys.firmware_text.offset + j * AREA_TEXT_SIZE, text.c_str(),
                      text.size() + 1);
}

}  // namespace

void PublishServoData(unsigned char* sys, const GroupRow& group) {
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    const auto number = static_cast<std::uint32_t>(group.index * AREA_AXES + j);
    shared::store(sys, group.sys.sensor_version, kSensorVersion + number, j);
    shared::store(sys, group.sys.sensor_serial, kSensorSerial + number, j);
    shared::store(sys, group.sys.servo_config_version, kConfigVersion + number, j);
    if (group.index < kGroupsWithFirmware) PublishFirmware(sys, group, j);
  }
}

void PublishLiftOffsets(unsigned char* mac) {
  for (int j = 0; j < AREA_AXES; ++j) {
    constexpr auto kFirst = SHARED_FIELD(MacArea, lift[0].encoder_offset);
    const std::size_t at = static_cast<std::size_t>(j) * sizeof(MacLiftAxis);
    shared::store<std::int32_t>(mac + kFirst.offset + at, kLiftOffset + j);
  }
}
