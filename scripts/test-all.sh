#!/usr/bin/env bash
# Builds and runs every test: a normal build, one with the address and
# undefined-behaviour sanitizers, a 32-bit Linux build, and the 32-bit Windows
# DLL with its suites under wine. Fails on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=2
bash scripts/setup.sh --cross

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

# Configured for /usr, as scripts/package.sh does: its test debian_package
# makes the same package from this build.
run_suite build-test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DXO_BUILD_BENCH=ON -DCMAKE_INSTALL_PREFIX=/usr

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite build-test-asan -DCMAKE_BUILD_TYPE=Debug -DXO_SANITIZE=ON -DXO_BUILD_BENCH=OFF

unset ASAN_OPTIONS UBSAN_OPTIONS
bash scripts/test-m32.sh
bash scripts/test-windows.sh

echo "== all tests passed (plain, sanitized, 32-bit Linux and Windows builds)"
