#!/usr/bin/env bash
# Builds the project for 32-bit x86 Linux (-m32, cmake/i386-linux.cmake) and
# runs every test against the 32-bit library, tool and ODBC driver, so that
# faults of a 32-bit build show on this machine. Fails on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=2
build_dir=build-m32
bash scripts/setup-m32.sh

launcher=()
if command -v ccache >/dev/null 2>&1; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

echo "== configure $build_dir"
cmake -S . -B "$build_dir" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/i386-linux.cmake" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DXO_BUILD_BENCH=OFF "${launcher[@]}"
echo "== build $build_dir"
cmake --build "$build_dir" -j"$jobs"
# A native program in the build folder would test the wrong thing.
# (byte 4 of an ELF file is its class: 1 for 32-bit)
if [ "$(od -An -tx1 -j4 -N1 "$build_dir/cli/xopolicy" | tr -d ' ')" != 01 ]; then
  echo "test-m32: $build_dir/cli/xopolicy is not a 32-bit program" >&2
  exit 1
fi
echo "== test $build_dir"
ctest --test-dir "$build_dir" --output-on-failure -j"$jobs" --timeout 600

echo "== all tests passed (32-bit build)"
