// The INI document: grammar, layout, typed access, binding and editing.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "ini/ini_parser.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using namespace std::string_literals;

struct Ini : testing::Test {
  TempRoot root;
  IniParser ini;

  bool Load(const std::string& text) {
    root.Write("/in", text);
    return ini.OnLoad(root.Path("/in").c_str());
  }
  std::string Saved() {
    return ini.OnSave(root.Path("/out").c_str()) ? root.Read("/out") : "not saved";
  }
};

TEST_F(Ini, TextSurvivesLoadAndSaveAsTheGrammarSays) {
  const std::pair<std::string, std::string> cases[] = {
      {"no header\nx=1\n[open", ""},
      {"x=1\n[S]\na=1", "[S]\na=1\n"},     // no line end: both sides must be there
      {"[]\nb=2\n=\na=", "[]\n=\nb=2\n"},  // with one: an empty side is a value, too
      {"[b]\n[B]\nL2=\nL10=\nL1=\n\xff=\nz=\n[a", "[B]\nL1=\nL10=\nL2=\nz=\n\xff=\n[b]\n"},
      {"[S]\nk=1\nk=2\n[T]\n[S]\nb=2\n", "[S]\nk=1\n[T]\n"},  // the first wins, whole
      {"[ S ] \n\n \t k = v \n\n\v l=w\n", "[ S ]\n\v l=w\nk = v \n"},
      {"[S]\r\na=1\r\n; note\r\nb=[2]=;#\rc=3\r", "[S]\n; note\r\nb=[2]=;#\na=1\nc=3\n"},
      {"[A]\nab[A] c\n[B]d]=1\n", "[A]\n[B]\nabc\nd]=1\n"},  // fragments carried over headers
      {"[A]\n#[B]\n=1", "[A]\n[B]\n#=1\n"},                  // and to the unfinished line
      {"[a\nb[\0]\nk\0=v\0w\n"s, "[a\nb[\0]\nk\0=v\0w\n"s}};
  for (const auto& [text, saved] : cases) {
    ASSERT_TRUE(Load(text));
    EXPECT_EQ(Saved(), saved) << testing::PrintToString(text);
  }
}

TEST_F(Ini, OnlyRegularFilesOfBoundedSizeLoad) {
  root.Write("/large", "[S]\n");
  std::filesystem::resize_file(root.Path("/large"), 1ULL << 31);
  mkfifo(root.Path("/fifo").c_str(), 0600);
  for (const std::string path : {"/missing/file", "/", "/fifo", "/in/below", "/large"}) {
    ASSERT_TRUE(Load("[S]\n"));
    EXPECT_TRUE(path == "/large" || !ini.OnSave(root.Path(path).c_str())) << path;
    EXPECT_FALSE(ini.OnLoad(root.Path(path).c_str())) << path;
    EXPECT_EQ(Saved(), "") << path;
  }
  EXPECT_TRUE(ini.OnSave("/dev/full"));  // only the opening counts
}

TEST_F(Ini, NumbersAreReadLenientlyBoundWholeAndWrittenShort) {
  const std::tuple<std::string, int, double, std::string> cases[] = {
      {"", 0, 0, "0"},
      {" -3abc", -3, -3, "-3"},
      {"0x64", 0, 100, "100"},
      {"1,5", 1, 1, "1"},
      {"-.5e1", 0, -5, "-5"},
      {"9876543210", 2147483647, 9876543210, "9.87654e+09"},
      {"0.1234567", 0, 0.1234567, "0.123457"}};
  int i = 0;
  double d = 0;
  for (const auto& [text, as_int, as_double, written] : cases) {
    ASSERT_TRUE(Load("[S]\nk=" + text + "\n"));
    EXPECT_TRUE(ini.OnGetValue("S", "k", &i, 1) && ini.OnGetValue("S", "k", &d, 1));
    EXPECT_TRUE(i == as_int && d == as_double) << text << " " << i << " " << d;
    d = 77;
    EXPECT_TRUE(ini.OnSetValue("S", "k", as_double) && d == as_double) << d;
    EXPECT_EQ(Saved(), "[S]\nk=" + written + "\n");
  }
  // Neither these nor anything after a load writes the variables.
  char five[] = "5";
  EXPECT_TRUE(ini.OnSetValue("S", "k", "4"s) && ini.OnAddKey("S", "k", five));
  EXPECT_TRUE(Load("[S]\nk=1\n") && ini.OnSetValue("S", "k", 9.0));
  EXPECT_TRUE(i == 0 && d == 0.1234567);
}

TEST_F(Ini, AbsentKeysReadEmptyAndAbsentSectionsNothing) {
  StartTestLog();
  ASSERT_TRUE(Load("[S]\n"));
  int i = 7;
  std::string text = "kept";
  EXPECT_FALSE(ini.OnGetValue("T", "k", &i, 1) || ini.OnGetValue("T", "k", text));
  EXPECT_TRUE(i == 7 && text == "kept");
  EXPECT_TRUE(ini.OnGetValue("S", "k", &i, 0) && i == 0 && !ini.OnGetValue("S", "k", &i, 1));
  EXPECT_EQ(LogLines("ERROR [user 2]").size(), 3U);
  EXPECT_FALSE(ini.OnSetValue("T", "k", 1) || ini.OnDelKey("T", "k"));
}

TEST_F(Ini, Editing) {
  ASSERT_TRUE(Load("[S]\na=3\nempty=\ngone=\n[T]\n"));
  char five[] = "5";
  testing::internal::CaptureStdout();
  EXPECT_TRUE(ini.OnAddKey("S", "a", five) && ini.OnAddKey("S", "empty", five) &&
              ini.OnAddKey("S", "new", five) && ini.OnDelKey("S", "gone"));
  EXPECT_FALSE(ini.OnAddKey("U", "new", five));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "OnAddKey: set S.a=5\nOnAddKey: add S.empty=5\nOnAddKey: add S.new=5\n"
            "OnDelKey: delete S.gone\n");
  EXPECT_TRUE(ini.OnAddSection("S") && ini.OnAddSection("U") && ini.OnDelSection("T"));
  EXPECT_TRUE(ini.OnSetValue("S", "absent", 1));  // changes nothing
  EXPECT_EQ(Saved(), "[S]\na=5\nempty=\nnew=5\n[U]\n");
}

}  // namespace
