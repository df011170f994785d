// The merge of an INI file with a reference.
#include "ini/ini_handler.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using Lines = std::vector<std::string>;

const std::string kTarget = "[P]\nx=1\nz=2\n[Q]\nq=3\n";
const std::string kReference = "[P]\nx=7\ny=8\n[R]\na=\nb=9\n";

struct Handler : testing::Test, IniHandler {
  TempRoot root;

  Handler() {
    StartTestLog();
    root.Write("/target", kTarget);
    root.Write("/reference", kReference);
    mkfifo(root.Path("/fifo").c_str(), 0600);
  }
  bool Process(std::string target, std::string reference, std::string script) {
    for (std::string* path : {&target, &reference, &script}) *path = root.Path(*path);
    return OnProcess(target.data(), reference.data(), script.data());
  }
};

TEST_F(Handler, TheTargetTakesTheReferencesLayoutAndNoOperation) {
  const std::string name(1000, 'n');
  root.Write("/script", "S R.BASIC.Foo=3\n\nA " + name + " = " + name + "\nD P.x");
  testing::internal::CaptureStdout();
  EXPECT_TRUE(Process("/target", "/reference", "/script"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "OnDelKey: delete P.z\nOnAddKey: add P.y=8\nOnAddKey: add R.a=\nOnAddKey: add R.b=9\n");
  EXPECT_EQ(root.Read("/target"), "[P]\nx=1\ny=8\n[R]\na=\nb=9\n");
  EXPECT_EQ(LogLines("WARN  Invalid ini handler operation: ").size(), 4U);
  EXPECT_EQ(LogLines(": S R.BASIC.Foo=3, ignore the operation").size(), 1U);
}

TEST_F(Handler, AFailureIsLoggedAndLeavesTheTarget) {
  for (const std::string wrong : {"/missing", "/fifo", "/"}) {
    EXPECT_FALSE(Process(wrong, "/reference", "/reference"));
    EXPECT_FALSE(Process("/target", wrong, "/reference"));
    EXPECT_FALSE(Process("/target", "/reference", wrong));
    const Lines lines = LogLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "ERROR Failed to load " + root.Path(wrong)),
              3);
    EXPECT_EQ(root.Read("/target"), kTarget);
  }
  EXPECT_FALSE(LoadIniHandler(nullptr) || OnProcess(nullptr, nullptr, nullptr));
}

TEST_F(Handler, OperationsFindOnlyTheEmptyName) {
  ops_ = {{'A', "P.x", "5"}, {'S', "P.x", "6"}, {'D', "P.x", "7"}, {'?', "P.x", "8"}};
  ProcessIniHandler();
  target_.OnAddSection("");
  ProcessIniHandler();
  const Lines expected = {
      "WARN  Failed to add param P.x=5",   "WARN  Failed to set param P.x=6",
      "WARN  Failed to delete param P.x",  "WARN  Invalid operation: [?] P.x=8",
      "INFO  Merge ini: Add param P.x=5",  "INFO  Merge ini: Set param P.x=6",
      "INFO  Merge ini: Delete param P.x", "WARN  Invalid operation: [?] P.x=8"};
  EXPECT_EQ(LogLines(), expected);
}

}  // namespace
