#include <gtest/gtest.h>

#include "tests/support/log_lines.h"
#include "tests/vek/vek_rig.h"

namespace {

enum Outcome {
  Ignored,
  Keep,    // accepted, soft_limit_disable kept
  Clear,   // accepted, soft_limit_disable cleared
  Brake,   // withdrawn: a brake is held unlocked
  Moving,  // withdrawn: the group moves
};

// Brake unlocked and standstill as the servo task reports them; outcomes of arms and body, head,
// lift.
struct Row {
  int state, request;
  bool brake, still;
  Outcome full, head, lift;
};

constexpr Row kRows[] = {
    // IDLE is always accepted.
    {1, 0, true, false, Clear, Clear, Clear},
    // POSITION.
    {0, 1, false, false, Keep, Keep, Keep},
    {0, 1, true, true, Brake, Brake, Keep},
    {2, 1, false, true, Keep, Keep, Keep},
    {2, 1, false, false, Moving, Keep, Keep},
    {3, 1, false, false, Moving, Keep, Keep},
    {3, 1, true, false, Brake, Brake, Keep},
    // TORQUE and RELEASE.
    {1, 2, false, true, Clear, Keep, Keep},
    {1, 2, false, false, Moving, Keep, Keep},
    {1, 3, false, false, Moving, Keep, Keep},
    {2, 3, false, false, Clear, Keep, Keep},
    {1, 3, true, true, Brake, Brake, Keep},
    // Codes that are no state of their own pass.
    {0, 49, false, false, Keep, Keep, Keep},
    {-1, 1, false, false, Keep, Keep, Keep},
    // No request.
    {1, 1, true, false, Ignored, Ignored, Ignored},
    {0, 50, false, true, Ignored, Ignored, Ignored},
    {0x10064, 0, false, true, Ignored, Ignored, Ignored},
    {50, 1, false, true, Ignored, Ignored, Ignored},
};

Outcome Expected(const Row& row, const GroupRow& group) {
  if (group.key == "head") return row.head;
  return group.key == "lift" ? row.lift : row.full;
}

constexpr std::int32_t kUntouched = -77;

void Check(VekRig& rig, const GroupRow& group, const Row& row) {
  SCOPED_TRACE(std::string(group.name) + " state " + std::to_string(row.state) + " request " +
               std::to_string(row.request));
  rig.SetState(group, row.state);
  shared::store(rig.sys, group.sys.group_state_request, -2 - row.request);
  shared::store(rig.sys, group.sys.state_transfer_cmd, kUntouched);
  shared::store(rig.sys, group.sys.soft_limit_disable, kUntouched);
  shared::store(rig.sys, group.sys.brake_unlock, row.brake ? 4 : 0);
  shared::store(rig.sys, group.sys.standstill, row.still ? 1 : 0);
  shared::store(rig.udp, group.udp.state_cmd, static_cast<std::uint16_t>(row.request));
  rig.TakeLog();

  rig.vek.OnProcessRtUdpState();

  const Outcome outcome = Expected(row, group);
  const bool accepted = outcome == Keep || outcome == Clear;
  const bool rejected = outcome == Brake || outcome == Moving;
  EXPECT_EQ(shared::load(rig.sys, group.sys.state_transfer_cmd),
            accepted ? row.request : kUntouched);
  EXPECT_EQ(shared::load(rig.sys, group.sys.soft_limit_disable), outcome == Clear ? 0 : kUntouched);
  EXPECT_EQ(shared::load(rig.udp, group.udp.state_cmd), rejected ? row.state : row.request);
  EXPECT_EQ(shared::load(rig.udp, group.udp.state_echo), static_cast<std::uint16_t>(row.state));
  EXPECT_EQ(shared::load(rig.udp, group.udp.state_request_echo),
            static_cast<std::uint32_t>(-2 - row.request));
  std::string line = std::string("ERROR ") + group.name + ": Failed to transfer to ";
  line +=
      group.key == "head" ? Vek::GetHeadStateStr(row.request) : Vek::GetArmStateStr(row.request);
  line += outcome == Brake ? ", some axes's brake is enforced unlocked" : ", robot is moving";
  EXPECT_EQ(rig.TakeLog(), std::vector<std::string>(rejected ? 1 : 0, line));
}

}  // namespace

TEST(UdpState, JudgesRequestsOfEveryGroup) {
  VekRig rig;
  ASSERT_TRUE(rig.Init());
  for (const GroupRow& group : kGroups) {
    for (const Row& row : kRows) Check(rig, group, row);
    // Brakes count only where there are axes.
    shared::store(rig.mac, group.axes, 0);
    Check(rig, group, {0, 1, true, true, Keep, Keep, Keep});
    // Park the group, so that it makes no requests of its own while the next one is judged.
    rig.SetState(group, GROUP_STATE_ERROR);
  }
}
