#!/usr/bin/env bash
# Builds and runs every test twice: a normal build, then one with the address
# and undefined-behaviour sanitizers. Fails on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=2
bash scripts/setup.sh

run_suite() {
  local build_dir=$1
  shift
  echo "== configure $build_dir: $*"
  cmake -S . -B "$build_dir" "$@"
  echo "== build $build_dir"
  cmake --build "$build_dir" -j"$jobs"
  echo "== test $build_dir"
  ctest --test-dir "$build_dir" --output-on-failure -j"$jobs" --timeout 600
}

run_suite build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DXO_BUILD_BENCH=ON

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite build-test-asan -DCMAKE_BUILD_TYPE=Debug -DXO_SANITIZE=ON -DXO_BUILD_BENCH=OFF

echo "== all tests passed (plain and sanitized builds)"
