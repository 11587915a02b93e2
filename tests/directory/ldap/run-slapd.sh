#!/usr/bin/env bash
# Runs a throw-away slapd in the foreground on 127.0.0.1:PORT, with its
# configuration and database in WORKDIR and its output in WORKDIR.log,
# loaded with directory.ldif, other.ldif and USERS more users (uid=user000000
# ... with password "pw", under ou=people). Stop it with SIGTERM; it ends
# with the process that started it. With an LDAPS_PORT other than 0, the
# server also offers StartTLS on PORT and listens for ldaps:// on LDAPS_PORT,
# with a certificate for 127.0.0.1 and localhost from a CA made for this run
# (WORKDIR/tls/ca.pem), and answers nothing else without TLS. Another CA of
# the same name, WORKDIR/tls/other-ca.pem, signed nothing the server uses.
# The tests and the benchmark start it through DirectoryFixtures; by hand:
#   tests/directory/ldap/run-slapd.sh "$(mktemp -d)" 38999 [38998 [USERS]]
set -euo pipefail
[ -n "${XO_SLAPD_PDEATHSIG:-}" ] || XO_SLAPD_PDEATHSIG=1 exec setpriv --pdeathsig KILL "$0" "$@"
here=$(cd "$(dirname "$0")" && pwd)
work=$1 port=$2 ldaps_port=${3:-0} users=${4:-0}
exec </dev/null >"$work.log" 2>&1
mkdir -p "$work/db" "$work/db-other" "$work/tls"
listeners="ldap://127.0.0.1:$port/" tls=
if [ "$ldaps_port" != 0 ]; then
  listeners="$listeners ldaps://127.0.0.1:$ldaps_port/" tls='s|^#TLS ||'
  (
    cd "$work/tls"
    for key in ca other-ca server; do
      openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:prime256v1 -out $key.key
    done
    for ca in ca other-ca; do
      openssl req -x509 -new -key $ca.key -subj "/CN=directory test CA" -days 2 -out $ca.pem
    done
    printf 'subjectAltName=IP:127.0.0.1,DNS:localhost\nextendedKeyUsage=serverAuth\n' >ext.cnf
    openssl req -new -key server.key -subj "/CN=127.0.0.1" |
      openssl x509 -req -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 -extfile ext.cnf \
        -out server.pem
  ) 2>/dev/null
fi
ldif='dn: uid=user%06d,ou=people,dc=example,dc=org\nobjectClass: inetOrgPerson\nuid: user%06d\ncn: User %d\nsn: %d\nuserPassword: pw\n\n'
seq 0 $((users - 1)) | awk -v ldif="$ldif" '{ printf ldif, $1, $1, $1, $1 }' >"$work/users.ldif"
sed -e "s|@WORK@|$work|g" -e "$tls" "$here/slapd.conf.in" >"$work/slapd.conf"
for ldif in dc=example,dc=org:"$here/directory.ldif" dc=other,dc=org:"$here/other.ldif" \
  dc=example,dc=org:"$work/users.ldif"; do
  /usr/sbin/slapadd -q -f "$work/slapd.conf" -b "${ldif%%:*}" -l "${ldif#*:}"
done
exec /usr/sbin/slapd -f "$work/slapd.conf" -h "$listeners" -d 0
