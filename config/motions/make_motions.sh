#!/bin/sh
# Makes the sample motions beside this script: waypoints of seven joints in radians, 20 ms apart, from zero at rest to
# rest. Speeds stay below 0.35 rad/s and accelerations below 1.2 rad/s^2, within a fifth of what the sample robot.ini
# allows.
set -eu
cd "$(dirname "$0")"

# motion FILE WAYPOINTS SHAPE: SHAPE is an awk expression of the joint j (1..7) and the time t. It is faded in and out
# over 1.6 s, and a slow drift carries each joint to its end position.
motion() {
  awk -v count="$2" "
    # From 0 to 1 for x from 0 to 1, with speed and acceleration 0 at both ends.
    function smooth(x) { return x <= 0 ? 0 : x >= 1 ? 1 : x * x * x * (10 + x * (6 * x - 15)) }
    function shape(j, t) { return $3 }
    BEGIN {
      pi = atan2(0, -1); end = (count - 1) * 0.02; fade = 1.6
      print \"j1,j2,j3,j4,j5,j6,j7\"
      for (k = 0; k < count; ++k) {
        t = k * 0.02
        window = smooth(t / fade) * smooth((end - t) / fade)
        for (j = 1; j <= 7; ++j)
          printf \"%.8f%s\", window * shape(j, t) + 0.05 * (4 - j) * smooth(t / end), j < 7 ? \",\" : \"\\n\"
      }
    }" >"$1"
}

# A wave that runs from the shoulder to the wrist.
motion arm0_wave.csv 400 '0.15 * sin(pi * (0.5 * t - 0.2 * j))'
# Figures of eight: the even joints swing twice as often as the odd ones, the wrist less than the shoulder.
motion arm1_eight.csv 360 '(j % 2 ? 0.2 - 0.01 * j : 0.1 - 0.005 * j) * sin(pi * (j % 2 ? 0.4 : 0.8) * t)'
