// vekctl merge: the files as given, without a root, and the log on standard error.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"

TEST(Merge, TheTargetTakesTheReferencesLayoutAndNoOperation) {
  const TempFolder folder;
  const auto merge = [&](const std::string& target, const std::string& other,
                         const std::string& script) {
    return RunProgram("vekctl",
                      {"merge", folder.Path(target), folder.Path(other), folder.Path(script)});
  };
  const std::string name(2000, 'n');
  folder.Write("/target", "[P]\nx=1\nz=2\n[Q]\nq=3\n");
  folder.Write("/reference", "[P]\nx=7\ny=8\n[R]\na=\nb=9\n");
  folder.Write("/script", "\nA " + name + " = " + name + "\nS R.BASIC.Foo=3\n");
  mkfifo(folder.Path("/fifo").c_str(), 0600);
  const Outcome failures[] = {merge("/missing", "/target", "/script"),
                              merge("/target", "/fifo", "/script"),
                              merge("/target", "/reference", "/")};
  for (const Outcome& failure : failures) {
    EXPECT_EQ(failure.status, 1);
    EXPECT_NE(failure.err.find(" ERROR Failed to load " + folder.Path("/")), std::string::npos);
  }

  const Outcome merged = merge("/target", "/reference", "/script");
  EXPECT_EQ(merged.status, 0);
  EXPECT_EQ(merged.out,
            "OnDelKey: delete P.z\nOnAddKey: add P.y=8\nOnAddKey: add R.a=\nOnAddKey: add R.b=9\n" +
                folder.Path("/target: merged\n"));
  EXPECT_EQ(folder.Read("/target"), "[P]\nx=1\ny=8\n[R]\na=\nb=9\n");
  int warnings = 0;
  std::string last;
  ForEachLine(merged.err, [&](std::string_view line, int number) {
    warnings = number;
    last = line;
  });
  EXPECT_EQ(warnings, 3) << merged.err;
  EXPECT_NE(
      last.find(" WARN  Invalid ini handler operation: S R.BASIC.Foo=3, ignore the operation"),
      last.npos);
}
