#!/usr/bin/env bash
# Measures Vek: the cycle and its stages beside their bare arithmetic, robot.ini beside other libraries, the logging
# call, the pace of simulated time; and counts instructions, which repeat exactly. Prints the tables of
# docs/performance.md and whether the goals hold; with --docs they go into the page, too. ./bench.sh --drift checks the
# averaging filter over 10^9 samples instead. Exit status 0 only when every goal holds.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/packages.sh

folder=build/bench
bench=$folder/bin/vek_bench
report=$folder/report.md
page=docs/performance.md

build() {
  need_packages "${build_packages[@]}" libbenchmark-dev libinih-dev libsimpleini-dev valgrind
  mkdir -p "$folder"
  echo "Building; the first time takes a minute"
  if ! { cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=Release -DVEK_BUILD_BENCH=ON -DVEK_BUILD_TESTS=OFF &&
    cmake --build "$folder" --parallel "$(nproc)" --target vek_bench vek vekctl drusim; } >"$folder/build.log" 2>&1; then
    tail -n 40 "$folder/build.log" >&2
    exit 2
  fi
}

# count NAME RUNS TEXT: a row of the table of instructions, per run.
count() {
  valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file=/dev/null --log-file="$folder/callgrind.log" \
    "$bench" count "$1" "$2" >/dev/null
  awk -v runs="$2" -v text="$3" '/Collected/ { printf "| %s | %.0f |\n", text, $NF / runs }' "$folder/callgrind.log"
}

count_instructions() {
  echo
  echo "| Instructions, as callgrind counts them | |"
  echo "|---|--:|"
  count cycle 3000 "whole cycle"
  count cycle/floor 3000 "its bare arithmetic"
  count generator 3000 "generator, a step of 8 axes"
  count generator/floor 3000 "its bare law"
  count cut_block 3000 "planner, a block of 20 samples × 7 axes"
  count filter 3000 "filter, 8 axes"
  count ini_load 100 "load of robot.ini"
  count ini_save 100 "save of robot.ini, written in place"
  count log/start_position 500 "message with seven doubles"
  count log/sub_state 500 "message with one text"
}

measure_lockstep() {
  echo
  echo "| Simulated time, ten seconds with all groups moving | time | pace | goal | holds |"
  echo "|---|--:|--:|--:|---|"
  bench/lockstep.sh "$folder/bin"
}

# Puts the report between the page's two marks.
update_page() {
  awk -v report="$report" '
    /<!-- bench.sh: end -->/ { inside = 0 }
    !inside { print }
    /<!-- bench.sh: begin -->/ { inside = 1; while ((getline line < report) > 0) print line }' "$page" >"$page.new"
  mv "$page.new" "$page"
}

measure() {
  local status=0
  echo "Measuring; it takes some minutes"
  "$bench" report "$report" --benchmark_repetitions=15 --benchmark_min_time=0.05 \
    --benchmark_enable_random_interleaving=true --benchmark_display_aggregates_only=true >"$folder/bench.txt" || status=$?
  if [ "$status" -gt 1 ]; then
    tail -n 1 "$folder/bench.txt" >&2
    exit "$status"
  fi
  measure_lockstep >>"$report" || status=$?
  count_instructions >>"$report"
  cat "$report"
  return "$status"
}

case "${1-}" in
  "")
    build
    measure
    ;;
  --docs)
    build
    status=0
    measure || status=$?
    update_page
    exit "$status"
    ;;
  --drift)
    build
    "$bench" drift 1000000000
    ;;
  *)
    echo "usage: ./bench.sh [--docs | --drift]" >&2
    exit 2
    ;;
esac
