#!/usr/bin/env bash
# Installs what the 32-bit Windows build and its tests under wine need on
# Debian 12: mingw-w64 for i686, wine with its 32-bit half, npm (which
# fetches the SQLite and Argon2 sources), GoogleTest's sources, the
# header-only CLI11 and nlohmann-json, and for the directory tests under wine
# the 32-bit unixODBC and SQLite ODBC driver that wine's odbc32 hands
# connections to. Safe to run again: it does nothing when all is installed.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=lib/apt-i386.sh
source scripts/lib/apt-i386.sh

packages=(
  cmake make ccache
  g++-mingw-w64-i686-posix binutils-mingw-w64-i686
  googletest libcli11-dev nlohmann-json3-dev
  wine unixodbc-common libsqliteodbc
)
i386_packages=(wine32:i386 libodbc2:i386 libsqliteodbc:i386)

# shellcheck source=lib/packages.sh
source scripts/lib/packages.sh
missing_packages "${i386_packages[@]}"
missing_i386=("${missing[@]}")
missing_packages "${packages[@]}"
# npm may come with a Node.js from elsewhere than Debian.
if ! command -v npm >/dev/null 2>&1; then missing+=(nodejs npm); fi

if [ ${#missing[@]} -eq 0 ] && [ ${#missing_i386[@]} -eq 0 ]; then
  echo "setup-windows: all required packages are installed."
  exit 0
fi

choose_as_root setup-windows "${missing[@]}" "${missing_i386[@]}"

export DEBIAN_FRONTEND=noninteractive
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup-windows: installing ${missing[*]}"
  # A list that fails to download (a mirror in the middle of a sync) leaves
  # the old one in use; a package that is then missing fails the install.
  "${as_root[@]}" apt-get update || true
  "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
fi
if [ ${#missing_i386[@]} -gt 0 ]; then
  echo "setup-windows: installing ${missing_i386[*]}"
  install_i386 "${as_root[@]}" -- "${missing_i386[@]}"
fi
