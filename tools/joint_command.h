// Joint commands of the set channel: what may be commanded, and what Vek makes of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/group_limits.h"
#include "vek/groups.h"

using JointCommand = std::vector<float>;  // ju, one a joint

// A Failure (status 2) unless these are as many finite numbers as the group's command has joints.
JointCommand ParseJointCommand(const GroupRow& group, const std::vector<std::string_view>& numbers);

struct JointTarget {
  Axes pos{};                        // ju
  std::vector<std::string> clamped;  // one text for each joint that its limits hold back
};
// The target that Vek takes over, the coupling of an arm's last joints apart. `unclamped`:
// soft_limit_disable, bit j frees joint j of its limits.
JointTarget ClampCommand(const JointCommand& command, const GroupLimits& limits, int unclamped);
