// The simulated servo task: its state machine and its consumption of frames, for every group alike.
#include <gtest/gtest.h>

#include <vector>

#include "tools/drusim/servo_model.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr int kTransition = 3;

class ServoModelTest : public testing::TestWithParam<int> {
 protected:
  ServoModelTest() {
    axes_pose_[0] = axes_pose_[1] = 0.5;
    EXPECT_TRUE(writer_.OnAttach(vek2dru_.data() + group_.ring, AREA_RING_SIZE));
    model_.OnStart(2, axes_pose_);
  }

  bool Cycle() { return model_.OnCycle(kPeriod_s); }
  int State() const { return shared::load(sys_.data(), group_.sys.group_state); }
  bool Still() const { return shared::load(sys_.data(), group_.sys.standstill) != 0; }
  double JointPos(std::size_t j) const {
    return shared::load(sys_.data(), group_.sys.joint_pos, j);
  }
  void Accept(int state) { shared::store(sys_.data(), group_.sys.state_transfer_cmd, state); }
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
  Axes axes_pose_{};
  KACB writer_;
  ServoModel model_{
      group_,
      {.sys = sys_.data(), .mac = mac_.data(), .udp = udp_.data(), .vek2dru = vek2dru_.data()},
      kTransition};
};

TEST_P(ServoModelTest, StartsIdleAtItsPoseWithoutARequest) {
  EXPECT_EQ(State(), GROUP_STATE_IDLE);
  EXPECT_EQ(shared::load(udp_.data(), group_.udp.state_cmd), 0);
  EXPECT_EQ(shared::load(mac_.data(), group_.axes), 2);
  EXPECT_EQ(JointPos(0), 0.5);
  EXPECT_TRUE(Still());
}

TEST_P(ServoModelTest, GoesThroughTheTransitionOfTheAcceptedState) {
  const struct {
    int accepted;
    int transition;
    int state;
  } steps[] = {{GROUP_STATE_TORQUE, 102, 2},
               {GROUP_STATE_RELEASE, 103, 3},
               {GROUP_STATE_POSITION, 101, 1},
               {GROUP_STATE_IDLE, 109, 0}};
  for (const auto& step : steps) {
    Accept(step.accepted);
    for (int k = 0; k < kTransition; ++k) {
      Cycle();
      EXPECT_EQ(State(), step.transition);
    }
    Cycle();
    EXPECT_EQ(State(), step.state);
  }
  for (const int nonsense : {-1, 4, 50, 101}) {
    Accept(nonsense);
    Cycle();
    EXPECT_EQ(State(), GROUP_STATE_IDLE) << nonsense;
  }
}

TEST_P(ServoModelTest, ANewerRequestReplacesTheTransitionUnderWay) {
  Accept(GROUP_STATE_POSITION);
  Cycle();
  Accept(GROUP_STATE_IDLE);
  Cycle();
  EXPECT_EQ(State(), GROUP_STATE_TRANS_TO_IDLE);
}

TEST_P(ServoModelTest, EntryEmptiesTheRingAndWaitsForAStartFrame) {
  Write(0, 9);  // of a stream before
  Write(1, 9);
  EnterPosition();
  EXPECT_FALSE(Cycle());
  EXPECT_EQ(JointPos(0), 0.5);
  for (int k = 0; k < 5; ++k) Write(1, 9);
  Write(0, 0.5);
  Write(1, 0.6);
  EXPECT_TRUE(Cycle());
  EXPECT_EQ(model_.frame().stream_flag, 0U);
  EXPECT_TRUE(Still());
  EXPECT_TRUE(Cycle());
  EXPECT_EQ(JointPos(0), 0.6);
  EXPECT_EQ(JointPos(1), 0.6);
  EXPECT_EQ(JointPos(2), 0.0) << "not an axis of this group";
  EXPECT_FALSE(Still());
  EXPECT_EQ(model_.counts().dropped, 5);
  EXPECT_EQ(model_.counts().frames, 2);
  EXPECT_EQ(model_.counts().starved, 0) << "waiting for the start frame is not starving";
}

TEST_P(ServoModelTest, CountsStarvedCyclesAndPausesWithoutLoss) {
  EnterPosition();
  Write(0, 0.5);
  EXPECT_TRUE(Cycle());
  EXPECT_FALSE(Cycle());
  EXPECT_EQ(model_.counts().starved, 1);
  model_.SetPaused(true);
  Write(1, 0.7);
  EXPECT_FALSE(Cycle());
  EXPECT_EQ(model_.counts().starved, 1);
  model_.SetPaused(false);
  EXPECT_TRUE(Cycle());
  EXPECT_EQ(JointPos(1), 0.7);
  Write(1, 0.7);
  Cycle();
  EXPECT_TRUE(Still());
}

TEST_P(ServoModelTest, LeavingPositionStopsTheGroup) {
  EnterPosition();
  Write(0, 0.8);
  Cycle();
  EXPECT_FALSE(Still());
  Accept(GROUP_STATE_RELEASE);
  Write(1, 0.9);
  Cycle();
  EXPECT_TRUE(Still());
  EXPECT_EQ(JointPos(0), 0.8);
  model_.SetBrakeUnlocked(true);
  EXPECT_NE(shared::load(sys_.data(), group_.sys.brake_unlock), 0);
}

INSTANTIATE_TEST_SUITE_P(Groups, ServoModelTest, testing::Range(0, 5));

}  // namespace
