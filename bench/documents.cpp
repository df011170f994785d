// robot.ini loaded and saved, beside inih into nested maps and SimpleIni.
#define SI_NO_CONVERSION  // plain bytes
#include <SimpleIni.h>
#include <ini.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

#include "bench/robot.h"
#include "bench/work.h"
#include "ini/ini_parser.h"

namespace {

constexpr const char* kSample = VEK_CONFIG_DIR "/robot.ini";

// All save to the same place, in memory, where syncing costs nothing. A folder stands where the
// document would make its new file, so that it writes in place, as the others do.
std::string InPlace() {
  static const MemoryFolder folder;
  static const std::string path = folder.Path("saved.ini");
  std::filesystem::create_directory(path + ".new");
  return path;
}

void Require(bool done) {
  if (!done) throw std::runtime_error("bench: a document failed");
}

struct Load {
  void Run() {
    IniParser document;
    Require(document.OnLoad(kSample));
  }
};

struct Save {
  IniParser document;
  std::string path = InPlace();
  Save() { Require(document.OnLoad(kSample)); }
  void Run() { Require(document.OnSave(path.c_str())); }
};

// The file replaced by a new one and kept as PATH.old, in memory.
struct Replace : Save {
  MemoryFolder folder;
  Replace() { path = folder.Path("saved.ini"); }
};

// The same where the executable stands, on whatever it stands, with the syncs.
struct ReplaceSynced : Save {
  ReplaceSynced() { path = "vek_bench_saved.ini"; }
  ~ReplaceSynced() {
    for (const char* end : {"", ".old"}) std::filesystem::remove(path + end);
  }
};

using Map = std::map<std::string, std::map<std::string, std::string>>;

int Insert(void* map, const char* section, const char* key, const char* value) {
  (*static_cast<Map*>(map))[section][key] = value;
  return 1;
}

struct InihLoad {
  Map map;
  void Run() {
    map.clear();
    Require(ini_parse(kSample, Insert, &map) == 0);
  }
};

struct MapSave : InihLoad {
  std::string path = InPlace();
  MapSave() { InihLoad::Run(); }
  void Run() {
    std::ofstream file(path);
    for (const auto& [name, section] : map) {
      file << '[' << name << "]\n";
      for (const auto& [key, value] : section) file << key << '=' << value << '\n';
    }
    file.close();
    Require(file.good());
  }
};

// Exact names, as in the other two.
using SimpleIni = CSimpleIniCaseA;

struct SimpleLoad {
  void Run() {
    SimpleIni document;
    Require(document.LoadFile(kSample) == SI_OK);
  }
};

struct SimpleSave {
  SimpleIni document;
  std::string path = InPlace();
  SimpleSave() {
    document.SetSpaces(false);
    Require(document.LoadFile(kSample) == SI_OK);
  }
  void Run() { Require(document.SaveFile(path.c_str(), false) == SI_OK); }
};

const bool kRegistered = [] {
  using bench::Register;
  Register<Load>("ini_load");
  Register<InihLoad>("ini_load/inih_map");
  Register<SimpleLoad>("ini_load/simpleini");
  Register<Save>("ini_save");
  Register<Replace>("ini_save/replaced");
  Register<ReplaceSynced>("ini_save/replaced_and_synced")->UseRealTime();
  Register<MapSave>("ini_save/inih_map");
  Register<SimpleSave>("ini_save/simpleini");
  return true;
}();

}  // namespace
