#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <thread>

#include "platform/host.h"
#include "tools/vekctl/commands.h"
#include "tools/vekctl/live_view.h"

namespace {

constexpr std::chrono::milliseconds kSample{200};

struct Areas {
  AreaView sys{kSysInfoArea}, cfg{kCfgConfigArea}, mac{kMacArea}, udp{kUdpArea},
      vek2dru{kVek2DruArea};
  std::optional<AreaView> trajbuf;  // missing until Vek has made it
};

std::string TrajText(const Areas& areas, const GroupRow& group) {
  if (!group.plays_trajectories()) return "-";
  std::string text = TrajStateName(TrajState(areas.udp, group));
  if (areas.trajbuf) {
    text += Text(' ', shared::load(areas.trajbuf->get(), group.traj.next_point), '/',
                 shared::load(areas.trajbuf->get(), group.traj.point_count));
  }
  return text;
}

void PrintTask(const char* name, bool alive, std::uint64_t start, std::uint64_t end) {
  std::printf("%-4s %s", name, alive ? "running" : "standing still");
  if (alive && end >= start) std::printf(", cycle %.1f us", static_cast<double>(end - start) / 1e3);
  std::printf("\n");
}

void PrintTasks(const AreaView& sys) {
  const auto vek_start = SHARED_FIELD(SysInfo, vek_cycle_start_ns);
  const auto dru_start = SHARED_FIELD(SysInfo, dru_cycle_start_ns);
  const auto vek_before = shared::load(sys.get(), vek_start);
  const auto dru_before = shared::load(sys.get(), dru_start);
  std::this_thread::sleep_for(kSample);
  const auto vek_now = shared::load(sys.get(), vek_start);
  const auto dru_now = shared::load(sys.get(), dru_start);
  PrintTask("vek", vek_now != vek_before, vek_now,
            shared::load(sys.get(), SHARED_FIELD(SysInfo, vek_cycle_end_ns)));
  PrintTask("dru", dru_now != dru_before, dru_now,
            shared::load(sys.get(), SHARED_FIELD(SysInfo, dru_cycle_end_ns)));
}

void PrintGroup(const Areas& areas, const GroupRow& group) {
  const unsigned char* sys = areas.sys.get();
  const unsigned char* udp = areas.udp.get();
  const int frames = RingFrames(areas.vek2dru, group);
  const std::string axes = Text(shared::load(areas.mac.get(), group.axes), '/',
                                shared::load(areas.cfg.get(), group.cfg.dof));
  const std::string percents =
      Text(shared::load(udp, group.udp.vel_percent), '/', shared::load(udp, group.udp.acc_percent));
  std::printf("%-6s %-18s %-18s %-6d %-10s %-8s %-8s %-9s %-5s %s\n", group.key.data(),
              GroupStateName(group, GroupState(areas.sys, group)),
              GroupStateName(group, shared::load(udp, group.udp.state_cmd)),
              shared::load(sys, group.sys.group_state_request),
              shared::load(sys, group.sys.standstill) != 0 ? "yes" : "no",
              shared::load(sys, group.sys.brake_unlock) != 0 ? "unlocked" : "locked", axes.c_str(),
              percents.c_str(), frames < 0 ? "bad" : std::to_string(frames).c_str(),
              TrajText(areas, group).c_str());
}

}  // namespace

int RunStatus(const RootOption& root) {
  SettleRoot(root);
  Areas areas;
  if (std::filesystem::exists(host_path(kTrajBufArea.path))) areas.trajbuf.emplace(kTrajBufArea);
  PrintTasks(areas.sys);
  const bool loaded = shared::load(areas.cfg.get(), SHARED_FIELD(CfgConfig, load_complete)) == 1;
  std::printf("robot.ini %s\n\n", loaded ? "loaded" : "not loaded");
  std::printf("%-6s %-18s %-18s %-6s %-10s %-8s %-8s %-9s %-5s %s\n", "group", "state", "request",
              "forced", "standstill", "brake", "axes/Dof", "vel/acc %", "ring", "trajectory");
  for (const GroupRow& group : kGroups) PrintGroup(areas, group);
  return 0;
}
