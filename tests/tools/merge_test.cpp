// vekctl merge: the files as given, without a root, and the log on standard error.
#include <gtest/gtest.h>

#include "tests/tools/tool_files.h"

TEST(Merge, TellsWhatItDoesAndHowItEnds) {
  const TempFile target("[P]\nx=1\n[Q]\n");
  const TempFile reference("[P]\nx=2\ny=3\n");
  const TempFile script("S P.x=4\n");
  const Outcome merged =
      RunProgram("vekctl", {"merge", target.path(), reference.path(), script.path()});
  EXPECT_EQ(merged.status, 0) << merged.err;
  EXPECT_EQ(merged.out, "OnAddKey: add P.y=3\n" + target.path() + ": merged\n");
  EXPECT_NE(merged.err.find("WARN  Invalid ini handler operation: S P.x=4, ignore"),
            std::string::npos);
  EXPECT_EQ(ReadFile(target.path()), "[P]\nx=1\ny=3\n");
  EXPECT_EQ(ReadFile(target.path() + ".old"), "[P]\nx=1\n[Q]\n");
  std::filesystem::remove(target.path() + ".old");

  const Outcome failed = RunProgram("vekctl", {"merge", target.path(), "/tmp", script.path()});
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.err.find("ERROR Failed to load /tmp\n"), std::string::npos) << failed.err;
}
