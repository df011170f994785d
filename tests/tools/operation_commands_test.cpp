// What vekctl makes of the words of an operation, before and after it is carried out.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/temp_root.h"
#include "tests/tools/tool_files.h"
#include "tools/group_limits.h"
#include "tools/json.h"
#include "tools/vekctl/operation_request.h"
#include "tools/vekctl/param_diff.h"
#include "tools/vekctl/param_names.h"

namespace {

TEST(OperationRequest, ComesFromTheArgumentsOfItsOperation) {
  const std::string name(30, 'n');
  const struct {
    const char* name;
    OperationArguments arguments;
    int code, value;
    float real = 0;
    std::string text;
  } cases[] = {
      {"arm0-brake-lock", {.axes = "0,3"}, 102, 9, 0, ""},
      {"505", {.value = "0xFFFFFFFF"}, 505, -1, 0, ""},
      {"body-sensorx-set-offset", {.value = "-2147483648", .sensor = "7"}, 414, INT32_MIN, 0, ""},
      {"set-param-float", {.real = "-.5", .text = name}, 2, 0, -0.5F, name},
  };
  for (const auto& c : cases) {
    const auto [operation, request] = PrepareOperation(c.name, c.arguments);
    EXPECT_EQ(operation.Code(), c.code);
    EXPECT_EQ(request.code, c.code);
    EXPECT_EQ(request.value, c.value) << c.name;
    EXPECT_EQ(request.real, c.real);
    EXPECT_EQ(request.text, c.text);
  }
}

TEST(OperationRequest, WrongArgumentsAreTold) {
  const struct {
    const char* name;
    OperationArguments arguments;
    const char* message;
  } cases[] = {
      {"65638", {}, "no operation 65638 (vekctl ops lists them)"},  // 102 in 16 bits
      {"lift-brake-lock", {}, "no operation lift-brake-lock (vekctl ops lists them)"},
      {"arm0-brake-lock", {.index = "1"}, "arm0-brake-lock needs --axes"},
      {"arm0-brake-lock", {.axes = "1", .value = "1"}, "arm0-brake-lock takes one mask, not two"},
      {"arm0-brake-lock", {.axes = "0,8"}, "--axes: '8' is no axis from 0 to 7"},
      {"arm0-reset", {.text = "x"}, "arm0-reset takes no --text"},
      {"arm1-sensorx-set-offset",
       {.value = "1", .sensor = "8"},
       "--sensor: '8' is no sensor from 0 to 7"},
      {"set-param-float", {.real = "1e39", .text = "x"}, "'1e39' is no number that a float holds"},
      {"system-set-ip",
       {.text = "111111111122222222223333333333"},
       "'111111111122222222223333333333' is longer than 29 characters"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(UsageMessage([&] { PrepareOperation(c.name, c.arguments); }), c.message);
  }
}

TEST(ParamDiff, ListsWhatASaveWouldChange) {
  const std::string file = std::string(VEK_SOURCE_DIR) + "/config/robot.ini";
  std::vector<unsigned char> cfg = ReadConfigImage(file);  // without texts
  IniParser ini;
  ASSERT_TRUE(ini.OnLoad(file.c_str()));
  const auto at = [&](const char* name) { return cfg.data() + FindParam(name)->offset; };
  shared::write_bytes(at("R.BASIC.SubName"), "0123456789012345678901234567890123456789", 32);
  ini.OnSetValue("R.BASIC", "SubName", std::string("0123456789012345678901234567890123456789"));
  shared::store<double>(at("R.A1.L6.BASIC.VelMax"), 2.2F);  // as set by a 32-bit float
  ini.OnSetValue("R.A1.L6.BASIC", "VelMax", std::string("2.2"));
  shared::store<double>(at("R.B.CTRL.ISFrequency"), NAN);
  shared::store<std::int32_t>(at("R.A0.CTRL.SensorErrorValve6"), -3);
  ini.OnSetValue("R.A0.CTRL", "SensorErrorValve6", 5);
  ini.OnDelSection("R.L.L7");

  std::string found;
  for (const auto& d : DiffParams(ini, cfg.data())) {
    found += Text(d.name, ' ', d.file, ' ', d.live, '\n');
  }
  EXPECT_EQ(found,
            "R.A0.CTRL.SensorErrorValve6 5 -3\nR.B.CTRL.ISFrequency 0 nan\n"
            "R.BASIC.Name Vek sample \n");
  EXPECT_FALSE(FindParam("R.A0.BASIC") || FindParam("Dof") || FindParam("R.A2.BASIC.Dof"));
}

TEST(Json, TextsOfAnyBytesAreValid) {
  const std::pair<std::string, std::string> cases[] = {
      {"a\"b\\c\n\x7f", R"("a\"b\\c\u000a\u007f")"},
      {"\xc3\xa4\xf0\x9f\xa4\x96", "\"\xc3\xa4\xf0\x9f\xa4\x96\""},
      {"\xe4|\xc0\x80|\xed\xa0\x80", R"("\u00e4|\u00c0\u0080|\u00ed\u00a0\u0080")"},
      {"\xf4\x90\x80\x80\xe2\x82", R"("\u00f4\u0090\u0080\u0080\u00e2\u0082")"}};
  for (const auto& [text, json] : cases) EXPECT_EQ(JsonText(text), json);
}

}  // namespace
