#!/usr/bin/env bash
# Cross-builds the 32-bit Windows DLL, the tool, the demos and the tests into
# build-win32/ with mingw-w64. The SQLite amalgamation and the Argon2
# reference sources come from pinned npm packages, checked by their sha256.
# Extra arguments go to the CMake configure step.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${XO_WIN32_BUILD_DIR:-build-win32}
deps_dir=$build_dir/deps
jobs=${XO_JOBS:-2}

# package@version  sha256 of the tarball  what to take from it
sqlite_package=better-sqlite3@12.4.1
sqlite_sha256=14398acbf00d1e8fe0a2753df7d4f15c13138e4b874f4e6e96791f65b4536d0d
argon2_package=argon2@0.44.0
argon2_sha256=f1e3f7b6621ca468d33b5be8a844c260d7de502e7205be0b298a01e8473e226e

# fetch PACKAGE SHA256: the package's tarball in $deps_dir/downloads, checked.
fetch() {
  local package=$1 sha256=$2
  local tarball=$deps_dir/downloads/${package/@/-}.tgz
  if [ ! -f "$tarball" ] || ! echo "$sha256  $tarball" | sha256sum --check --status; then
    mkdir -p "$deps_dir/downloads"
    local scratch
    scratch=$(mktemp -d)
    (cd "$scratch" && npm pack --silent "$package" >/dev/null)
    mv "$scratch"/*.tgz "$tarball"
    rm -rf "$scratch"
  fi
  if ! echo "$sha256  $tarball" | sha256sum --check --status; then
    echo "build-windows: $tarball does not have the expected sha256 $sha256" >&2
    exit 1
  fi
  echo "$tarball"
}

# unpack TARBALL DEST MEMBER...: the members (folders of the package) into DEST.
unpack() {
  local tarball=$1 dest=$2
  shift 2
  rm -rf "$dest" "$dest.tmp"
  mkdir -p "$dest.tmp"
  tar -xzf "$tarball" -C "$dest.tmp" "${@/#/package/}"
  mkdir -p "$dest"
  for member in "$@"; do cp -r "$dest.tmp/package/$member/." "$dest/"; done
  rm -rf "$dest.tmp"
}

if [ ! -f "$deps_dir/sqlite/.sha256" ] || [ "$(cat "$deps_dir/sqlite/.sha256")" != "$sqlite_sha256" ]; then
  tarball=$(fetch "$sqlite_package" "$sqlite_sha256")
  unpack "$tarball" "$deps_dir/sqlite" deps/sqlite3
  echo "$sqlite_sha256" >"$deps_dir/sqlite/.sha256"
fi
if [ ! -f "$deps_dir/argon2/.sha256" ] || [ "$(cat "$deps_dir/argon2/.sha256")" != "$argon2_sha256" ]; then
  tarball=$(fetch "$argon2_package" "$argon2_sha256")
  unpack "$tarball" "$deps_dir/argon2" argon2
  echo "$argon2_sha256" >"$deps_dir/argon2/.sha256"
fi

launcher=()
if command -v ccache >/dev/null 2>&1; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build_dir" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake \
  -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_BENCH=OFF "${launcher[@]}" "$@"
cmake --build "$build_dir" -j"$jobs"
echo "build-windows: $build_dir/XoPolicyApi.dll and $build_dir/xopolicy.exe are built."
