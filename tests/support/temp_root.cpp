#include "tests/support/temp_root.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "vek/shared_areas.h"

namespace fs = std::filesystem;

namespace {

// Throws as std::filesystem does.
void Require(bool done, const std::string& path) {
  if (!done) throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

TempRoot::TempRoot() : root_(fs::temp_directory_path() / "vek-test-XXXXXX") {
  Require(mkdtemp(root_.data()) != nullptr && setenv("VEK_ROOT", root_.c_str(), 1) == 0, root_);
}

TempRoot::~TempRoot() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

void TempRoot::Write(const std::string& path, const std::string& content) const {
  fs::create_directories(fs::path(Path(path)).parent_path());
  std::ofstream stream(Path(path), std::ios::binary);
  stream << content;
  stream.close();
  Require(stream.good(), path);
}

std::string TempRoot::Read(const std::string& path) const {
  std::ifstream stream(Path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void TempRoot::Remove(const std::string& path) const {
  fs::remove_all(Path(path));
}

void TempRoot::MakeAreas() const {
  for (const char* folder : {"/home/QUARLE/Config/cfg", "/home/QUARLE/Tags", "/home/QUARLE/Tmp",
                             "/etc/network", "/var"}) {
    fs::create_directories(Path(folder));
  }
  const std::pair<const char*, std::size_t> devices[] = {{"/dev/ZQSysInfo", AREA_SYSINFO_SIZE},
                                                         {"/dev/ZQCfgConfig", AREA_CFGCONFIG_SIZE},
                                                         {"/dev/ZQMac", AREA_MAC_SIZE},
                                                         {"/dev/ZQUdp", AREA_UDP_SIZE},
                                                         {"/dev/ZQSysDbg", AREA_SYSDBG_SIZE},
                                                         {"/dev/ZQVek2Dru", AREA_VEK2DRU_SIZE},
                                                         {"/dev/qlm_gpio", 64},
                                                         {"/dev/rtc0", 0}};
  for (const auto& [path, size] : devices) Write(path, std::string(size, '\0'));
}

void TempRoot::CopySampleIni() const {
  std::ifstream sample(VEK_SOURCE_DIR "/config/robot.ini", std::ios::binary);
  Require(sample.good(), "config/robot.ini");
  Write("/home/QUARLE/Config/cfg/robot.ini", {std::istreambuf_iterator<char>(sample), {}});
}
