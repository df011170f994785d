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
  std::string line = program;
  for (const std::string& argument : arguments) line += " " + argument;
  SCOPED_TRACE(line);
  const Outcome outcome = RunProgram(program, arguments);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.rfind(program + ": ", 0), 0U) << outcome.err;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  EXPECT_NE(outcome.err.find(text), std::string::npos) << outcome.err;
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
      {"vekctl", {"fly"}, "no command fly"},
      {"vekctl", {"status", "now"}, "now"},
      {"vekctl", {"--root", "/nowhere/at/all", "status"}, "/nowhere/at/all"},
      {"vekctl", {"--root", "/tmp", "--host", "status"}, "--root and --host"},
      {"vekctl", {"init", "--host"}, "init needs a root"},
      {"vekctl", {"state", "arm0"}, "NAME is required"},
      {"vekctl", {"state", "arm2", "IDLE"}, "no group arm2"},
      {"vekctl", {"state", "arm0", "ERROR"}, "no state ERROR"},
      {"vekctl", {"state", "arm0", "position"}, "no state position"},
      {"vekctl", {"state", "arm0", "IDLE", "--timeout", "-1"}, "--timeout"},
      {"vekctl", {"traj", "head", good.path()}, "head plays no trajectories"},
      {"vekctl", {"traj", "arm0", "/no.csv"}, "/no.csv: cannot be read"},
      {"vekctl", {"traj", "arm0", "/tmp"}, "/tmp: is a folder"},
      {"vekctl", {"traj", "arm1", few.path()}, "4 waypoints"},
      {"vekctl", {"traj", "lift", good.path()}, ":1: 7 numbers, lift needs 2"},
      {"vekctl", {"stop", "head"}, "head plays no trajectories"},
      {"vekctl", {"move", "head", "1", "2"}, "2 joint positions, head needs 3"},
      {"vekctl", {"move", "lift", "0", "x"}, "'x' is no number"},
      {"vekctl", {"move", "lift", "-1e39", "0"}, "'-1e39' is not finite"},
      {"vekctl", {"move", "lift", "0", "0", "--timeout", "0"}, "--timeout"},
      {"vekctl", {"speed", "leg", "10"}, "no group leg"},
      {"vekctl", {"speed", "head", "fast"}, "'fast' is no percentage"},
      {"vekctl", {"speed", "head", "10", "--acc", "nan"}, "'nan' is no percentage"},
      {"vekctl", {"brake-free", "lift", "on"}, "lift has no brake word"},
      {"vekctl", {"brake-free", "head", "yes"}, "'yes' is neither on nor off"},
      {"vekctl", {"--host", "brake-free", "head", "on"}, "never on the real paths"},
      {"vekctl", {"why"}, "GROUP is required"},
      {"vekctl", {"vibration", "f.csv"}, "--frequency is required"},
      {"vekctl", {"vibration", "f.csv", "--frequency", "3", "--damping", "1"}, "--damping"},
      {"vekctl", {"vibration", "f.csv", "--frequency", "3", "--below", ".1"}, "--against"},
      {"vekctl", {"vibration", good.path(), "--frequency", "3"}, ":1: is no header row"},
      {"vekctl", {"verify", good.path(), "--move", "head=1,2"}, "2 joint positions"},
      {"vekctl", {"plot", good.path(), "out.jpg"}, ".png or .svg"},
      {"vekctl", {"plot", good.path(), "out.svg"}, ":1: is no header row"},
      {"vekctl", {"verify", good.path()}, "--traj is required"},
      {"vekctl", {"verify", good.path(), "--traj", "arm0"}, "arm0 is not GROUP="},
      {"drusim", {"on"}, "on"},
      {"drusim", {"--axes", "arm0=9"}, "'9' is no number from 0 to 8"},
      {"drusim", {"--axes", "arm0=7,leg=2"}, "no group leg"},
      {"drusim", {"--pose", "arm0=0,x"}, "'x' is no number"},
      {"drusim", {"--pose", "arm0=1,2,3,4,5,6,7,8,9"}, "more than 8 axes"},
      {"drusim", {"--cycles", "0"}, "--cycles"},
      {"drusim", {"--groups", "arm0"}, "--groups needs --record"},
      {"drusim", {"--script", script.path()}, ":1: no action dance"},
  };
  for (const auto& c : cases) ExpectUsageError(c.program, c.arguments, c.text);
}

TEST(Arguments, NoToolTakesTheRealPathsUnasked) {
  unsetenv("VEK_ROOT");
  const TempFile waypoints(Ramp(5, 7));
  ExpectUsageError("drusim", {}, "no root");
  ExpectUsageError("vekctl", {"init"}, "no root");
  ExpectUsageError("vekctl", {"status"}, "no root");
  ExpectUsageError("vekctl", {"state", "arm0", "IDLE"}, "no root");
  ExpectUsageError("vekctl", {"traj", "arm0", waypoints.path()}, "no root");
  ExpectUsageError("vekctl", {"stop", "arm0"}, "no root");
}

TEST(Arguments, AMissingOrShortAreaIsNamed) {
  const TempRoot root;
  root.MakeAreas();
  root.Write("/dev/ZQMac", "short");
  for (const char* program : {"drusim", "vekctl"}) {
    const Outcome outcome =
        RunProgram(program, program[0] == 'v' ? Arguments{"status"} : Arguments{});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, std::string(program) + ": /dev/ZQMac: has 5 bytes, not 30720\n");
  }
  root.Remove("/dev/ZQUdp");
  const Outcome outcome = RunProgram("vekctl", {"stop", "arm0"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "vekctl: /dev/ZQUdp: is missing (vekctl init makes it)\n");
}

}  // namespace
