// vekctl init: the layout of a root.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"

namespace {

TEST(Init, MakesARoot) {
  const TempRoot parent;
  unsetenv("VEK_ROOT");
  const std::string root = parent.Path("/new/root");
  const Outcome outcome = RunProgram("vekctl", {"--root", root, "init"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(parent.Read("/new/root/home/QUARLE/Config/cfg/robot.ini"),
            ReadFile(std::string(VEK_SOURCE_DIR) + "/config/robot.ini"));
}

TEST(Init, KeepsWhatIsThereUnlessForced) {
  const TempRoot root;
  const TempFile ini("[R.BASIC]\n");
  ASSERT_EQ(RunProgram("vekctl", {"init", "--ini", ini.path()}).status, 0);
  root.Write("/dev/ZQMac", std::string(30720, 'm'));
  ASSERT_EQ(RunProgram("vekctl", {"init"}).status, 0);
  EXPECT_EQ(root.Read("/home/QUARLE/Config/cfg/robot.ini"), "[R.BASIC]\n");
  EXPECT_EQ(root.Read("/dev/ZQMac"), std::string(30720, 'm'));

  root.Write("/dev/ZQUdp", "x");
  const Outcome outcome = RunProgram("vekctl", {"init"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "vekctl: /dev/ZQUdp: has 1 bytes, not 4096; --force makes it anew\n");
  EXPECT_EQ(root.Read("/dev/ZQUdp"), "x");
  EXPECT_EQ(RunProgram("vekctl", {"init", "--force"}).status, 0);
  EXPECT_EQ(root.Read("/dev/ZQUdp").size(), 4096U);
}

}  // namespace
