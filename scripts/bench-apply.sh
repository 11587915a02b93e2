#!/usr/bin/env bash
# Times `xopolicy apply` of a generated document (10 domains, 100,000 rules by
# default) into an empty store, against its floor: the sqlite3 shell loading
# the same objects into an empty store of the same schema from a script of
# plain INSERTs in one transaction. The target is within 3x of the floor.
# Then reading the store back: `xopolicy export` against ldapsearch listing as
# many entries from a slapd of our own (mdb), and a second apply that finds
# nothing to change against the export. Peak resident memory (/usr/bin/time)
# of export and apply is told beside the document's size.
#
#   bash scripts/bench-apply.sh [BUILD_DIR]     (default build-bench)
# XO_BENCH_DOMAINS, XO_BENCH_REALMS (per domain) and XO_BENCH_RULES change the size.
# XO_BENCH_BIG_RULES=1000000 also exports a store of that many rules (loaded
# with sqlite3) to tell export's peak memory at that size.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build-bench}
domains=${XO_BENCH_DOMAINS:-10}
realms=${XO_BENCH_REALMS:-10}
rules=${XO_BENCH_RULES:-100000}

big_rules=${XO_BENCH_BIG_RULES:-}

# shellcheck source=lib/bench.sh
source scripts/lib/bench.sh
bench_start bench-apply "$build_dir" sqlite3 /usr/bin/time ldapsearch /usr/sbin/slapd
trap 'rm -rf "$work"' EXIT

# One pass writes both: the document and the SQL script of the same objects.
# Identifiers in the script have the store's form, a class prefix and a random
# UUID: the store makes random ones, and their scattered index entries cost
# more than ordered ones would.
# generate DOMAINS REALMS RULES JSON SQL
generate() {
  awk -v domains="$1" -v realms="$2" -v rules="$3" -v json="$4" -v sql="$5" '
  function hex(digits,   text) {
    text = ""
    while (length(text) < digits) text = text sprintf("%04x", int(rand() * 65536))
    return substr(text, 1, digits)
  }
  # The same (class, n) always gives the same identifier.
  function oid(cls, n,   key) {
    key = cls "/" n
    if (!(key in ids)) ids[key] = cls "-" hex(8) "-" hex(4) "-4" hex(3) "-8" hex(3) "-" hex(12)
    return ids[key]
  }
  BEGIN {
    srand(20240601)
    http = "e26601f2-8ad7-11d1-9cd2-006008aac24b"
    printf "{\"version\": 1, \"system\": {\"schemes\": [{\"name\": \"bench-password\", \"strings\": [\"basic\", \"\", \"\"]}],\n" > json
    printf " \"agents\": [{\"name\": \"bench-gateway\", \"agentType\": \"HTTP Agent\"}]},\n \"domains\": [\n" > json
    print "BEGIN;" > sql
    printf "INSERT INTO scheme (oid, name, string1) VALUES (\047%s\047, \047bench-password\047, \047basic\047);\n", oid("0d", 1) > sql
    printf "INSERT INTO device (oid, name, agent_type) VALUES (\047%s\047, \047bench-gateway\047, \047%s\047);\n", oid("01", 1), http > sql
    perDomain = int(rules / domains); perRealm = int(perDomain / realms); n = 0
    for (d = 1; d <= domains; d++) {
      domain = oid("03", d)
      printf "INSERT INTO domain (oid, name) VALUES (\047%s\047, \047domain-%02d\047);\n", domain, d > sql
      printf "  {\"name\": \"domain-%02d\", \"description\": \"generated\", \"realms\": [\n", d > json
      for (r = 1; r <= realms; r++) {
        printf "    {\"name\": \"realm-%02d\", \"text\": \"/area/%d\", \"agent\": \"bench-gateway\", \"scheme\": \"bench-password\"}%s\n", r, r, (r < realms ? "," : "") > json
        printf "INSERT INTO realm (oid, domain, name, realm_text, agent, agent_type, scheme, parent) VALUES (\047%s\047, \047%s\047, \047realm-%02d\047, \047/area/%d\047, \047%s\047, \047%s\047, \047%s\047, \047%s\047);\n", oid("06", (d - 1) * realms + r), domain, r, r, oid("01", 1), http, oid("0d", 1), domain > sql
      }
      printf "  ], \"rules\": [\n" > json
      for (r = 1; r <= realms; r++) {
        realm = oid("06", (d - 1) * realms + r)
        for (i = 1; i <= perRealm; i++) {
          n++
          last = (r == realms && i == perRealm)
          printf "    {\"realm\": \"realm-%02d\", \"name\": \"rule-%06d\", \"description\": \"generated\", \"texts\": [\"GET\", \"/area/%d/%d\", \"\"], \"flags\": [true, false, false]}%s\n", r, n, r, n, (last ? "" : ",") > json
          printf "INSERT INTO rule (oid, domain, name, description, realm, agent_type, text1, text2, flag1) VALUES (\047%s\047, \047%s\047, \047rule-%06d\047, \047generated\047, \047%s\047, \047%s\047, \047GET\047, \047/area/%d/%d\047, 1);\n", oid("0b", n), domain, n, realm, http, r, n > sql
        }
      }
      printf "  ]}%s\n", (d < domains ? "," : "") > json
    }
    print "]}" > json
    print "COMMIT;" > sql
  }'
}
generate "$domains" "$realms" "$rules" "$work/policy.json" "$work/floor.sql"

admin=bench
password="bench-$RANDOM"
for store in apply floor; do
  "$xopolicy" init --hash-cost minimum --store "$work/$store.db" --admin "$admin" \
    --password "$password" >/dev/null
done

now() { date +%s%N; }
# A command's wall time in seconds and peak resident memory in MB, as
# "SECONDS MB"; its standard output goes to OUT.
# measure OUT COMMAND...
measure() {
  local out=$1
  shift
  local start
  start=$(now)
  /usr/bin/time -v -o "$work/time.txt" "$@" >"$out"
  awk -v ns=$(($(now) - start)) '/Maximum resident set size/ { printf "%.2f %.0f\n", ns / 1e9, $NF / 1024 }' \
    "$work/time.txt"
}

start=$(now)
sqlite3 "$work/floor.db" <"$work/floor.sql"
floor_ns=$(($(now) - start))

read -r apply_s apply_mb < <(XO_ADMIN=$admin XO_PASSWORD=$password measure "$work/plan.txt" \
  "$xopolicy" apply --store "$work/apply.db" "$work/policy.json")

loaded=$(sqlite3 "$work/apply.db" "SELECT count(*) FROM rule")
floor_rules=$(sqlite3 "$work/floor.db" "SELECT count(*) FROM rule")
if [ "$loaded" != "$floor_rules" ]; then
  echo "bench-apply: apply stored $loaded rules, the floor $floor_rules" >&2
  exit 1
fi
document_mb=$(du -m --apparent-size "$work/policy.json" | cut -f1)
awk -v apply="$apply_s" -v floor="$floor_ns" -v rules="$loaded" -v domains="$domains" \
    -v applymb="$apply_mb" -v doc="$document_mb" 'BEGIN {
  floor /= 1e9
  ratio = apply / floor
  printf "apply of %d domains, %d rules into an empty store\n", domains, rules
  printf "  xopolicy apply        %8.2f s\n", apply
  printf "  sqlite3 INSERT floor  %8.2f s\n", floor
  printf "  ratio                 %8.2fx (target: within 3x) %s\n", ratio, (ratio <= 3 ? "ok" : "OVER TARGET")
  printf "  apply peak memory     %8d MB, document %d MB: %.1fx (target: under 4x) %s\n", applymb, doc, applymb / doc, (applymb < 4 * doc ? "ok" : "OVER TARGET")
}'

read -r export_s export_mb < <(XO_ADMIN=$admin XO_PASSWORD=$password measure "$work/export.json" \
  "$xopolicy" export --store "$work/apply.db")
read -r reapply_s reapply_mb < <(XO_ADMIN=$admin XO_PASSWORD=$password measure "$work/replan.txt" \
  "$xopolicy" apply --store "$work/apply.db" "$work/policy.json")
if [ "$(cat "$work/replan.txt")" != "no changes" ]; then
  echo "bench-apply: a second apply found changes" >&2
  exit 1
fi

# The same number of entries in a slapd of our own, started as the directory
# tests start theirs, and listed whole by its administrator.
port=$((20000 + RANDOM % 20000))
slapd_dir="$work/slapd"
bash tests/directory/ldap/run-slapd.sh "$slapd_dir" "$port" 0 "$loaded" &
slapd_pid=$!
trap 'kill $slapd_pid 2>/dev/null; wait $slapd_pid 2>/dev/null; rm -rf "$work"' EXIT
ldap=(-x -LLL -H "ldap://127.0.0.1:$port/" -D cn=admin,dc=example,dc=org -w secret -z 0)
for _ in $(seq 600); do
  ldapsearch "${ldap[@]}" -b dc=example,dc=org -s base dn >/dev/null 2>&1 && break
  kill -0 $slapd_pid 2>/dev/null || { cat "$slapd_dir.log" >&2; exit 1; }
  sleep 0.5
done
read -r ldap_s ldap_mb < <(measure "$work/entries.ldif" ldapsearch "${ldap[@]}" \
  -b ou=people,dc=example,dc=org '(uid=user*)')
entries=$(grep -c '^dn: ' "$work/entries.ldif")

awk -v export="$export_s" -v exportmb="$export_mb" -v reapply="$reapply_s" \
    -v reapplymb="$reapply_mb" -v ldap="$ldap_s" -v entries="$entries" 'BEGIN {
  printf "reading the store back: export, and a second apply that finds nothing to change\n"
  printf "  xopolicy export          %6.2f s  %5d MB peak (target: under 64 MB) %s\n", export, exportmb, (exportmb < 64 ? "ok" : "OVER TARGET")
  printf "  ldapsearch, %d entries %6.2f s  (export: %.2fx, target: at most 1x) %s\n", entries, ldap, export / ldap, (export <= ldap ? "ok" : "OVER TARGET")
  printf "  apply again (no changes) %6.2f s  %5d MB peak (target: no slower than export) %s\n", reapply, reapplymb, (reapply <= export ? "ok" : "OVER TARGET")
}'

if [ -n "$big_rules" ]; then
  big_domains=$((domains * big_rules / rules))
  generate "$big_domains" "$realms" "$big_rules" /dev/null "$work/big.sql"
  "$xopolicy" init --hash-cost minimum --store "$work/big.db" --admin "$admin" \
    --password "$password" >/dev/null
  sqlite3 "$work/big.db" <"$work/big.sql"
  read -r big_s big_mb < <(XO_ADMIN=$admin XO_PASSWORD=$password measure /dev/null \
    "$xopolicy" export --store "$work/big.db")
  awk -v rules="$big_rules" -v domains="$big_domains" -v s="$big_s" -v mb="$big_mb" 'BEGIN {
    printf "  export of %d rules in %d domains: %.2f s, %d MB peak (target: under 64 MB) %s\n", rules, domains, s, mb, (mb < 64 ? "ok" : "OVER TARGET")
  }'
fi
