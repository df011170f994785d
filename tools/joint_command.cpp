#include "tools/joint_command.h"

#include <cmath>

#include "tools/failure.h"

JointCommand ParseJointCommand(const GroupRow& group,
                               const std::vector<std::string_view>& numbers) {
  if (numbers.size() != group.udp.joint_cmd_axes) {
    FailUsage(numbers.size(), " joint positions, ", group.key, " needs ", group.udp.joint_cmd_axes);
  }
  JointCommand command;
  for (const std::string_view text : numbers) {
    const auto value = ParseDouble(Trim(text));
    if (!value) FailUsage("'", text, "' is no number");
    command.push_back(static_cast<float>(*value));
    if (!std::isfinite(command.back())) FailUsage("'", text, "' is not finite");
  }
  return command;
}

JointTarget ClampCommand(const JointCommand& command, const GroupLimits& limits, int unclamped) {
  JointTarget target;
  for (std::size_t j = 0; j < command.size(); ++j) {
    const double wanted = command[j];
    double& pos = target.pos[j];
    pos = wanted;
    if ((unclamped >> j & 1) != 0) continue;
    // As Vek does it: a limit that is no number clamps nothing.
    if (wanted > limits.pos_max[j]) {
      pos = limits.pos_max[j];
    } else if (wanted < limits.pos_min[j]) {
      pos = limits.pos_min[j];
    }
    if (pos != wanted) target.clamped.push_back(Text("joint ", j + 1, " is clamped to ", pos));
  }
  return target;
}
