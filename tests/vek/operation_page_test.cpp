#include <gtest/gtest.h>

#include "tools/operations_page.h"
#include "tools/text.h"

namespace {

TEST(OperationsPage, IsUpToDate) {
  EXPECT_TRUE(ReadFile(VEK_SOURCE_DIR "/docs/operations.md") == OperationsPage())
      << "run: vekctl ops --markdown > docs/operations.md";
}

}  // namespace
