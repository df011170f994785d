// The whole cycle, its stages alone, and the same arithmetic with nothing around it.
#include <cmath>
#include <vector>

#include "bench/floor.h"
#include "bench/robot.h"
#include "bench/work.h"

namespace {

constexpr double kPeriod_s = 0.001;
constexpr long kAllAxes = AREA_AXES;
constexpr long kArmAxes = 7;

// A moving target for eight axes, u: sines that end where they begin.
class Targets {
 public:
  Targets() : samples_(kSamples) {
    for (std::size_t k = 0; k < kSamples; ++k) {
      for (std::size_t a = 0; a < AREA_AXES; ++a) {
        const double turns = static_cast<double>((a + 1) * k) / kSamples;
        samples_[k][a] = std::sin(2 * M_PI * turns);
      }
    }
  }
  const double* Next() { return samples_[next_++ % kSamples].data(); }

 private:
  static constexpr std::size_t kSamples = 4096;
  std::vector<Axes> samples_;
  std::size_t next_ = 0;
};

struct Limits {
  Axes vel, acc;
  Limits() {
    vel.fill(3);
    acc.fill(20);
  }
};

struct Cycle {
  Robot& robot = Robot::Get();
  void Run() {
    robot.ServeOthers();
    robot.vek.OnProcessUdpSet();
    robot.vek.OnProcessRtUdpState();
    robot.vek.OnProcessPosCtrlArm0();
    robot.vek.OnProcessPosCtrlArm1();
    robot.vek.OnProcessPosCtrlHead();
    robot.vek.OnProcessPosCtrlBody();
    robot.vek.OnProcessPosCtrlLift();
  }
};

struct SetChannel {
  Robot& robot = Robot::Get();
  void Run() { robot.vek.OnProcessUdpSet(); }
};

struct SetChannelBusy : SetChannel {
  void Run() {
    robot.RequestEverything();
    SetChannel::Run();
  }
};

struct StateChannel {
  Robot& robot = Robot::Get();
  void Run() { robot.vek.OnProcessRtUdpState(); }
};

struct StateChannelBusy : StateChannel {
  StateChannelBusy() { robot.RequestStates(GROUP_STATE_IDLE); }
  ~StateChannelBusy() { robot.RequestStates(GROUP_STATE_POSITION); }
};

template <int kGroup, void (Vek::*kProcess)()>
struct Controller {
  Robot& robot = Robot::Get();
  void Run() {
    robot.EmptyRing(kGroups[kGroup]);
    robot.RestartRun(kGroups[kGroup]);
    (robot.vek.*kProcess)();
  }
};
using ArmController = Controller<0, &Vek::OnProcessPosCtrlArm0>;
using BodyController = Controller<3, &Vek::OnProcessPosCtrlBody>;

struct TrajectoryStep {
  Robot& robot = Robot::Get();
  Axes target{};
  void Run() {
    robot.RestartRun(kGroups[0]);
    robot.vek.ComputeArmTraj(0, target.data());
  }
};

// Waypoints of arm0, over and over.
class Points {
 public:
  const float* Next() { return points_[next_++ % points_.size()].joint.data(); }

 private:
  const std::vector<Waypoint>& points_ = SampleMotion(kGroups[0]).points;
  std::size_t next_ = 0;
};

struct CutBlock {
  CCuter50 cutter;
  Points points;
  double bgn[AREA_AXES][40];
  double block[AREA_AXES][20];
  CutBlock() {
    const double p[AREA_AXES]{};
    cutter.OnInit(kArmAxes);
    cutter.OnCutStart(p, p, p, p, p, bgn);
  }
  void Run() {
    const float* const point = points.Next();
    double p[AREA_AXES]{};
    for (std::size_t a = 0; a < kArmAxes; ++a) p[a] = point[a];
    cutter.OnCutPoint(p, block);
    benchmark::DoNotOptimize(&block);
  }
};

struct CutFloor {
  BareCut cut;
  Points points;
  void Run() {
    cut.Cut(kArmAxes, points.Next());
    benchmark::DoNotOptimize(&cut);
  }
};

template <bool following>
struct Generator {
  ZQNSyncDTS state;
  Targets targets;
  Axes pos{}, vel{}, acc{};
  Generator() {
    const Limits limits;
    ZQNSyncDTS_OnInit(&state, kAllAxes, kPeriod_s * 1000, limits.vel.data(), limits.acc.data(),
                      limits.acc.data());
    ZQNSyncDTS_OnDT(&state, targets.Next(), pos.data());
    ZQNSyncDTS_OnFollow(&state, following);
  }
  void Run() {
    ZQNSyncDTS_OnDT2(&state, targets.Next(), pos.data(), vel.data(), acc.data());
    benchmark::DoNotOptimize(pos);
  }
};

struct GeneratorFloor {
  BareTracker tracker;
  Targets targets;
  GeneratorFloor() {
    const Limits limits;
    tracker.Init(kAllAxes, limits.vel.data(), limits.acc.data(), kPeriod_s);
  }
  void Run() {
    tracker.Step(targets.Next());
    benchmark::DoNotOptimize(&tracker);
  }
};

struct Filter {
  ZQAVGF state;
  Targets targets;
  Axes pos{}, vel{};
  Filter() { ZQAVGF_OnInit(&state, kAllAxes, 30, kPeriod_s); }
  void Run() {
    ZQAVGF_OnFilt(&state, targets.Next(), pos.data(), vel.data());
    benchmark::DoNotOptimize(pos);
  }
};

struct FilterFloor {
  BareMean mean;
  Targets targets;
  void Run() {
    mean.Step(kAllAxes, targets.Next());
    benchmark::DoNotOptimize(&mean);
  }
};

// A frame packed and written into a ring that is read at once.
struct FrameIntoRing {
  alignas(4) unsigned char bytes[AREA_RING_SIZE]{};
  KACB writer;
  KACBReader reader;
  Frame frame;
  FrameIntoRing() {
    writer.OnAttach(bytes, sizeof bytes);
    reader.OnAttach(bytes, sizeof bytes);
  }
  void Run() {
    benchmark::DoNotOptimize(frame);
    const PvtFrame packed = PackFrame(frame);
    writer.OnWrite(&packed, sizeof packed);
    reader.OnEmpty();
  }
};

struct Shaper {
  Robot& robot = Robot::Get();
  InputShaper shaper;
  CACB ring;
  Targets targets;
  Frame frame;
  Shaper() {
    ring.OnInitSize(InputShaper::kRingBytes);
    shaper.OnArm(robot.cfg(), ring);
  }
  void Run() {
    std::copy_n(targets.Next(), AREA_AXES, frame.pos.begin());
    shaper.OnShape(robot.cfg(), ring, "bench", frame);
    benchmark::DoNotOptimize(frame);
  }
};

const bool kRegistered = [] {
  using bench::Register;
  Register<Cycle>("cycle");
  Register<FloorCycle>("cycle/floor");
  Register<SetChannel>("set_channel");
  Register<SetChannelBusy>("set_channel/15_commands");
  Register<StateChannel>("state_channel");
  Register<StateChannelBusy>("state_channel/5_requests");
  Register<ArmController>("controller/arm0");
  Register<BodyController>("controller/body_shaped");
  Register<TrajectoryStep>("trajectory_step");
  Register<CutBlock>("cut_block");
  Register<CutFloor>("cut_block/floor");
  Register<Generator<false>>("generator");
  Register<Generator<true>>("generator/following");
  Register<GeneratorFloor>("generator/floor");
  Register<Filter>("filter");
  Register<FilterFloor>("filter/floor");
  Register<FrameIntoRing>("frame_into_ring");
  Register<Shaper>("shaper");
  return true;
}();

}  // namespace
