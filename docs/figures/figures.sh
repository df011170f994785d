#!/usr/bin/env bash
# Draws the figures of docs/motion-maths.md anew. Needs a C++ compiler and gnuplot.
set -euo pipefail
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
c++ -std=c++20 -O2 -ffp-contract=off -I. -o "$work/motion_maths" docs/figures/motion_maths.cpp \
  platform/standalone/profile_generator.cpp platform/standalone/averaging_filter.cpp
"$work/motion_maths" >"$work/motion_maths.txt"
gnuplot -e "work='$work'; out='docs'" docs/figures/motion_maths.gp
