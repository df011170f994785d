#include "tools/group_argument.h"

#include "tools/failure.h"

const GroupRow& GroupByKey(std::string_view key) {
  const GroupRow* group = FindGroup(key);
  if (group == nullptr) FailUsage("no group ", key, ": arm0, arm1, head, body and lift are known");
  return *group;
}

const GroupRow& TrajectoryGroupByKey(std::string_view key) {
  const GroupRow& group = GroupByKey(key);
  if (!group.plays_trajectories()) FailUsage("group ", key, " plays no trajectories");
  return group;
}

int StateByName(std::string_view name) {
  const int code = GroupStateCode(name);
  if (code < GROUP_STATE_IDLE || code > GROUP_STATE_RELEASE) {
    FailUsage("no state ", name, ": IDLE, POSITION, TORQUE and RELEASE can be asked for");
  }
  return code;
}

GroupValue SplitGroupValue(std::string_view option, std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) FailUsage(option, ": ", text, " is not GROUP=…");
  return {&GroupByKey(text.substr(0, equals)), text.substr(equals + 1)};
}

const char* JointUnit(const GroupRow& group) {
  return group.key == "lift" ? "m" : "rad";
}
