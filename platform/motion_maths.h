// Motion maths, per group of up to eight axes: a profile generator that tracks a target within
// velocity and acceleration limits (ZQNSyncDTS) and an averaging filter (ZQAVGF). Units are the
// caller's: u, u/s, u/s^2 (radians or metres). Arrays hold one entry an axis; entries beyond the
// axis count are neither read nor written. The state blocks are plain, start all zero and are owned
// by one thread. After OnInit every call is real-time safe; on a state that was never initialised
// it does nothing.
#pragma once

inline constexpr int kMathsAxes = 8;

// State of a profile generator; the fields are the library's own.
struct ZQNSyncDTS {
  int axes = 0;                 // 0: not initialised
  bool placed = false;          // position and target are valid
  bool following = false;       // the targets are samples of a run
  bool run_begins = false;      // the next target has no speed of its own
  bool brakes_settled = false;  // every axis brakes by its acceleration limit
  double period_s = 0;          // one step
  double rate_hz = 0;           // 1 / period_s
  double pos[kMathsAxes]{};
  double speed[kMathsAxes]{};           // planned; differs from vel by what rounds the positions
  double vel[kMathsAxes]{};             // last step / period
  double target[kMathsAxes]{};          // the last finite target
  double target_speed[kMathsAxes]{};    // of a run: last step / period, within the velocity limit
  double reserve[kMathsAxes]{};         // of a run: largest change of that speed, jumps aside
  double mark_speed[kMathsAxes]{};      // of a run: its speed where the present stretch began
  double hardest[kMathsAxes]{};         // of a run: largest mean change in a step of a stretch
  double hardest_before[kMathsAxes]{};  // of a run: the same, of the time before
  double stretch_s = 0;                 // how long the present stretch is
  double hardest_age_s = 0;             // since when `hardest` has been kept
  double plan_of[kMathsAxes]{};         // of a run: the acc_speed that the next two belong to
  double plan_speed[kMathsAxes]{};      // of a run: what it leaves of the acc_speed
  double per_plan_way[kMathsAxes]{};    // of a run: 1 / (plan_speed * period)
  double vel_limit[kMathsAxes]{};
  double acc_speed[kMathsAxes]{};      // what the acceleration limit adds to a speed in one step
  double acc_way[kMathsAxes]{};        // acc_speed * period
  double per_acc_way[kMathsAxes]{};    // 1 / acc_way, or huge
  double landing_speed[kMathsAxes]{};  // how closely plan and target agree where an axis lands
  double brake_speed[kMathsAxes]{};    // what an axis may lose of its speed in one step
  double third_limit[kMathsAxes]{};
};

// False, leaving the state uninitialised, when axes is outside 1..8 or dt_ms is not positive and
// finite (nor are periods beyond 1e100 s or its inverse taken). A limit that is negative or not
// finite counts as 0, here and in the calls that replace limits. The third limits are kept and take
// no part.
bool ZQNSyncDTS_OnInit(ZQNSyncDTS* state, long axes, double dt_ms, const double* vel,
                       const double* acc, const double* third);
// Forgets position and motion; the limits stay. The next OnDT places; an OnDT2 before it does too.
void ZQNSyncDTS_OnEmpty(ZQNSyncDTS* state);
// Places the generator at rest at `target` and reports that as `pos`. An entry that is not finite
// stands for the last finite target of that axis, 0 when there was none; so in OnDT2.
void ZQNSyncDTS_OnDT(ZQNSyncDTS* state, const double* target, double* pos);
// One step towards `target`: the new position, its difference over the period (velocity) and that
// one's difference (acceleration). Both keep within the limits, whatever the targets; above the
// velocity limit an axis brakes. It reaches a target that stands still in the fewest steps, exactly
// and for good, and passes it only when it can no longer stop; started at rest it never leaves the
// range of its targets. While an acceleration limit was lowered too late to stop before the target,
// the axis brakes by the largest one in force since it could. Without acceleration (limit 0, or too
// small for the position's resolution) it brakes so to rest and stays; a speed limit too small for
// that resolution moves nothing either.
void ZQNSyncDTS_OnDT2(ZQNSyncDTS* state, const double* target, double* pos, double* vel,
                      double* acc);
// On: the targets from now on are the samples of a run, and the axes follow them instead of
// stopping before each. Samples whose own steps keep the limits are hit exactly once an axis is on
// them; a run that is stopped dead is passed by the stopping distance at most. Axes off their
// samples are kept in the run's range by how hard it lately changed its speed. That is an estimate:
// a run that brakes harder than it did may be left by more, and one that keeps the limits by some
// thousandths of a unit. Off, as at first: back to what OnDT2 says. A platform's library may lack
// this call: then it is null, and a group lags behind its run.
[[gnu::weak]] void ZQNSyncDTS_OnFollow(ZQNSyncDTS* state, bool on);
// Replaces the limits in force from the next step on.
void ZQNSyncDTS_OnSetRunTimeLmt(ZQNSyncDTS* state, const double* vel, const double* acc);
void ZQNSyncDTS_OnSetRunTimeVel(ZQNSyncDTS* state, const double* vel);
void ZQNSyncDTS_OnSetRunTimeAcc(ZQNSyncDTS* state, const double* acc);

inline constexpr int kFilterWindow = 30;

// State of an averaging filter; the fields are the library's own.
struct ZQAVGF {
  int axes = 0;  // 0: not initialised
  int window = 0;
  int next = 0;         // row of the oldest samples
  bool filled = false;  // the window holds samples
  double span_s = 0;    // window * period
  double ring[kFilterWindow][kMathsAxes]{};
  double sum[kMathsAxes]{};        // of the window, in parts of the samples
  double fresh_sum[kMathsAxes]{};  // of the rows before `next`
  double equal[kMathsAxes]{};      // how many of the newest samples are the same, up to window
};

// A mean of `window` samples (1..30) taken every `period_s` seconds. False, leaving the state
// uninitialised, when axes is outside 1..8, window out of range or the period not positive and
// finite.
bool ZQAVGF_OnInit(ZQAVGF* state, long axes, long window, double period_s);
// Forgets the samples; the next one fills the window.
void ZQAVGF_OnEmpty(ZQAVGF* state);
// Takes one sample an axis; gives the mean of the last `window` ones, to 1e-12 of the largest of
// the last two windows, and its velocity: the newest sample's distance from the one `window`
// samples before it, over the window's time. When the window's samples, two at least, are the same
// double, gives exactly that one and velocity 0. A sample that is not finite repeats the one before
// it, 0 at first. `out` may be `in`.
void ZQAVGF_OnFilt(ZQAVGF* state, const double* in, double* out, double* vel);

// Square root; 0 for what is not positive.
double ZQ_Sqrt(double x);
