// The handler's operations, which no script can give it.
#include "ini/ini_handler.h"

#include <gtest/gtest.h>

#include "tests/support/log_lines.h"

struct Handler : testing::Test, IniHandler {};

TEST_F(Handler, OperationsFindOnlyTheEmptyName) {
  StartTestLog();
  EXPECT_FALSE(LoadIniHandler(nullptr));
  ops_ = {{'A', "P.x", "5"}, {'S', "P.x", "6"}, {'D', "P.x", "7"}, {'?', "P.x", "8"}};
  ProcessIniHandler();
  target_.OnAddSection("");
  ProcessIniHandler();
  const std::vector<std::string> expected = {
      "WARN  Failed to add param P.x=5",   "WARN  Failed to set param P.x=6",
      "WARN  Failed to delete param P.x",  "WARN  Invalid operation: [?] P.x=8",
      "INFO  Merge ini: Add param P.x=5",  "INFO  Merge ini: Set param P.x=6",
      "INFO  Merge ini: Delete param P.x", "WARN  Invalid operation: [?] P.x=8"};
  EXPECT_EQ(LogLines(), expected);
}
