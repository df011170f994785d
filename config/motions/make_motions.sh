#!/bin/sh
# Makes the sample motions beside this script: waypoints in radians (the lift's in metres), 20 ms apart, from zero at
# rest to rest, with speeds and accelerations within a fifth of what the sample robot.ini allows.
set -eu
cd "$(dirname "$0")"

# motion FILE JOINTS WAYPOINTS POSITION: POSITION is an awk expression of the joint j (from 1), the time t and the
# motion's duration end.
motion() {
  awk -v joints="$2" -v count="$3" "
    # From 0 to 1 for x from 0 to 1, with speed and acceleration 0 at both ends.
    function smooth(x) { return x <= 0 ? 0 : x >= 1 ? 1 : x * x * x * (10 + x * (6 * x - 15)) }
    # Fades in and out over 1.6 s.
    function faded(t) { return smooth(t / 1.6) * smooth((end - t) / 1.6) }
    # The way covered until t by a speed that rises smoothly from 0 to 1 within r.
    function ramp(t, r,  x) { x = t / r; return t <= 0 ? 0 : t >= r ? t - r / 2 : r * x * x * x * (1 - x / 2) }
    # A way of 1 within duration + r, at constant speed but for the two ramps.
    function stroke(t, duration, r) { return (ramp(t, r) - ramp(t - duration, r)) / duration }
    function position(j, t) { return $4 }
    BEGIN {
      pi = atan2(0, -1); end = (count - 1) * 0.02
      for (j = 1; j <= joints; ++j) printf \"j%d%s\", j, j < joints ? \",\" : \"\\n\"
      for (k = 0; k < count; ++k)
        for (j = 1; j <= joints; ++j) printf \"%.8f%s\", position(j, k * 0.02), j < joints ? \",\" : \"\\n\"
    }" >"$1"
}

# The arms end on a slow drift, so that every joint ends elsewhere than it began.
drift='0.05 * (4 - j) * smooth(t / end)'
# A wave that runs from the shoulder to the wrist.
motion arm0_wave.csv 7 400 "faded(t) * 0.15 * sin(pi * (0.5 * t - 0.2 * j)) + $drift"
# Figures of eight: the even joints swing twice as often as the odd ones, the wrist less than the shoulder.
motion arm1_eight.csv 7 360 \
  "faded(t) * (j % 2 ? 0.2 - 0.01 * j : 0.1 - 0.005 * j) * sin(pi * (j % 2 ? 0.4 : 0.8) * t) + $drift"
# A bow and back, each begun and ended so briskly that a flexible body vibrates.
motion body_bow.csv 6 250 \
  '(j == 5 ? -0.18 : 0.3 - 0.02 * j) * (stroke(t - 0.1, 1.5, 0.18) - stroke(t - 2.35, 1.5, 0.18))'
# Up, swaying a little.
motion lift_rise.csv 2 320 '(0.2 - 0.05 * j) * smooth(t / end) + faded(t) * 0.006 * sin(0.5 * pi * t)'
