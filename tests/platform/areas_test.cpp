// Areas behind files and devices: what opens, what is refused, and what happens to the bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "platform/shared_memory.h"
#include "tests/support/temp_root.h"

namespace {

TEST(Area, RefusesWhatIsNotThereAndLeavesItSo) {
  const TempRoot root;
  root.Write("/dev/file", "bytes");
  std::filesystem::create_symlink("/dev/zero", root.Path("/dev/node"));
  const struct {
    const char* path;
    long size;
    bool opens;
  } cases[] = {{"/dev/node", 5, true},  {"/dev/missing", 5, false}, {"/dev", 5, false},
               {"/dev/file", 6, false}, {"/dev/file", 4, true},     {"/dev/file", -1, false},
               {"/dev/file", 0, false}, {"/dev/file", 5, true}};
  KShm area;
  for (const auto& c : cases) {
    EXPECT_EQ(area.OnOpen(c.path, c.size), c.opens) << c.path << " " << c.size;
    ASSERT_EQ(area.OnGetAddr() != nullptr, c.opens);  // the former mapping is gone
  }
  EXPECT_FALSE(std::filesystem::exists(root.Path("/dev/missing")));
  std::memcpy(area.OnGetAddr(), "BOTH", 4);
  EXPECT_EQ(root.Read("/dev/file"), "BOTHs");
}

TEST(FileArea, IsCreatedAndGrownAndKeepsItsBytes) {
  const TempRoot root;
  root.Write("/tags/short", "abc");
  root.Write("/tags/longer", "abcdefgh");
  Shm area;
  EXPECT_TRUE(area.OnOpen("/tags/new", 5) && area.OnOpen("/tags/short", 5));
  EXPECT_TRUE(area.OnOpen("/tags/longer", 5));
  EXPECT_EQ(root.Read("/tags/new"), std::string(5, '\0'));
  EXPECT_EQ(root.Read("/tags/short"), std::string("abc\0\0", 5));
  EXPECT_EQ(root.Read("/tags/longer"), "abcdefgh");
  EXPECT_FALSE(area.OnOpen("/missing/file", 5) || area.OnOpen("/tags", 5));
}

}  // namespace
