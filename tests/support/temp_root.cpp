#include "tests/support/temp_root.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "vek/shared_areas.h"

namespace fs = std::filesystem;

namespace {

struct EmptyFile {
  const char* path;
  std::uintmax_t size;
};

constexpr EmptyFile kDevices[] = {
    {"/dev/ZQSysInfo", AREA_SYSINFO_SIZE},
    {"/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE},
    {"/dev/ZQMac", AREA_MAC_SIZE},
    {"/dev/ZQUdp", AREA_UDP_SIZE},
    {"/dev/ZQSysDbg", AREA_SYSDBG_SIZE},
    {"/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE},
    {"/dev/qlm_gpio", 64},
    {"/dev/rtc0", 0},
};

constexpr const char* kFolders[] = {"/home/QUARLE/Config/cfg", "/home/QUARLE/Tags",
                                    "/home/QUARLE/Tmp", "/etc/network", "/var"};

[[noreturn]] void GiveUp(const std::string& what) {
  std::fprintf(stderr, "TempRoot: %s\n", what.c_str());
  std::_Exit(EXIT_FAILURE);
}

// Ends the test when `error` is set.
void Require(const std::error_code& error, const std::string& path) {
  if (error) GiveUp(path + ": " + error.message());
}

}  // namespace

TempRoot::TempRoot() {
  std::error_code error;
  root_ = (fs::temp_directory_path(error) / "vek-test-XXXXXX").string();
  Require(error, "temporary folder");
  if (mkdtemp(root_.data()) == nullptr) GiveUp("cannot make " + root_);
  if (setenv("VEK_ROOT", root_.c_str(), 1) != 0) GiveUp("cannot set VEK_ROOT");
}

TempRoot::~TempRoot() {
  std::error_code error;
  fs::remove_all(root_, error);
  if (error) {
    std::fprintf(stderr, "TempRoot: %s stays: %s\n", root_.c_str(), error.message().c_str());
  }
}

void TempRoot::Write(const std::string& path, const std::string& content) const {
  const fs::path file = Path(path);
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  Require(error, file.string());
  std::ofstream stream(file, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) GiveUp("cannot write " + file.string());
}

std::string TempRoot::Read(const std::string& path) const {
  std::ifstream stream(Path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void TempRoot::Remove(const std::string& path) const {
  std::error_code error;
  fs::remove_all(Path(path), error);
  Require(error, path);
}

void TempRoot::MakeAreas() const {
  std::error_code error;
  for (const char* folder : kFolders) {
    fs::create_directories(Path(folder), error);
    Require(error, folder);
  }
  for (const EmptyFile& device : kDevices) {
    Write(device.path, "");
    fs::resize_file(Path(device.path), device.size, error);
    Require(error, device.path);
  }
}

void TempRoot::CopySampleIni() const {
  std::ifstream sample(VEK_SOURCE_DIR "/config/robot.ini", std::ios::binary);
  if (!sample) GiveUp("no sample robot.ini");
  Write("/home/QUARLE/Config/cfg/robot.ini", {std::istreambuf_iterator<char>(sample), {}});
}
