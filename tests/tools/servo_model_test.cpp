// The simulated servo task: its state machine and its consumption of frames, for every group alike.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tools/drusim/servo_model.h"
#include "tools/failure.h"

namespace {

constexpr int kTransition = 3;
constexpr int kDelay = 2;

class ServoModelTest : public testing::TestWithParam<int> {
 protected:
  ServoModelTest() {
    EXPECT_TRUE(writer_.OnAttach(vek2dru_.data() + group_.ring, AREA_RING_SIZE));
    model_.OnStart(2, {0.5, 0.5});
  }

  int State() const { return shared::load(sys_.data(), group_.sys.group_state); }
  void Accept(int state) { shared::store(sys_.data(), group_.sys.state_transfer_cmd, state); }
  void Cycle() { model_.OnCycle(0.001); }
  void ExpectCycle(bool takes, double pos, bool still) {
    EXPECT_EQ(model_.OnCycle(0.001), takes);
    EXPECT_EQ(shared::load(sys_.data(), group_.sys.joint_pos, 1), pos);
    EXPECT_EQ(shared::load(sys_.data(), group_.sys.standstill), still ? 1 : 0);
  }
  void ExpectCounts(int frames, int dropped, int starved) const {
    EXPECT_EQ(model_.counts().frames, frames);
    EXPECT_EQ(model_.counts().dropped, dropped);
    EXPECT_EQ(model_.counts().starved, starved);
  }
  int AxisState(std::size_t j) const { return shared::load(sys_.data(), group_.sys.axis_state, j); }
  // The answer to a command; it comes after kDelay cycles, not before.
  int Answer(std::size_t axis, int command) {
    shared::store(sys_.data(), group_.sys.servo_cmd, command, axis);
    for (int k = 0; k < kDelay; ++k) Cycle();
    EXPECT_EQ(shared::load(sys_.data(), group_.sys.servo_cmd, axis), command);
    Cycle();
    return shared::load(sys_.data(), group_.sys.servo_cmd, axis);
  }
  void Write(std::uint32_t flag, double pos) {
    Frame frame;
    frame.stream_flag = flag;
    frame.pos.fill(pos);
    const PvtFrame packed = PackFrame(frame);
    ASSERT_TRUE(writer_.OnWrite(&packed, sizeof packed));
  }
  void EnterPosition() {
    Accept(GROUP_STATE_POSITION);
    for (int k = 0; k <= kTransition; ++k) Cycle();
    ASSERT_EQ(State(), GROUP_STATE_POSITION);
  }

  const GroupRow& group_ = kGroups[static_cast<std::size_t>(GetParam())];
  std::vector<unsigned char> sys_ = std::vector<unsigned char>(AREA_SYSINFO_SIZE);
  std::vector<unsigned char> mac_ = std::vector<unsigned char>(AREA_MAC_SIZE);
  std::vector<unsigned char> udp_ = std::vector<unsigned char>(AREA_UDP_SIZE, 0xff);
  std::vector<unsigned char> vek2dru_ = std::vector<unsigned char>(AREA_VEK2DRU_SIZE);
  KACB writer_;
  ServoModel model_{
      group_,
      {.sys = sys_.data(), .mac = mac_.data(), .udp = udp_.data(), .vek2dru = vek2dru_.data()},
      {.transition = kTransition, .command = kDelay}};
};

TEST_P(ServoModelTest, EntryEmptiesTheRingAndWaitsForAStartFrameAndTheExitStopsTheGroup) {
  Write(0, 9);  // of a stream before
  Write(1, 9);
  EnterPosition();
  ExpectCycle(false, 0.5, true);
  for (int k = 0; k < 5; ++k) Write(1, 9);
  Write(0, 0.5);
  Write(1, 0.6);
  ExpectCycle(true, 0.5, true);
  EXPECT_EQ(model_.frame().stream_flag, 0U);
  ExpectCycle(true, 0.6, false);
  EXPECT_EQ(shared::load(sys_.data(), group_.sys.joint_pos, 2), 0) << "not an axis of this group";
  ExpectCounts(2, 5, 0);  // waiting for the start frame is not starving
  ExpectCycle(false, 0.6, false);
  ExpectCounts(2, 5, 1);
  Accept(GROUP_STATE_RELEASE);
  Write(1, 0.9);
  ExpectCycle(false, 0.6, true);
}

TEST_P(ServoModelTest, AnswersEveryCommandOfEveryAxis) {
  ServoCommands& servos = model_.servos();
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    shared::store(sys_.data(), group_.sys.sensor_offset_arg, -9, j);
    for (const int known : {3, 7, 8, 9, 10, 12, 11, 13}) {
      EXPECT_EQ(Answer(j, known), 0) << known;
      EXPECT_EQ(shared::load(sys_.data(), group_.sys.brake_unlock) != 0, known == 12);
    }
    EXPECT_EQ(servos.SensorOffset(j), -9);
    for (const int unknown : {1, 2, 4, 6, 14, INT_MAX}) EXPECT_EQ(Answer(j, unknown), -1);
  }
}

TEST_P(ServoModelTest, AFaultHoldsTheGroupInErrorUntilTheLastOneIsReset) {
  EnterPosition();
  EXPECT_EQ(AxisState(1), 5);
  EXPECT_EQ(AxisState(2), 0) << "not an axis of this group";
  EXPECT_THROW(model_.SetFault(2, 77), Failure) << "Vek could not reset it";
  model_.SetFault(0, 77);
  model_.SetFault(1, 78);
  EXPECT_EQ(AxisState(1), 0);
  Accept(GROUP_STATE_TORQUE);
  EXPECT_EQ(Answer(1, SERVO_CMD_RESET), 0);
  EXPECT_EQ(State(), GROUP_STATE_ERROR) << "the other servo's fault";
  EXPECT_EQ(shared::load(sys_.data(), group_.sys.servo_error_code, 1), 78U) << "Vek clears it";
  Accept(GROUP_STATE_POSITION);  // left over from before
  EXPECT_EQ(Answer(0, SERVO_CMD_RESET), 0);
  for (int k = 0; k < 2 * kTransition; ++k) Cycle();
  EXPECT_EQ(State(), GROUP_STATE_IDLE);
  EnterPosition();
}

INSTANTIATE_TEST_SUITE_P(Groups, ServoModelTest, testing::Range(0, 5));

}  // namespace
