// vekctl init: the layout of a root.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "vek/groups.h"

namespace {

namespace fs = std::filesystem;

TEST(Init, MakesARoot) {
  const TempRoot parent;
  unsetenv("VEK_ROOT");
  const std::string root = parent.Path("/new/root");
  const Outcome outcome = RunProgram("vekctl", {"--root", root, "init"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const struct {
    const char* path;
    std::uintmax_t size;
  } files[] = {{"/dev/ZQSysInfo", 204800}, {"/dev/ZQCfgConfig", 15360},
               {"/dev/ZQMac", 30720},      {"/dev/ZQUdp", 4096},
               {"/dev/ZQSysDbg", 6144},    {"/dev/ZQVek2Dru", 15360},
               {"/dev/qlm_gpio", 64},      {"/dev/rtc0", 0}};
  for (const auto& file : files) {
    ASSERT_TRUE(fs::is_regular_file(root + file.path)) << file.path;
    EXPECT_EQ(fs::file_size(root + file.path), file.size) << file.path;
  }
  for (const char* folder : {"/home/QUARLE/Tags", "/home/QUARLE/Tmp", "/etc/network", "/var"}) {
    EXPECT_TRUE(fs::is_directory(root + folder)) << folder;
  }
  EXPECT_EQ(parent.Read("/new/root/home/QUARLE/Config/cfg/robot.ini"),
            ReadFile(std::string(VEK_SOURCE_DIR) + "/config/robot.ini"));
  const std::string udp = parent.Read("/new/root/dev/ZQUdp");
  for (const GroupRow& group : kGroups) {
    EXPECT_EQ(shared::load(udp.data(), group.udp.vel_percent), 20.0F) << group.key;
    EXPECT_EQ(shared::load(udp.data(), group.udp.acc_percent), 20.0F) << group.key;
  }
}

TEST(Init, KeepsWhatIsThere) {
  const TempRoot root;
  const TempFile ini("[R.BASIC]\n");
  ASSERT_EQ(RunProgram("vekctl", {"init", "--ini", ini.path()}).status, 0);
  EXPECT_EQ(root.Read("/home/QUARLE/Config/cfg/robot.ini"), "[R.BASIC]\n");
  root.Write("/dev/ZQMac", std::string(30720, 'm'));
  ASSERT_EQ(RunProgram("vekctl", {"init"}).status, 0);
  EXPECT_EQ(root.Read("/home/QUARLE/Config/cfg/robot.ini"), "[R.BASIC]\n");
  EXPECT_EQ(root.Read("/dev/ZQMac"), std::string(30720, 'm'));
}

TEST(Init, AnAreaOfAWrongSizeIsToldAndMadeAnewByForce) {
  const TempRoot root;
  root.Write("/dev/ZQUdp", "x");
  const Outcome outcome = RunProgram("vekctl", {"init"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "vekctl: /dev/ZQUdp: has 1 bytes, not 4096; --force makes it anew\n");
  EXPECT_EQ(root.Read("/dev/ZQUdp"), "x");
  EXPECT_EQ(RunProgram("vekctl", {"init", "--force"}).status, 0);
  EXPECT_EQ(root.Read("/dev/ZQUdp").size(), 4096U);
}

}  // namespace
