#!/usr/bin/env bash
# Builds the Debian package xo-policy_VERSION_ARCH.deb with CPack and prints
# its path.
#
#   bash scripts/package.sh             a Release build of its own, build-package/
#   bash scripts/package.sh BUILD_DIR   packages a build that exists already
#
# The package installs under /usr, so the build is configured for that prefix
# (which puts the libraries in the multiarch folder, lib/x86_64-linux-gnu).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

launcher=()
if command -v ccache >/dev/null 2>&1; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

if [ $# -eq 0 ]; then
  build_dir=build-package
  echo "== configure $build_dir (Release)"
  cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DXO_BUILD_TESTS=OFF -DXO_BUILD_BENCH=OFF "${launcher[@]}"
else
  build_dir=$1
  echo "== configure $build_dir for the prefix /usr"
  cmake -S . -B "$build_dir" -DCMAKE_INSTALL_PREFIX=/usr
fi
echo "== build $build_dir"
cmake --build "$build_dir" -j2

echo "== package"
rm -f "$build_dir"/xo-policy_*.deb
cd "$build_dir"
cpack -G DEB
ls "$PWD"/xo-policy_*.deb
