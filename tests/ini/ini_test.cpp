// The INI document: grammar, layout, typed access, binding and editing.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>

#include "ini/ini_parser.h"
#include "tests/support/log_lines.h"
#include "tests/support/temp_root.h"

namespace {

using namespace std::string_literals;
using Strings = std::vector<std::string>;

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
  const std::string large(3'000'000, 'v');
  const std::pair<std::string, std::string> cases[] = {
      {"no header\nx=1\n", ""},
      {"x=1\n[S]\na=1", "[S]\na=1\n"},     // no line end: both sides must be there
      {"[]\nb=2\n=\na=", "[]\n=\nb=2\n"},  // with one: an empty side is a value, too
      {"[b]\n[B]\nL2=\nL10=\nL1=\n\xff=\nz=\n[a", "[B]\nL1=\nL10=\nL2=\nz=\n\xff=\n[b]\n"},
      {"[S]\nk=1\nk=2\n[T]\n[S]\nb=2\n", "[S]\nk=1\n[T]\n"},  // the first wins, whole
      {"[ S ] \n\n \t k = v \n\n\v l=w\n", "[ S ]\n\v l=w\nk = v \n"},
      {"[S]\r\na=1\r\n; note\r\nb=2\r", "[S]\n; note\r\nb=2\na=1\n"},  // no comments: a key
      {"[S]\na=[x]=;#\n", "[S]\na=[x]=;#\n"},
      {"[A]\nab[A] c\n[B]=1\n", "[A]\n[B]\nabc\n=1\n"},  // fragments are carried over headers
      {"[a\nb[\0]\nk\0=v\0w\n"s, "[a\nb[\0]\nk\0=v\0w\n"s},
      {"[S]\nk=" + large, "[S]\nk=" + large + "\n"},
  };
  for (const auto& [text, saved] : cases) {
    ASSERT_TRUE(Load(text));
    EXPECT_EQ(Saved(), saved) << testing::PrintToString(text.substr(0, 100));
  }
}

// The same grammar, by searching instead of scanning.
std::string Expected(const std::string& text) {
  std::map<std::string, std::map<std::string, std::string>> document;
  std::string key;
  std::size_t at = text.find('[');
  for (std::size_t end = 0; (end = text.find(']', at)) != text.npos && at != text.npos;) {
    const std::string name = text.substr(at + 1, end - at - 1);
    std::map<std::string, std::string> section;
    for (;;) {
      const std::size_t from = std::min(text.find_first_not_of(" \t\r\n", end + 1), text.size());
      at = text.find_first_of("[=", from);
      key += text.substr(from, at - from);
      if (at == text.npos || text[at] == '[') break;
      end = std::min(text.find_first_of("\r\n", at), text.size());
      const std::string value = text.substr(at + 1, end - at - 1);
      if (end < text.size() || (!key.empty() && !value.empty())) section.emplace(key, value);
      key.clear();
    }
    document.emplace(name, section);
  }
  std::string saved;
  for (const auto& [name, section] : document) {
    saved += "[" + name + "]\n";
    for (const auto& [k, value] : section) saved += k + "=" + value + "\n";
  }
  return saved;
}

TEST_F(Ini, RandomTextsAgreeWithTheModel) {
  constexpr std::string_view kAlphabet("[[[]]]===\n\n\n\r \t;ab\0\xff", 20);
  std::mt19937 random(20261121);
  for (int round = 0; round < 1000; ++round) {
    std::string text(random() % 150, ' ');
    std::ranges::generate(text, [&] { return kAlphabet[random() % kAlphabet.size()]; });
    ASSERT_TRUE(Load(text));
    ASSERT_EQ(Saved(), Expected(text)) << testing::PrintToString(text);
  }
}

TEST_F(Ini, OnlyRegularFilesOfBoundedSizeLoad) {
  root.Write("/large", "[S]\n");
  std::filesystem::resize_file(root.Path("/large"), 1ULL << 31);
  mkfifo(root.Path("/fifo").c_str(), 0600);
  for (const char* path : {"/missing", "/", "/fifo", "/large", "/in/below"}) {
    ASSERT_TRUE(Load("[S]\na=1\n"));
    EXPECT_FALSE(ini.OnLoad(root.Path(path).c_str())) << path;
    EXPECT_EQ(Saved(), "") << path;
  }
  ASSERT_TRUE(Load("[S]\na=1\n"));
  for (const char* path : {"/missing/file", "/", "/fifo"}) {
    EXPECT_FALSE(ini.OnSave(root.Path(path).c_str())) << path;
  }
  EXPECT_TRUE(ini.OnSave("/dev/full"));  // only the opening counts
  EXPECT_EQ(Saved(), "[S]\na=1\n");
}

TEST_F(Ini, NumbersAreReadLeniently) {
  struct Case {
    const char* text;
    int i;
    double d;
  };
  constexpr double kInf = INFINITY;
  const Case cases[] = {
      {"", 0, 0},         {"x", 0, 0},      {"12abc", 12, 12},
      {" -3", -3, -3},    {"0x10", 0, 16},  {"2147483648", INT_MAX, 2147483648.0},
      {"-.5e1x", 0, -5},  {"1,5", 1, 1},    {"-99999999999999999999", INT_MIN, -1e20},
      {"1e999", 1, kInf}, {"+inf", 0, kInf}};
  for (const Case& c : cases) {
    ASSERT_TRUE(Load("[S]\nk="s + c.text + "\n"));
    int i = 77;
    double d = 77;
    EXPECT_TRUE(ini.OnGetValue("S", "k", &i, 0) && ini.OnGetValue("S", "k", &d, 0));
    EXPECT_TRUE(i == c.i && d == c.d) << c.text << " " << i << " " << d;
  }
}

template <class Value>
concept Settable = requires(IniParser& parser, Value value) {
  parser.OnSetValue("", "", value);
};
static_assert(Settable<std::string> && Settable<char*> && Settable<double> && Settable<int>);
static_assert(!Settable<const char*> && !Settable<bool> && !Settable<long> && !Settable<float>);

// A packed area with an int at 1, a double at 5 and a text at 13.
std::array<char, 24> Area(int i, double d, const char* text) {
  std::array<char, 24> area{};
  std::memcpy(&area[1], &i, sizeof i);
  std::memcpy(&area[5], &d, sizeof d);
  std::strcpy(&area[13], text);
  return area;
}

TEST_F(Ini, SettersWriteTheTextAndTheBoundWord) {
  ASSERT_TRUE(Load("[S]\nd=2.5\ni=4\nt=ab\n"));
  auto area = Area(0, 0, "");
  ASSERT_TRUE(ini.OnGetValue("S", "i", reinterpret_cast<int*>(&area[1]), 1) &&
              ini.OnGetValue("S", "d", reinterpret_cast<double*>(&area[5]), 1) &&
              ini.OnGetValue("S", "t", &area[13], 1));
  EXPECT_EQ(area, Area(4, 2.5, "ab"));

  const std::pair<double, std::string> doubles[] = {
      {1234567, "1.23457e+06"}, {100, "100"}, {0.00001, "1e-05"}, {-0.0, "-0"},
      {-INFINITY, "-inf"},      {NAN, "nan"}, {1e300, "1e+300"},  {0.1234567, "0.123457"}};
  for (const auto& [value, text] : doubles) {
    EXPECT_TRUE(ini.OnSetValue("S", "d", value));
    EXPECT_EQ(area, Area(4, value, "ab"));
    EXPECT_EQ(Saved(), "[S]\nd=" + text + "\ni=4\nt=ab\n");
  }
  char word[] = "longer";
  EXPECT_TRUE(ini.OnSetValue("S", "i", -7) && ini.OnSetKey("S", "t", word));
  EXPECT_EQ(area, Area(-7, 0.1234567, word));

  // These leave the bound words alone.
  char five[] = "5";
  EXPECT_TRUE(ini.OnSetValue("S", "t", "string"s) && ini.OnAddKey("S", "i", five));
  EXPECT_EQ(Saved(), "[S]\nd=0.123457\ni=5\nt=string\n");
  // A later binding replaces the earlier one; loading ends all.
  double other = 0;
  EXPECT_TRUE(ini.OnGetValue("S", "d", &other, 1) && ini.OnSetValue("S", "d", 3.0));
  EXPECT_TRUE(Load("[S]\nd=1\ni=1\n") && ini.OnSetValue("S", "d", 9.0));
  EXPECT_EQ(other, 3.0);
  EXPECT_EQ(area, Area(-7, 0.1234567, word));
}

TEST_F(Ini, AbsentKeysReadEmptyAndAbsentSectionsNothing) {
  StartTestLog();
  ASSERT_TRUE(Load("[S]\na=1\n"));
  int i = 7;
  double d = 7;
  char t[] = "seven";
  std::string s = "seven";
  const auto read_all = [&](const std::string& section) {
    const bool read[] = {ini.OnGetValue(section, "k", &i, 0), ini.OnGetValue(section, "k", &d, 0),
                         ini.OnGetValue(section, "k", t, 0), ini.OnGetValue(section, "k", s)};
    return std::ranges::count(read, true);
  };
  EXPECT_EQ(read_all("T"), 0);
  EXPECT_TRUE(i == 7 && d == 7 && t == "seven"s && s == "seven");
  EXPECT_FALSE(ini.OnSetValue("T", "k", 1) || ini.OnAddKey("T", "k", t) || ini.OnDelKey("T", "k"));
  EXPECT_EQ(read_all("S"), 4);
  EXPECT_TRUE(i == 0 && d == 0 && t == ""s && s.empty());
  EXPECT_TRUE(ini.OnSetValue("S", "k", 1) && ini.OnDelKey("S", "k"));
  EXPECT_EQ(LogLines("ERROR [user 2]").size(), 4U);

  i = 7;
  EXPECT_FALSE(ini.OnGetValue("S", "missing", &i, 1));
  EXPECT_EQ(i, 0);
  EXPECT_EQ(LogLines("missing").size(), 1U);
  EXPECT_EQ(Saved(), "[S]\na=1\n");
}

TEST_F(Ini, Editing) {
  ASSERT_TRUE(Load("[S]\na=3\nempty=\n"));
  char five[] = "5";
  testing::internal::CaptureStdout();
  EXPECT_TRUE(ini.OnAddKey("S", "a", five) && ini.OnAddKey("S", "empty", five) &&
              ini.OnAddKey("S", "new", five) && ini.OnDelKey("S", "gone"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "OnAddKey: set S.a=5\nOnAddKey: add S.empty=5\nOnAddKey: add S.new=5\n"
            "OnDelKey: delete S.gone\n");
  EXPECT_TRUE(ini.OnAddSection("T") && ini.OnAddSection("S") && ini.OnDelSection("U"));
  EXPECT_EQ(Saved(), "[S]\na=5\nempty=\nnew=5\n[T]\n");

  EXPECT_TRUE(ini.OnDelKey("S", "a"));
  std::string section = "S";
  Strings list{"kept"};
  ini.OnGetKeyList(section, list);
  EXPECT_EQ(list, (Strings{"kept", "empty", "new"}));
  EXPECT_TRUE(ini.OnDelSection("S"));
  ini.OnGetSectionList(list);
  EXPECT_EQ(list, Strings{"T"});
}

}  // namespace
