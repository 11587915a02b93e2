#!/usr/bin/env bash
# Runs a throw-away slapd in the foreground on 127.0.0.1:PORT, with its
# configuration and database in WORKDIR, loaded with directory.ldif,
# other.ldif and any further LDIF files given (for dc=example,dc=org). Stop
# it with SIGTERM. With --tls, the server also offers StartTLS on PORT and
# listens for ldaps:// on LDAPS_PORT, with a certificate for 127.0.0.1 and
# localhost from a CA made for this run (WORKDIR/tls/ca.pem), and answers
# nothing else without TLS. Another CA of the same name,
# WORKDIR/tls/other-ca.pem, signed nothing the server uses. The tests and
# the benchmark start it through DirectoryFixtures; by hand:
#   tests/directory/ldap/run-slapd.sh [--tls 38998] "$(mktemp -d)" 38999
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
ldaps_port=
if [ "${1:-}" = --tls ]; then
  ldaps_port=$2
  shift 2
fi
work=$1
port=$2
shift 2

mkdir -p "$work/db" "$work/db-other"
listeners="ldap://127.0.0.1:$port/"
tls=
if [ -n "$ldaps_port" ]; then
  certs="$work/tls"
  mkdir -p "$certs"
  new_key() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:prime256v1 -out "$1" 2>/dev/null; }
  new_key "$certs/ca.key"
  openssl req -x509 -new -key "$certs/ca.key" -subj "/CN=directory test CA" -days 2 \
    -out "$certs/ca.pem" 2>/dev/null
  new_key "$certs/other-ca.key"
  openssl req -x509 -new -key "$certs/other-ca.key" -subj "/CN=directory test CA" -days 2 \
    -out "$certs/other-ca.pem" 2>/dev/null
  new_key "$certs/server.key"
  openssl req -new -key "$certs/server.key" -subj "/CN=127.0.0.1" -out "$certs/server.csr" 2>/dev/null
  printf 'subjectAltName=IP:127.0.0.1,DNS:localhost\nextendedKeyUsage=serverAuth\n' >"$certs/ext.cnf"
  openssl x509 -req -in "$certs/server.csr" -CA "$certs/ca.pem" -CAkey "$certs/ca.key" \
    -CAcreateserial -days 2 -extfile "$certs/ext.cnf" -out "$certs/server.pem" 2>/dev/null
  # Nothing but StartTLS is answered without TLS, so that a client that
  # skipped it would notice.
  tls="TLSCACertificateFile $certs/ca.pem\\
TLSCertificateFile $certs/server.pem\\
TLSCertificateKeyFile $certs/server.key\\
security tls=1"
  listeners="$listeners ldaps://127.0.0.1:$ldaps_port/"
fi
sed -e "s|@WORK@|$work|g" -e "s|^@TLS@\$|$tls|" "$here/slapd.conf.in" >"$work/slapd.conf"
/usr/sbin/slapadd -q -f "$work/slapd.conf" -b dc=example,dc=org -l "$here/directory.ldif"
/usr/sbin/slapadd -q -f "$work/slapd.conf" -b dc=other,dc=org -l "$here/other.ldif"
for extra in "$@"; do
  /usr/sbin/slapadd -q -f "$work/slapd.conf" -b dc=example,dc=org -l "$extra"
done
exec /usr/sbin/slapd -f "$work/slapd.conf" -h "$listeners" -d 0
