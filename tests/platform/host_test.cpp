// Host calls beneath a root: what is recorded, what acts, what fails, and the devices.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "platform/host.h"
#include "tests/support/temp_root.h"

namespace {

constexpr unsigned long kGetLevel = 0x80044802;
constexpr unsigned long kSetHardwareClock = 0x4024700a;

// What a command prints first; "(failed)" when it cannot be run.
std::string Output(const std::string& command) {
  FILE* stream = host_popen(command.c_str());
  if (stream == nullptr) return "(failed)";
  char text[100] = "";
  const bool any = std::fgets(text, sizeof text, stream) != nullptr;
  host_pclose(stream);
  return any ? text : "";
}

TEST(Host, IsRealAndItsPathsLiteralWithoutARoot) {
  setenv("VEK_ROOT", "", 1);
  EXPECT_EQ(host_path("/dev/ZQMac"), "/dev/ZQMac");
  EXPECT_EQ(Output("echo real"), "real\n");
  EXPECT_EQ(host_system("exit 3"), 3 << 8);
}

TEST(Host, RecordsCommandsBeneathARootAndOnlyTouchActs) {
  const TempRoot root;
  std::filesystem::current_path(root.Path("/.."));
  setenv("VEK_ROOT", std::filesystem::path(root.Path("")).filename().c_str(), 1);
  ASSERT_EQ(host_path("/dev/ZQMac"), root.Path("/dev/ZQMac"));  // else the host would be touched
  const std::string outside = root.Path("-outside"), flag = "/home/QUARLE/Tmp/UpdateFlag";
  const std::string escape = "/../" + std::filesystem::path(outside).filename().string();
  root.Write("/home/QUARLE/Tmp/other", "");
  std::string recorded = "touch /missing/file && sync\n";
  EXPECT_EQ(host_system("touch /missing/file && sync"), 1 << 8);
  for (const std::string& command : {"touch " + flag + " && sync", "touch " + escape,
                                     "sync && echo x > " + outside, "hostname -I > " + outside}) {
    EXPECT_EQ(host_system(command.c_str()), 0) << command;
    EXPECT_EQ(Output(command), "");
    recorded += command + "\n" + command + "\n";
  }
  const timeval time{1234567890, 0};
  EXPECT_EQ(host_settimeofday(&time), 0);
  EXPECT_GT(std::time(nullptr), time.tv_sec);
  EXPECT_NE(Output("hostname -I"), "(failed)");
  EXPECT_EQ(root.Read("/var/commands.log"), recorded + "settimeofday 1234567890\n");
  EXPECT_TRUE(std::filesystem::exists(root.Path(flag)));
  EXPECT_FALSE(std::filesystem::exists(outside));
}

TEST(Host, FailsWhenTheListSaysSo) {
  const TempRoot root;
  ASSERT_EQ(host_path("/dev/ZQMac"), root.Path("/dev/ZQMac"));  // else the host would be touched
  const timeval time{5, 0};
  setenv("VEK_FAIL", "settimeofday,hostname,mount", 1);
  EXPECT_EQ(host_settimeofday(&time), -1);
  EXPECT_EQ(Output("hostname -I"), "");
  EXPECT_EQ(host_system("mount -o remount r /"), 1 << 8);
  setenv("VEK_FAIL", "popen", 1);
  EXPECT_EQ(Output("hostname -I"), "(failed)");
  EXPECT_EQ(root.Read("/var/commands.log"), "mount -o remount r /\n");
  root.Remove("/var/commands.log");
  mkfifo(root.Path("/var/commands.log").c_str(), 0600);
  EXPECT_EQ(host_system("sync"), -1);  // what cannot be recorded has not run
}

TEST(Host, ReadsLevelsAnewAndNeverSetsTheHardwareClock) {
  const TempRoot root;
  EXPECT_EQ(host_open("/dev/qlm_gpio", O_RDWR), -1);
  root.Write("/dev/qlm_gpio", std::string("\1\0\0\0\2\1\0\x80\3\0\0", 11));
  const int fd = host_open("/dev/qlm_gpio", O_RDWR);
  int level = 1;
  EXPECT_TRUE(host_ioctl(fd, kGetLevel, &level) == 0 && level == INT_MIN + 0x102);
  for (const int input : {2, 3, -1, INT_MIN, INT_MAX, 0x40000000}) {
    level = input;
    EXPECT_TRUE(host_ioctl(fd, kGetLevel, &level) == -1 && level == input) << input;
  }
  root.Write("/dev/qlm_gpio", std::string("\7\0\0\0", 4));
  level = 0;
  EXPECT_TRUE(host_ioctl(fd, kGetLevel, &level) == 0 && level == 7);
  EXPECT_EQ(host_ioctl(fd, kSetHardwareClock, nullptr), 0);
  EXPECT_EQ(host_close(fd), 0);
  EXPECT_EQ(host_ioctl(fd, kSetHardwareClock, nullptr), -1);
}

}  // namespace
