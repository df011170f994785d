#!/usr/bin/env bash
# Builds Vek and runs its tests: the release build, or with --all also the style checks and the sanitizer and 32-bit
# builds. Ends with CTest's summary; exit status 0 only when everything passed.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/packages.sh

run_preset() {
  echo "== preset $1"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" --parallel "$(nproc)" -- --quiet
  ctest --preset "$1" --no-tests=error
}

check_format() {
  echo "== format"
  git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
}

# As a build of the preset does, but without making anything.
check_tidy() {
  echo "== tidy"
  cmake --preset tidy >/dev/null
  git ls-files -z -- '*.cpp' ':!tests' ':!bench' ':!docs' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy --quiet -p build/tidy 2> >(grep -v ' warnings\? generated' >&2)
}

case "${1-}" in
  "")
    need_packages "${build_packages[@]}" googletest
    run_preset release
    ;;
  --all)
    need_packages "${build_packages[@]}" googletest git g++-multilib clang clang-format clang-tidy
    check_format
    check_tidy
    run_preset release
    run_preset asan
    run_preset tsan
    run_preset m32
    ;;
  *)
    echo "usage: ./test.sh [--all]" >&2
    exit 2
    ;;
esac
