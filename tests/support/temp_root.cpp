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

TempFolder::TempFolder() : folder_(fs::temp_directory_path() / "vek-test-XXXXXX") {
  Require(mkdtemp(folder_.data()) != nullptr, folder_);
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void TempFolder::Write(const std::string& path, const std::string& content) const {
  fs::create_directories(fs::path(Path(path)).parent_path());
  std::ofstream stream(Path(path), std::ios::binary);
  stream << content;
  stream.close();
  Require(stream.good(), path);
}

std::string TempFolder::Read(const std::string& path) const {
  std::ifstream stream(Path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void TempFolder::Remove(const std::string& path) const {
  fs::remove_all(Path(path));
}

TempRoot::TempRoot() {
  Require(setenv("VEK_ROOT", Path("").c_str(), 1) == 0, "VEK_ROOT");
}

void TempRoot::MakeAreas() const {
  for (const char* folder : {"/home/QUARLE/Config/cfg", "/home/QUARLE/Tags", "/home/QUARLE/Tmp",
                             "/etc/network", "/var"}) {
    fs::create_directories(Path(folder));
  }
  const std::pair<std::string, std::size_t> devices[] = {{"ZQSysInfo", AREA_SYSINFO_SIZE},
                                                         {"ZQCfgConfig", AREA_CFGCONFIG_SIZE},
                                                         {"ZQMac", AREA_MAC_SIZE},
                                                         {"ZQUdp", AREA_UDP_SIZE},
                                                         {"ZQSysDbg", AREA_SYSDBG_SIZE},
                                                         {"ZQVek2Dru", AREA_VEK2DRU_SIZE},
                                                         {"qlm_gpio", 64},
                                                         {"rtc0", 0}};
  for (const auto& [name, size] : devices) Write("/dev/" + name, std::string(size, '\0'));
}

void TempRoot::CopySampleIni() const {
  const std::string path = "/home/QUARLE/Config/cfg/robot.ini";
  Write(path, "");  // for its folders
  fs::copy_file(VEK_SOURCE_DIR "/config/robot.ini", Path(path),
                fs::copy_options::overwrite_existing);
}
