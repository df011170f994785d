#include "tools/drusim/actions.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "platform/simulated_time.h"
#include "tools/failure.h"
#include "tools/gpio_levels.h"
#include "tools/group_argument.h"
#include "tools/joint_command.h"
#include "tools/requests.h"

namespace {

namespace fs = std::filesystem;

struct Arguments {
  std::vector<std::string_view> words;  // the action's name first
  const fs::path& folder;

  const GroupRow& Group() const { return GroupByKey(words[1]); }
};

constexpr std::int64_t kLongestStall_ms = 60000;

template <class Integer>
Integer IntegerIn(std::string_view text, const char* what, Integer low, Integer high) {
  const auto value = ParseInteger(text);
  if (!value || *value < static_cast<long long>(low) || *value > static_cast<long long>(high)) {
    FailUsage("'", text, "' is no ", what, " from ", low, " to ", high);
  }
  return static_cast<Integer>(*value);
}

Action State(const Arguments& in) {
  return [group = &in.Group(), state = StateByName(in.words[2])](Robot& robot) {
    RequestState(robot.udp.get(), *group, state);
  };
}

Action Traj(const Arguments& in) {
  const GroupRow& group = TrajectoryGroupByKey(in.words[1]);
  const std::string file = (in.folder / in.words[2]).string();
  return [&group, waypoints = ReadWaypoints(file, group)](Robot& robot) {
    unsigned char* trajbuf = robot.TrajBuf().get();
    if (shared::load_acquire(robot.udp.get(), group.udp.traj_state) != TRAJ_IDLE) {
      Fail(group.key, " has a run already");
    }
    WriteTrajectory(trajbuf, group, waypoints);
    if (!StartTrajectory(robot.udp.get(), group)) Fail(group.key, " has a run already");
  };
}

Action Stop(const Arguments& in) {
  return [group = &TrajectoryGroupByKey(in.words[1])](Robot& robot) {
    if (!StopTrajectory(robot.udp.get(), *group)) Fail(group->key, " has no run to stop");
  };
}

Action Move(const Arguments& in) {
  const GroupRow& group = in.Group();
  return [&group, command = ParseJointCommand(group, Split(in.words[2], ','))](Robot& robot) {
    SendJointCommand(robot.udp.get(), group, command);
  };
}

Action Brake(const Arguments& in) {
  return [group = &in.Group(), on = OnOff(in.words[2])](Robot& robot) {
    robot.Group(*group).servos().SetBrakeUnlocked(on);
  };
}

Action Pause(const Arguments& in) {
  return [group = &in.Group(), on = OnOff(in.words[2])](Robot& robot) {
    robot.Group(*group).SetPaused(on);
  };
}

Action FailCommands(const Arguments& in) {
  return [group = &in.Group(), axis = ParseAxis(in.words[2]), on = OnOff(in.words[3])](
             Robot& robot) { robot.Group(*group).servos().SetFailing(axis, on); };
}

Action Fault(const Arguments& in) {
  constexpr std::uint32_t kHighest = std::numeric_limits<std::uint32_t>::max();
  return [group = &in.Group(), axis = ParseAxis(in.words[2]),
          code = IntegerIn<std::uint32_t>(in.words[3], "code", 1, kHighest)](Robot& robot) {
    robot.Group(*group).SetFault(axis, code);
  };
}

Action Answer(const Arguments& in) {
  return [on = OnOff(in.words[1])](Robot& robot) {
    for (ServoModel& group : robot.groups) group.servos().SetAnswering(on);
  };
}

Action Gyro(const Arguments& in) {
  return [on = OnOff(in.words[1])](Robot& robot) { robot.Gyro().SetConnected(on); };
}

Action GyroFreeze(const Arguments& in) {
  return [on = OnOff(in.words[2])](Robot& robot) { robot.Gyro().SetFrozen(on); };
}

Action Gpio(const Arguments& in) {
  using Level = std::numeric_limits<std::int32_t>;
  return [input = IntegerIn(in.words[1], "input", 0, kHighestGpioInput),
          level = IntegerIn(in.words[2], "level", Level::min(), Level::max())](Robot&) {
    SetGpioLevel(input, level);
  };
}

template <class Word>
std::vector<unsigned char> WordBytes(std::string_view text) {
  Word word{};
  if constexpr (std::is_floating_point_v<Word>) {
    const auto value = ParseDouble(text);
    if (!value) FailUsage("'", text, "' is no number");
    word = static_cast<Word>(*value);
    if (std::isinf(word) && !std::isinf(*value)) FailUsage("'", text, "' does not fit");
  } else {
    using Limits = std::numeric_limits<Word>;
    word = static_cast<Word>(IntegerIn<long long>(text, "number", Limits::min(), Limits::max()));
  }
  std::vector<unsigned char> bytes(sizeof word);
  std::memcpy(bytes.data(), &word, sizeof word);
  return bytes;
}

std::vector<unsigned char> ParseWord(std::string_view type, std::string_view text) {
  struct Row {
    std::string_view type;
    std::vector<unsigned char> (*parse)(std::string_view);
  };
  constexpr Row kTypes[] = {
      {"u8", WordBytes<std::uint8_t>},   {"i16", WordBytes<std::int16_t>},
      {"u16", WordBytes<std::uint16_t>}, {"i32", WordBytes<std::int32_t>},
      {"u32", WordBytes<std::uint32_t>}, {"f32", WordBytes<float>},
      {"f64", WordBytes<double>},
  };
  for (const Row& row : kTypes) {
    if (row.type == type) return row.parse(text);
  }
  FailUsage("no type ", type, ": u8, i16, u16, i32, u32, f32 and f64 are known");
}

Action Set(const Arguments& in) {
  struct Row {
    const AreaInfo& area;
    AreaView Robot::*view;
  };
  constexpr Row kAreas[] = {
      {kSysInfoArea, &Robot::sys}, {kMacArea, &Robot::mac}, {kUdpArea, &Robot::udp}};
  for (const Row& row : kAreas) {
    if (in.words[1] != row.area.key) continue;
    auto bytes = ParseWord(in.words[3], in.words[4]);
    const auto last = static_cast<std::size_t>(row.area.size) - bytes.size();
    const auto offset = IntegerIn<std::size_t>(in.words[2], "offset", 0, last);
    return [view = row.view, offset, bytes = std::move(bytes)](Robot& robot) {
      shared::write_bytes((robot.*view).get() + offset, bytes.data(), bytes.size());
    };
  }
  FailUsage("no area ", in.words[1], ": sysinfo, mac and udp can be set");
}

std::int64_t StallTime_ns(const Arguments& in) {
  constexpr std::int64_t kMillisecond_ns = 1'000'000;
  return IntegerIn(in.words[1], "time in ms", std::int64_t{0}, kLongestStall_ms) * kMillisecond_ns;
}

Action Stall(const Arguments& in) {
  return [time_ns = StallTime_ns(in)](Robot& robot) { robot.stall_ns += time_ns; };
}

Action StallVek(const Arguments& in) {
  return [time_ns = StallTime_ns(in)](Robot&) {
    if (!simulated_time::hold_controller(static_cast<RTIME>(time_ns))) {
      Fail("Vek stalls only in simulated time (VEK_CLOCK=lockstep)");
    }
  };
}

Action Quit(const Arguments&) {
  return [](Robot& robot) { robot.quit = true; };
}

struct ActionRow {
  std::string_view usage;  // the action's name and one word for each argument
  const char* meaning;
  Action (*parse)(const Arguments&);
};

constexpr ActionRow kActions[] = {
    {"state GROUP NAME", "asks Vek for a state, as a front end does", State},
    {"traj GROUP FILE.csv", "loads waypoints and starts the run", Traj},
    {"stop GROUP", "asks the run to stop", Stop},
    {"move GROUP Q,Q,...", "commands joint positions, rad or m", Move},
    {"brake GROUP on|off", "unlocks a brake, or locks all of the group", Brake},
    {"pause GROUP on|off", "takes no frames from the ring", Pause},
    {"fail GROUP AXIS on|off", "lets the commands to a servo fail", FailCommands},
    {"fault GROUP AXIS CODE", "gives a servo a fault: its group goes to ERROR", Fault},
    {"answer on|off", "lets all servos answer, or none", Answer},
    {"gyro on|off", "plugs the gyro's line in or out", Gyro},
    {"gyro freeze on|off", "lets the gyro repeat the values that it has", GyroFreeze},
    {"gpio INPUT LEVEL", "sets the level of a GPIO input", Gpio},
    {"set AREA OFFSET TYPE VALUE", "writes a word of sysinfo, mac or udp", Set},
    {"stall MS", "lets the cycle take that long", Stall},
    {"stall-vek MS", "lets Vek miss its beats for that long", StallVek},
    {"quit", "ends the simulation", Quit},
};

}  // namespace

std::size_t ParseAxis(std::string_view text) {
  return IntegerIn<std::size_t>(text, "axis", 0, AREA_AXES - 1);
}

std::vector<std::string_view> ActionWords(std::string_view line) {
  return Words(line.substr(0, line.find('#')));
}

Action ParseAction(std::vector<std::string_view> words, const fs::path& folder) {
  std::string expected;
  for (const ActionRow& row : kActions) {
    const auto usage = Words(row.usage);
    if (usage[0] != words[0]) continue;
    if (usage.size() == words.size()) return row.parse({std::move(words), folder});
    expected += Text(expected.empty() ? "'" : " or '", row.usage, "'");
  }
  if (expected.empty()) FailUsage("no action ", words[0]);
  FailUsage("expected ", expected);
}

std::string ActionList() {
  std::string text;
  for (const ActionRow& row : kActions) {
    text += Text("  ", row.usage, std::string(30 - row.usage.size(), ' '), row.meaning, '\n');
  }
  return text;
}
