#!/usr/bin/env bash
# Measures how much faster than real time simulated time passes: Vek and drusim in lockstep, all five groups moving for
# ten seconds. Prints rows for the tables of docs/performance.md; exit status 1 when the goal is missed.
#
#   bench/lockstep.sh [FOLDER]   the programs' folder, build/bin by default
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

runs=9
goal=50
ticks=10000
bin=${1-build/bin}

work=$(mktemp -d)
vek=
clean_up() {
  if [ -n "$vek" ] && kill -KILL "$vek" 2>/dev/null; then wait "$vek" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM
export VEK_ROOT=$work/root VEK_LOG=$work/vek.log VEK_CLOCK=lockstep
"$bin/vekctl" init >/dev/null

# Runs and commands that follow each other, so that every group moves most of the time.
make_script() {
  local group tick
  for group in arm0 arm1 head body lift; do echo "0 state $group POSITION"; done
  echo "100 traj arm0 $PWD/config/motions/arm0_wave.csv"
  echo "100 traj arm1 $PWD/config/motions/arm1_eight.csv"
  for tick in 100 5200; do echo "$tick traj body $PWD/config/motions/body_bow.csv"; done
  echo "100 traj lift $PWD/config/motions/lift_rise.csv"
  for ((tick = 100; tick < ticks; tick += 2000)); do
    echo "$tick move head 0.6,-0.35,0.25"
    echo "$((tick + 1000)) move head -0.6,0.35,-0.25"
  done
  echo "$ticks quit"
}
make_script >"$work/script"

# play [OPTION …]: one run; how long drusim took for it, s, into `seconds`.
play() {
  local begin end status=0
  "$bin/vek" >"$work/vek.txt" 2>&1 &
  vek=$!
  begin=$EPOCHREALTIME
  "$bin/drusim" --script "$work/script" "$@" >"$work/drusim.txt" 2>&1 || status=$?
  end=$EPOCHREALTIME
  kill -INT "$vek"
  wait "$vek" || status=$?
  vek=
  seconds=$(awk -v begin="$begin" -v end="$end" 'BEGIN { print end - begin }')
  if [ "$status" -ne 0 ] || ! grep -q "^cycles $((ticks + 1))$" "$work/drusim.txt"; then
    cat "$work/vek.txt" "$work/drusim.txt" >&2
    exit 2
  fi
}

# row TEXT GOAL [OPTION …]: the median of the runs as a row; without a goal when it is 0.
row() {
  local text=$1 wanted=$2 run
  shift 2
  : >"$work/seconds"
  for ((run = 0; run < runs; ++run)); do
    play "$@"
    echo "$seconds" >>"$work/seconds"
  done
  sort -n "$work/seconds" | awk -v text="$text" -v goal="$wanted" -v ticks="$ticks" '
    { seconds[NR] = $1 }
    END {
      median = NR % 2 ? seconds[(NR + 1) / 2] : (seconds[NR / 2] + seconds[NR / 2 + 1]) / 2
      times = ticks / 1000 / median
      holds = times >= goal
      verdict = goal > 0 ? sprintf("≥ %d × | %s", goal, holds ? "yes" : "**no**") : " | "
      printf "| %s | %.0f ms | %.0f × | %s |\n", text, 1000 * median, times, verdict
      exit !holds
    }'
}

status=0
row "five groups" "$goal" || status=1
row "five groups, every frame recorded" 0 --record "$work/frames.csv"
exit "$status"
