#!/usr/bin/env bash
# Installs what the 32-bit Linux build (-m32) and its tests need on Debian 12,
# next to what scripts/setup.sh installs for the native build.
# Safe to run again: it does nothing when everything is already installed.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  gcc-multilib g++-multilib
  # GoogleTest's sources: libgtest-dev has 64-bit archives only, so the
  # 32-bit build compiles GoogleTest itself.
  googletest
  libsqlite3-dev:i386 libsodium-dev:i386 libldap-dev:i386 unixodbc-dev:i386
  # The tests load the 32-bit SQLite ODBC driver through the 32-bit driver
  # manager; the drivers are registered by odbcinst (from the native setup).
  libsqliteodbc:i386
  # The directory tests' own slapd, its tools and the TLS certificates are
  # the native ones.
  slapd ldap-utils openssl odbcinst
)

# shellcheck source=lib/packages.sh
source scripts/lib/packages.sh
missing_packages "${packages[@]}"

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup-m32: all required packages are installed."
  exit 0
fi

choose_as_root setup-m32 "${missing[@]}"

# shellcheck source=lib/apt-i386.sh
source scripts/lib/apt-i386.sh

echo "setup-m32: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
echo "slapd slapd/no_configuration boolean true" | "${as_root[@]}" debconf-set-selections
if ! dpkg --print-foreign-architectures | grep -qx i386; then
  "${as_root[@]}" dpkg --add-architecture i386
fi
# The i386 lists of a mirror can be mid-sync while the amd64 ones are not; the
# lists already on the machine then do (install_i386 matches the versions).
"${as_root[@]}" apt-get update || echo "setup-m32: apt-get update failed; using the lists there are" >&2
# Only the i386 packages go through install_i386: a native package's
# dependencies (perl:any for slapd) would bring in i386 twins never needed.
native=() foreign=()
for package in "${missing[@]}"; do
  case $package in
    *:i386) foreign+=("$package") ;;
    *) native+=("$package") ;;
  esac
done
if [ ${#native[@]} -gt 0 ]; then
  "${as_root[@]}" apt-get install -y --no-install-recommends "${native[@]}"
fi
if [ ${#foreign[@]} -gt 0 ]; then
  install_i386 "${as_root[@]}" -- "${foreign[@]}"
fi
