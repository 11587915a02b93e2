#!/usr/bin/env bash
# Times `xopolicy apply` of a generated document (10 domains, 100,000 rules by
# default) into an empty store, against its floor: the sqlite3 shell loading
# the same objects into an empty store of the same schema from a script of
# plain INSERTs in one transaction. The target is within 3x of the floor.
#
#   bash scripts/bench-apply.sh [BUILD_DIR]     (default build-bench)
# XO_BENCH_DOMAINS, XO_BENCH_REALMS (per domain) and XO_BENCH_RULES change the size.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build-bench}
domains=${XO_BENCH_DOMAINS:-10}
realms=${XO_BENCH_REALMS:-10}
rules=${XO_BENCH_RULES:-100000}

if ! command -v sqlite3 >/dev/null; then
  echo "bench-apply: the sqlite3 shell is needed for the floor (apt-get install sqlite3)" >&2
  exit 1
fi
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build_dir" -j2 --target xopolicy >/dev/null
xopolicy="$build_dir/cli/xopolicy"

# On the build's disk rather than a memory-backed /tmp, so that the commit
# costs what it costs in use.
work=$(mktemp -d "$PWD/$build_dir/bench-apply.XXXXXX")
trap 'rm -rf "$work"' EXIT

# One pass writes both: the document and the SQL script of the same objects.
# Identifiers in the script have the store's form, a class prefix and a random
# UUID: the store makes random ones, and their scattered index entries cost
# more than ordered ones would.
awk -v domains="$domains" -v realms="$realms" -v rules="$rules" \
    -v json="$work/policy.json" -v sql="$work/floor.sql" '
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

admin=bench
password="bench-$RANDOM"
for store in apply floor; do
  "$xopolicy" init --hash-cost minimum --store "$work/$store.db" --admin "$admin" \
    --password "$password" >/dev/null
done

now() { date +%s%N; }
start=$(now)
sqlite3 "$work/floor.db" <"$work/floor.sql"
floor_ns=$(($(now) - start))

start=$(now)
XO_ADMIN=$admin XO_PASSWORD=$password "$xopolicy" apply --store "$work/apply.db" \
  "$work/policy.json" >"$work/plan.txt"
apply_ns=$(($(now) - start))

loaded=$(sqlite3 "$work/apply.db" "SELECT count(*) FROM rule")
floor_rules=$(sqlite3 "$work/floor.db" "SELECT count(*) FROM rule")
if [ "$loaded" != "$floor_rules" ]; then
  echo "bench-apply: apply stored $loaded rules, the floor $floor_rules" >&2
  exit 1
fi
awk -v apply="$apply_ns" -v floor="$floor_ns" -v rules="$loaded" -v domains="$domains" 'BEGIN {
  ratio = apply / floor
  printf "apply of %d domains, %d rules into an empty store\n", domains, rules
  printf "  xopolicy apply        %8.2f s\n", apply / 1e9
  printf "  sqlite3 INSERT floor  %8.2f s\n", floor / 1e9
  printf "  ratio                 %8.2fx (target: within 3x) %s\n", ratio, (ratio <= 3 ? "ok" : "OVER TARGET")
}'

# For information, without a target: reading the loaded store back, as a
# second apply that finds nothing to change and as an export.
start=$(now)
XO_ADMIN=$admin XO_PASSWORD=$password "$xopolicy" apply --store "$work/apply.db" \
  "$work/policy.json" >"$work/replan.txt"
reapply_ns=$(($(now) - start))
start=$(now)
XO_ADMIN=$admin XO_PASSWORD=$password "$xopolicy" export --store "$work/apply.db" \
  --output "$work/export.json"
export_ns=$(($(now) - start))
awk -v reapply="$reapply_ns" -v export="$export_ns" 'BEGIN {
  printf "  apply again (no changes) %5.2f s\n", reapply / 1e9
  printf "  export                   %5.2f s\n", export / 1e9
}'
