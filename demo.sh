#!/usr/bin/env bash
# Shows Vek at work: builds it, lets both arms play a motion each at the same time against the simulated servo task,
# checks every frame and draws what was played. Exit status 0 only when the run ended well.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/packages.sh

bin=build/bin
root=build/demo
arms=(arm0 arm1)
motions=(config/motions/arm0_wave.csv config/motions/arm1_eight.csv)

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
  echo "demo: see $root/var/vek.log, $root/vek.txt and $root/drusim.txt" >&2
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

start() {
  rm -rf "$root"
  $bin/vekctl --root "$root" init
  export VEK_ROOT="$PWD/$root"
  $bin/drusim --record "$root/frames.csv" --groups "$(IFS=,; echo "${arms[*]}")" \
    >"$root/drusim.txt" 2>&1 &
  drusim=$!
  VEK_LOG="$root/var/vek.log" $bin/vek >"$root/vek.txt" 2>&1 &
  vek=$!
  children=("$drusim" "$vek")
  wait_for "Vek is running..." "$root/var/vek.log" "$vek"
  echo "Vek's log goes to $root/var/vek.log"
}

play() {
  local k runs=() good=true
  for k in "${!arms[@]}"; do
    $bin/vekctl state "${arms[k]}" POSITION || fail "${arms[k]} does not reach POSITION"
  done
  for k in "${!arms[@]}"; do
    $bin/vekctl traj "${arms[k]}" "${motions[k]}" | cat &
    runs+=($!)
  done
  for k in "${!runs[@]}"; do wait "${runs[k]}" || good=false; done
  $good || fail "a motion was not played to its end"
  sleep 0.5 # the last frames of the stream: the arms at rest
}

stop() {
  end_process drusim "$drusim"
  end_process vek "$vek"
  children=()
  grep -qx "VEK exit" "$root/vek.txt" || fail "vek did not say that it ended"
}

summary() {
  local k good=true trajectories=() waypoints=()
  for k in "${!arms[@]}"; do
    trajectories+=(--traj "${arms[k]}=${motions[k]}")
    waypoints+=(--waypoints "${arms[k]}=${motions[k]}")
  done
  echo
  echo "The servo task saw:"
  grep -vE "^($(IFS='|'; echo "head|body|lift")) " "$root/drusim.txt" | sed 's/^/  /'
  echo "The recording shows:"
  $bin/vekctl verify "$root/frames.csv" "${trajectories[@]}" --log "$root/var/vek.log" | sed 's/^/  /' || good=false
  echo
  echo -n "Plot: "
  $bin/vekctl plot "$root/frames.csv" "$root/frames.png" "${waypoints[@]}"
  $good || fail "the recording is not what Vek should have played"
}

build
start
play
stop
summary
