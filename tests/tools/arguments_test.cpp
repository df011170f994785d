// Wrong arguments: one clear line on standard error, status 2, nothing done.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"

namespace {

using Arguments = std::vector<std::string>;

void ExpectUsageError(const std::string& program, const Arguments& arguments,
                      const std::string& text) {
  const Outcome outcome = RunProgram(program, arguments);
  EXPECT_EQ(outcome.status, 2) << text;
  EXPECT_EQ(outcome.out, "") << text;
  EXPECT_EQ(outcome.err.rfind(program + ": ", 0), 0U) << outcome.err;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  EXPECT_NE(outcome.err.find(text), std::string::npos) << text << "\n" << outcome.err;
}

TEST(Arguments, WrongOnesAreToldInOneLine) {
  const TempRoot root;  // no areas: nothing below gets as far as them
  const TempFile few(Ramp(4, 7));
  const TempFile good(Ramp(5, 7));
  const TempFile script("10 dance\n");
  const struct {
    const char* program;
    Arguments arguments;
    const char* text;
  } cases[] = {
      {"vekctl", {}, "subcommand is required"},
      {"vekctl", {"--root", "/nowhere/at/all", "status"}, "/nowhere/at/all"},
      {"vekctl", {"init", "--host"}, "init needs a root"},
      {"vekctl", {"state", "arm2", "IDLE"}, "no group arm2"},
      {"vekctl", {"state", "arm0", "ERROR"}, "no state ERROR"},
      {"vekctl", {"traj", "head", good.path()}, "head plays no trajectories"},
      {"vekctl", {"traj", "arm0", "/tmp"}, "/tmp: is a folder"},
      {"vekctl", {"traj", "arm1", few.path()}, "4 waypoints"},
      {"vekctl", {"move", "head", "-.1", "-.2e1"}, "2 joint positions, head needs 3"},
      {"vekctl", {"speed", "head", "10", "--acc", "nan"}, "'nan' is no percentage"},
      {"vekctl", {"brake-free", "lift", "on"}, "lift has no brake word"},
      {"vekctl", {"--host", "brake-free", "head", "on"}, "never on the real paths"},
      {"vekctl", {"vibration", "f.csv", "--frequency", "3", "--damping", "1"}, "--damping"},
      {"vekctl", {"plot", good.path(), "out.jpg"}, ".png or .svg"},
      {"vekctl", {"verify", good.path(), "--traj", "arm0"}, "arm0 is not GROUP="},
      {"drusim", {"--script", script.path()}, ":1: no action dance"},
      {"drusim", {"--fail", "arm0:8"}, "'8' is no axis from 0 to 7"},
      {"drusim", {"--host", "--gyro"}, "never on the real paths"},
  };
  for (const auto& c : cases) ExpectUsageError(c.program, c.arguments, c.text);

  unsetenv("VEK_ROOT");  // no tool takes the real paths unasked
  ExpectUsageError("drusim", {}, "no root");
  ExpectUsageError("vekctl", {"init"}, "no root");
}

TEST(Arguments, AreasThatAreMissingOrShortAndAForeignDeviceEndATool) {
  const TempRoot root;
  root.MakeAreas();
  root.Write("/dev/ZQMac", "short");
  const Outcome shorter = RunProgram("drusim", {});
  EXPECT_EQ(shorter.status, 1);
  EXPECT_EQ(shorter.err, "drusim: /dev/ZQMac: has 5 bytes, not 30720\n");
  root.MakeAreas();
  root.Write("/dev/ttyUSB0", "mine");
  EXPECT_EQ(RunProgram("drusim", {"--gyro"}).status, 1);
  EXPECT_EQ(root.Read("/dev/ttyUSB0"), "mine");
  const Arguments late{"--record", root.Path("/dev/ttyUSB0"), "--control", root.Path("/no/pipe")};
  EXPECT_EQ(RunProgram("drusim", late).status, 2);
  EXPECT_EQ(root.Read("/dev/ttyUSB0"), "mine");
  root.Remove("/dev/ZQUdp");
  std::filesystem::create_directory(root.Path("/dev/ZQUdp"));
  EXPECT_EQ(RunProgram("vekctl", {"init", "--force"}).err,
            "vekctl: /dev/ZQUdp: is no plain file\n");
  root.Remove("/dev/ZQUdp");
  const Outcome missing = RunProgram("vekctl", {"stop", "arm0"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "vekctl: /dev/ZQUdp: is missing (vekctl init makes it)\n");
}

}  // namespace
