#!/usr/bin/env bash
# Installs what building and testing the project needs on Debian 12.
# With --cross, also what the 32-bit builds need: the i386 architecture and
# its libraries for the -m32 build (scripts/setup-m32.sh), mingw-w64 and
# wine32 for the Windows DLL (scripts/setup-windows.sh).
# Safe to run again: it does nothing when everything is already installed.
set -euo pipefail
cd "$(dirname "$0")/.."

cross() {
  if [ "${1:-}" = --cross ]; then
    bash scripts/setup-m32.sh
    bash scripts/setup-windows.sh
  fi
}

packages=(
  build-essential cmake pkg-config
  libsqlite3-dev sqlite3 libsodium-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  gcc-multilib g++-multilib
  libcli11-dev nlohmann-json3-dev clang-format
  # User directories: OpenLDAP's client library and unixODBC to build against;
  # slapd, its tools and the SQLite ODBC driver for the directory tests, and
  # openssl for the throw-away certificates of the tests' TLS server.
  libldap-dev unixodbc unixodbc-dev odbcinst libsqliteodbc
  slapd ldap-utils openssl
  # The shared store: libpq to build against, and the server that the tests
  # start clusters of their own with.
  libpq-dev postgresql
  # The Debian package: dpkg-shlibdeps works out its dependencies; groff
  # checks the manual page.
  dpkg-dev groff-base
)

# shellcheck source=lib/packages.sh
source scripts/lib/packages.sh
missing_packages "${packages[@]}"

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all required packages are installed."
  cross "$@"
  exit 0
fi

choose_as_root setup "${missing[@]}"

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# The tests run slapd servers of their own: the package must neither ask
# questions nor set up a system directory of its own.
echo "slapd slapd/no_configuration boolean true" | "${as_root[@]}" debconf-set-selections
# Nor a PostgreSQL cluster of the system's: the tests make their own.
if [ ! -e /etc/postgresql-common/createcluster.conf ]; then
  "${as_root[@]}" mkdir -p /etc/postgresql-common
  echo "create_main_cluster = false" | "${as_root[@]}" tee /etc/postgresql-common/createcluster.conf >/dev/null
fi
"${as_root[@]}" apt-get update
"${as_root[@]}" apt-get install -y --no-install-recommends \
  -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold "${packages[@]}"
cross "$@"
