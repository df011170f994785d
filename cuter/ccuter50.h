// Multi-point trajectory planner.
#pragma once

// Turns a stream of equally spaced waypoints for up to eight axes into position samples, twenty for
// every waypoint interval: the quartic through five successive waypoints, sampled in steps of 1/20,
// then a ten-tap moving average. Pure arithmetic on its own members: no allocation, no system call.
// One thread. Units are those of the waypoints, which are not checked.
class CCuter50 {
 public:
  CCuter50();
  virtual ~CCuter50() = default;

  // Sets the number of axes; false, changing nothing, above 8. Zero or fewer axes are accepted and
  // plan nothing.
  bool OnInit(long axes);
  // Abandons a cut in progress.
  void OnEmpty();
  // out[i] = sum over j of fit_matrix[i][j] * d[j]: coefficients of t, t^2, t^3, t^4 from four
  // waypoint differences.
  void GetABCD(const double* d, double* out) const;

  // The three cuts give false, changing nothing, when called out of order: OnCutStart, OnCutPoint
  // any number of times, OnCutStop. Waypoints are arrays of one position an axis, blocks are
  // indexed [axis][sample].

  // Starts with five waypoints; 40 samples, from the first waypoint to just before the third.
  bool OnCutStart(const double* p0, const double* p1, const double* p2, const double* p3,
                  const double* p4, double (*block)[40]);
  // Takes the next waypoint; the 20 samples of the interval that begins three waypoints before it.
  bool OnCutPoint(const double* point, double (*block)[20]);
  // Ends; the 51 samples up to the last waypoint and at it.
  bool OnCutStop(double (*block)[51]);

 private:
  void Fit(int axis);
  template <int N>
  void EmitBlock(double (*block)[N], int first);
  double EmitSample(int axis, double t);

  int axis_count = 0;
  bool stopped = false;
  bool inited = false;
  double fit_matrix[4][4];
  double span_pos[5][8]{};
  double coef[8][4]{};
  double avg_ring[8][10]{};
  double avg_sum[8]{};
  int ring_index = 0;
};
