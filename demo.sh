#!/usr/bin/env bash
# Shows Vek at work: builds it and lets all five groups move at the same time against the simulated servo task, then the
# body once more with its input shaper on. Checks every frame, compares what a flexible body would still vibrate, and
# draws what was played. Exit status 0 only when all of it went well.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/packages.sh

bin=build/bin
out=build/demo
runners=(arm0 arm1 body lift) # play trajectories
declare -A motions=([arm0]=config/motions/arm0_wave.csv [arm1]=config/motions/arm1_eight.csv
  [body]=config/motions/body_bow.csv [lift]=config/motions/lift_rise.csv)
head_target=(0.6 -0.35 0.25)
vibration_hz=3
vibration_damping=0.02

children=()
stop_children() {
  local pid
  for pid in "${children[@]}"; do
    if kill -KILL "$pid" 2>/dev/null; then wait "$pid" 2>/dev/null || true; fi
  done
}
trap stop_children EXIT
trap 'exit 130' INT TERM

fail() {
  echo "demo: $*" >&2
  [ -z "${root-}" ] || echo "demo: see $root/var/vek.log, $root/vek.txt and $root/drusim.txt" >&2
  exit 1
}

# wait_for TEXT FILE PID: until the file holds the text; fails when the process ends before, or after 20 s.
wait_for() {
  local tries
  for ((tries = 0; tries < 200; ++tries)); do
    if grep -qsF "$1" "$2"; then return 0; fi
    kill -0 "$3" 2>/dev/null || fail "process ended before \"$1\" stood in $2"
    sleep 0.1
  done
  fail "\"$1\" does not appear in $2"
}

# end_process NAME PID: asks by SIGINT and checks that it ends with status 0 within 10 s.
end_process() {
  local tries status=0
  kill -INT "$2" 2>/dev/null || fail "$1 had ended before it was asked to"
  for ((tries = 0; tries < 100; ++tries)); do
    kill -0 "$2" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$2" 2>/dev/null; then fail "$1 does not end"; fi
  wait "$2" || status=$?
  [ "$status" -eq 0 ] || fail "$1 ended with status $status"
}

build() {
  need_packages "${build_packages[@]}" googletest
  mkdir -p build
  echo "Building; the first time takes a minute"
  if ! { cmake --preset release &&
    cmake --build --preset release --parallel "$(nproc)" --target vek vekctl drusim; } \
    >build/build.log 2>&1; then
    tail -n 40 build/build.log >&2
    exit 1
  fi
}

# start NAME [INI]: a root of its own, the servo task and Vek in it; consumed frames go to NAME.csv.
start() {
  root=$out/$1
  recording=$out/$1.csv
  $bin/vekctl --root "$root" init ${2:+--ini "$2"} >/dev/null
  export VEK_ROOT="$PWD/$root"
  $bin/drusim --record "$recording" >"$root/drusim.txt" 2>&1 &
  drusim=$!
  VEK_LOG="$root/var/vek.log" $bin/vek >"$root/vek.txt" 2>&1 &
  vek=$!
  children=("$drusim" "$vek")
  wait_for "Vek is running..." "$root/var/vek.log" "$vek"
  echo "Vek is running, its log goes to $root/var/vek.log"
}

enter_position() {
  local group
  for group; do $bin/vekctl state "$group" POSITION || fail "$group does not reach POSITION"; done
}

stop() {
  sleep 0.8 # the last frames of the streams: all at rest, the shaper's delay included
  end_process drusim "$drusim"
  end_process vek "$vek"
  children=()
  grep -qx "VEK exit" "$root/vek.txt" || fail "vek did not say that it ended"
}

# report GROUPS VERIFY-ARGUMENT…: what the servo task saw of the groups (a pattern) and what the recording shows.
report() {
  local groups=$1
  shift
  echo
  echo "The servo task saw:"
  grep -E "^(cycles|missed|scheduling|worst|$groups) " "$root/drusim.txt" | sed 's/^/  /'
  echo "The recording shows:"
  $bin/vekctl verify "$recording" "$@" --log "$root/var/vek.log" | sed 's/^/  /' ||
    fail "the recording is not what Vek should have played"
}

# All groups move at the same time: four by trajectories, the head by a joint command.
play_all() {
  local group moves=() good=true trajectories=() waypoints=()
  start unshaped
  enter_position "${runners[@]}" head
  for group in "${runners[@]}"; do
    $bin/vekctl traj "$group" "${motions[$group]}" | cat &
    moves+=($!)
    trajectories+=(--traj "$group=${motions[$group]}")
    waypoints+=(--waypoints "$group=${motions[$group]}")
  done
  $bin/vekctl move head "${head_target[@]}" &
  moves+=($!)
  for group in "${!moves[@]}"; do wait "${moves[group]}" || good=false; done
  $good || fail "a motion was not played to its end"
  stop
  report "arm0|arm1|head|body|lift" "${trajectories[@]}" --move "head=$(IFS=,; echo "${head_target[*]}")"
  $bin/vekctl plot "$recording" "$out/frames.png" "${waypoints[@]}" >/dev/null
}

# The body alone, shaped against the vibration.
play_shaped() {
  local ini=$out/shaped.ini
  sed -e "s/^ISFrequency=.*/ISFrequency=$vibration_hz/" -e "s/^ISDamp=.*/ISDamp=$vibration_damping/" \
    -e "s/^ISThreshold=.*/ISThreshold=0/" config/robot.ini >"$ini"
  echo
  echo "The same again for the body, shaped against $vibration_hz Hz"
  start shaped "$ini"
  enter_position body
  sleep 1 # the shaper blends once the body has rested for its delay
  $bin/vekctl traj body "${motions[body]}" | cat || fail "the body's motion was not played to its end"
  stop
  report body --traj "body=${motions[body]}"
}

# A tuned shaper leaves less than a tenth of a vibration that is worth mentioning.
compare() {
  echo
  echo "A flexible body of $vibration_hz Hz would vibrate on after these motions:"
  $bin/vekctl vibration "$out/shaped.csv" --against "$out/unshaped.csv" --frequency "$vibration_hz" \
    --damping "$vibration_damping" --least 0.002 --below 0.1 --plot "$out/shaper.png" | sed 's/^/  /' ||
    fail "the shaper does not quieten the body"
}

build
rm -rf "$out"
mkdir -p "$out"
play_all
play_shaped
compare
echo
echo "Plots: $out/frames.png"
echo "       $out/shaper.png"
