#!/usr/bin/env bash
# Compares Vek's wake-up latency with that of cyclictest, which does nothing but wake up: alternating pairs of runs at
# the same priority, period and processor. Prints the mean latencies of each pair and the median of their ratios.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/packages.sh

pairs=10
seconds=10
bin=build/bin
priority=95
period_us=1000
goal=1.2

usage() {
  echo "usage: bench/latency.sh [--pairs N] [--seconds S] [--bin DIR]   (10 pairs of 10 s, build/bin)" >&2
  exit 2
}
while [ $# -gt 0 ]; do
  [ $# -ge 2 ] || usage
  case "$1" in
    --pairs) pairs=$2 ;;
    --seconds) seconds=$2 ;;
    --bin) bin=$2 ;;
    *) usage ;;
  esac
  shift 2
done

need_packages rt-tests jq
work=$(mktemp -d)
vek=
clean_up() {
  if [ -n "$vek" ] && kill -KILL "$vek" 2>/dev/null; then wait "$vek" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM
export VEK_ROOT=$work/root
"$bin/vekctl" init >/dev/null

# Where Vek's task runs: on processor 1 if there is one.
processor=0
taskset -c 1 true 2>/dev/null && processor=1

# Mean and largest latency of a run of Vek, us, into `result`. Its start is no part of them.
run_vek() {
  local status=0
  "$bin/vek" >"$work/vek.txt" 2>&1 &
  vek=$!
  sleep 1
  "$bin/vekctl" timing --reset >/dev/null
  sleep "$1"
  "$bin/vekctl" timing --json >"$work/vek.json"
  kill -INT "$vek"
  wait "$vek" || status=$?
  vek=
  [ "$status" -eq 0 ] || { echo "vek ended with status $status" >&2; exit 1; }
  result=$(jq -r '"\(.wake_up_us.mean) \(.wake_up_us.max)"' "$work/vek.json")
}

# The same of cyclictest.
run_cyclictest() {
  cyclictest --quiet --mlockall --policy=fifo --priority="$priority" --interval="$period_us" --threads=1 \
    --affinity="$processor" --nsecs --duration="$1" --json="$work/cyclictest.json" >/dev/null
  result=$(jq -r '.thread["0"] | "\(.avg / 1000) \(.max / 1000)"' "$work/cyclictest.json")
}

run_vek 1 # to see what it may, and to have its files in memory
if jq -e '.lacks | index("no real-time priority")' "$work/vek.json" >/dev/null; then
  echo "not measured: no real-time priority (run it as root)"
  exit 0
fi

echo "priority $priority, period $period_us us, processor $processor, $seconds s a run; mean (max) latency in us"
printf '%4s %20s %20s %8s\n' pair vek cyclictest ratio
declare -A means
for ((pair = 1; pair <= pairs; ++pair)); do
  # Who goes first changes from pair to pair, so that a load that grows or shrinks favours neither.
  if ((pair % 2 == 1)); then
    order=(vek cyclictest)
  else
    order=(cyclictest vek)
  fi
  for name in "${order[@]}"; do
    "run_$name" "$seconds"
    means[$name]=$result
  done
  echo "$pair ${means[vek]} ${means[cyclictest]}" | awk -v ratios="$work/ratios" '{
    printf "%4d %10.1f (%7.1f) %10.1f (%7.1f) %8.2f\n", $1, $2, $3, $4, $5, $2 / $4
    print $2 / $4 >> ratios
  }'
done
sort -n "$work/ratios" | awk -v goal="$goal" '
  { ratio[NR] = $1 }
  END {
    median = NR % 2 ? ratio[(NR + 1) / 2] : (ratio[NR / 2] + ratio[NR / 2 + 1]) / 2
    printf "median ratio %.2f (goal: at most %s, %s)\n", median, goal, median <= goal ? "reached" : "not reached"
  }'
