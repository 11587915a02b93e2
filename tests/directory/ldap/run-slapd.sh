#!/usr/bin/env bash
# Runs a throw-away slapd in the foreground on 127.0.0.1:PORT, with its
# configuration and database in WORKDIR, loaded with directory.ldif and any
# further LDIF files given. Stop it with SIGTERM. The tests and the benchmark
# start it through DirectoryFixtures; by hand:
#   tests/directory/ldap/run-slapd.sh "$(mktemp -d)" 38999
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$1
port=$2
shift 2

mkdir -p "$work/db"
sed "s|@WORK@|$work|g" "$here/slapd.conf.in" >"$work/slapd.conf"
/usr/sbin/slapadd -q -f "$work/slapd.conf" -l "$here/directory.ldif"
for extra in "$@"; do
  /usr/sbin/slapadd -q -f "$work/slapd.conf" -l "$extra"
done
exec /usr/sbin/slapd -f "$work/slapd.conf" -h "ldap://127.0.0.1:$port/" -d 0
