#include <cctype>

#include "tests/vek/operation_rig.h"

namespace {

using Commands = std::vector<ServoTask::Command>;
constexpr int kAxes[] = {7, 7, 3, 6, 2};
constexpr std::size_t kStateCmd[] = {72, 380, 32, 1040, 1160};
constexpr int kMask = 0x85;  // axes 0 and 2, and one that no group has
constexpr int kAll = -1;

constexpr struct {
  int code;            // behind the group's base
  const char* groups;  // their numbers
  int command;
  int axes;  // that are to get it
} kActions[] = {{0, "0123", 3, kAll},   {2, "0123", 11, kMask}, {3, "0123", 12, kMask},
                {4, "0123", 9, kMask},  {5, "01234", 7, kMask}, {6, "0123", 8, kMask},
                {10, "013", 10, 1 << 3}};

struct GroupOperations : testing::TestWithParam<std::size_t> {
  GroupOperations() { rig.Start(); }

  // A word of the group's block.
  int& Int(std::size_t offset) { return Word<int>(rig.sys, 4000 * (GetParam() + 1) + offset); }
  int& ServoWord(int axis) { return Int(12 + 4 * static_cast<std::size_t>(axis)); }
  int Run(int code, int value = kMask) { return rig.Run(base + code, value); }
  bool IsOneOf(std::string_view groups) const {
    return groups.find(static_cast<char>('0' + GetParam())) != groups.npos;
  }
  // A line of the group: '#' is its name.
  std::string Line(std::string text) const {
    for (std::size_t at; (at = text.find('#')) != text.npos;) text.replace(at, 1, group.name);
    return text;
  }
  std::string Name(const std::string& operation) const {
    std::string name = Line("OPINS_#_");
    for (char& c : name) c = static_cast<char>(std::toupper(c));
    return name + operation;
  }

  OperationRig rig;
  const GroupRow& group = kGroups[GetParam()];
  const int base = 100 * (static_cast<int>(GetParam()) + 1);
};
INSTANTIATE_TEST_SUITE_P(All, GroupOperations, kAllGroups);

TEST_P(GroupOperations, ActionsCommandTheirAxesAndWait) {
  for (const auto& [code, groups, command, axes] : kActions) {
    if (!IsOneOf(groups)) continue;
    const bool reset = code == 0;
    Commands expected;
    for (int axis = 0; axis < kAxes[GetParam()]; ++axis) {
      if ((axes >> axis & 1) != 0) expected.push_back({axis, command});
    }
    for (const bool fails : {true, false}) {
      SCOPED_TRACE(testing::Message() << code << (fails ? " fails" : " is done"));
      for (int axis = 0; axis < 8; ++axis) ServoWord(axis) = 0;
      Int(4) = reset ? 100 : 1;
      Int(8) = Int(108 + 28) = 115;
      Word<std::uint16_t>(rig.udp, kStateCmd[GetParam()]) = 1;
      ServoTask servos(rig, group, [&](auto c) { return fails && c == expected[0] ? -1 : 0; });
      EXPECT_EQ(Run(code), fails ? 200 : 0);
      EXPECT_EQ(servos.Finish(), expected);
      EXPECT_EQ(Word<std::uint16_t>(rig.udp, kStateCmd[GetParam()]), reset ? 0 : 1);
      EXPECT_EQ(Int(8), reset && !fails ? 0 : 115);
      EXPECT_EQ(Int(108 + 28), Int(8));
      EXPECT_EQ(Int(44 + 12), command == 10 ? kMask : 0);
    }
  }
}

TEST_P(GroupOperations, ABusyServoOrNoErrorCommandsNothing) {
  const int last = kAxes[GetParam()] - 1;
  ServoWord(last) = 77;
  rig.Check(100,
            {"WARN  Servo " + std::to_string(last) + " is busy",
             User("WARN  ", 19, group.name, Name("ENC_CLEAR_ERROR").c_str())},
            base + 5, kAll);
  rig.Check(0, {Line("WARN  OnProcessOp: Reset # ignored, no error")}, base);
  EXPECT_EQ(ServoWord(0), 0);
}

TEST_P(GroupOperations, OnlyIdleGroupsGiveUpTheirSoftLimits) {
  Int(4) = 1;
  rig.Check(100, {Line("WARN  OnProcessOp: # is not in idle, ignore disable soft limit command")},
            base + 1, 3);
  EXPECT_EQ(Int(308), 0);
  Int(4) = 0;
  ServoWord(0) = 5;  // no matter
  rig.Check(0, {User("INFO  ", 23, group.name, -3)}, base + 1, -3);
  EXPECT_EQ(Int(308), -3);
}

TEST_P(GroupOperations, EnabledAxesKeepTheirBrakes) {
  if (GetParam() == 4) return;
  Int(76) = Int(76 + 4) = 5;
  for (const int code : {2, 3}) {
    ServoTask servos(rig, group, [](auto) { return 0; });
    EXPECT_EQ(Run(code, 0b110), 0);  // axis 0 is enabled and not addressed, axis 1 both
    EXPECT_EQ(servos.Finish(), (Commands{{2, 9 + code}}));
    const std::string action = code == 3 ? "unlock" : "lock";
    const std::string text = GetParam() == 0 ? action : "lock";
    const Lines lines{Line("INFO  OnProcessOp: # brake " + action + ", axis_mask = 0x00000006"),
                      Line("WARN  OnProcessOp: #.L0 is enabled, ignore brake " + text + " command"),
                      Line("WARN  OnProcessOp: #.L1 is enabled, ignore brake " + text + " command"),
                      User("INFO  ", 22 + code, group.name, 0b110)};
    EXPECT_EQ(rig.TakeLog(), lines);
  }
}

TEST_P(GroupOperations, StaleFailuresCountAndWrongAxisCountsDoNot) {
  ServoWord(0) = -2;
  ServoWord(1) = -3;
  EXPECT_EQ(Run(5, 0), 200);
  EXPECT_EQ(rig.TakeLog()[1], "WARN  2 servos failed to process cmd");
  shared::store(rig.mac, group.axes, -5);
  EXPECT_EQ(Run(5, -1), 0);  // no axis, no wait
  shared::store(rig.mac, group.axes, 0x7fffffff);
  ServoTask servos(rig, group, [](auto) { return 0; });
  EXPECT_EQ(Run(5, -1), 0);
  EXPECT_EQ(servos.Finish().size(), 8U);
}

TEST_P(GroupOperations, TheWaitEndsWithTheProcess) {
  const std::jthread quit([] {
    usleep(50'000);
    g_exit = true;
  });
  Int(4) = 100;
  const bool lift = GetParam() == 4;
  EXPECT_EQ(Run(lift ? 0 : 2), lift ? 300 : 200);
  const Lines lines = rig.TakeLog();
  ASSERT_EQ(lines.size(), lift ? 1U : 2U);  // no count of failed servos
  EXPECT_EQ(lines.back(), User("WARN  ", 20, lift ? "Body" : group.name,
                               Name(lift ? "RESET(CSP)" : "BRAKE_LOCK").c_str()));
}

constexpr struct {
  int code;
  const char* groups;
  std::size_t offset;  // of word 0 in the block; 0: the firmware texts
} kQueries[] = {
    {50, "01234", 108}, {51, "0123", 0}, {52, "013", 160}, {53, "013", 192}, {55, "0123", 356}};

TEST_P(GroupOperations, QueriesAnswerWithTheirWords) {
  const int last = GetParam() == 4 ? 1 : 7;
  for (const auto& query : kQueries) {
    const std::size_t offset = query.offset + 4 * static_cast<std::size_t>(last);
    if (query.offset != 0) Int(offset) = -query.code;
  }
  if (GetParam() < 4) std::memset(&Word<char>(rig.sys, 124096 + 4096 * GetParam()), 'v', 512);
  for (const auto& query : kQueries) {
    if (!IsOneOf(query.groups)) continue;
    EXPECT_EQ(Run(query.code, last), 0);
    EXPECT_EQ(rig.Get<int>(rig.kValue), query.offset == 0 ? last : -query.code);
    EXPECT_EQ(rig.Text(), query.offset == 0 ? std::string(29, 'v') : "");
    for (const int index : {last + 1, -1}) EXPECT_EQ(Run(query.code, index), 100);
  }
  rig.TakeLog();
  rig.Check(100,
            {"INFO  OnProcessOp: " + Name("SERVO_GET_ERROR_CODE"),
             Line("WARN  OnProcessOp: # get servo-9 error code failed")},
            base + 50, -9);
  Word<int>(rig.sys, 848 + 4 * GetParam()) = 41;
  EXPECT_EQ(Run(54, 99), 0);
  EXPECT_EQ(rig.Get<int>(rig.kValue), 41);
}

TEST(LiftOperations, ResetHasTwoStages) {
  OperationRig rig;
  rig.Start();
  rig.SetState(kGroups[4], GROUP_STATE_ERROR);
  for (const int failing : {13, 3, 0}) {
    ServoTask servos(rig, kGroups[4], [=](auto c) { return c.second == failing ? -1 : 0; });
    EXPECT_EQ(rig.Run(500), failing == 13 ? 300 : failing == 3 ? 200 : 0);
    Commands commands{{0, 13}, {1, 13}, {0, 3}, {1, 3}};
    if (failing == 13) commands.resize(2);
    EXPECT_EQ(servos.Finish(), commands);
  }
}

TEST(LiftOperations, EncoderOffsetsGoToTheFileAndTheLiveWordAtOnce) {
  constexpr std::size_t kLive0 = 10956 + 8, kLive1 = kLive0 + 64;
  OperationRig rig;
  rig.Start();
  const int kept = Word<int>(rig.cfg, kLive0);
  Word<int>(rig.mac, 13844 + 332) = -222;
  Word<int>(rig.sys, 20000 + 12) = 4;  // busy: no matter
  rig.Check(0, {"INFO  OnProcessOp: Lift enc reset offset ...", User("INFO  ", 28, "Lift", 0b110)},
            504, 0b110);
  EXPECT_EQ(Word<int>(rig.cfg, kLive0), kept);
  EXPECT_EQ(Word<int>(rig.cfg, kLive1), -222);
  EXPECT_NE(rig.Ini().find("EncDir=-1\nEncOffset=-222\n"), std::string::npos);
}

}  // namespace
