#!/usr/bin/env bash
# Times `xopolicy rule get` with a session kept by `xopolicy login` against
# its floor: `ldapsearch` of one entry from a slapd (mdb) on this machine,
# each a new process, RUNS times (200 by default). The target is within 1.5x
# of the floor.
#
#   bash scripts/bench-cli.sh [BUILD_DIR]     (default build-bench)
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build-bench}
runs=${XO_BENCH_RUNS:-200}

# shellcheck source=lib/bench.sh
source scripts/lib/bench.sh
bench_start bench-cli "$build_dir" ldapsearch /usr/sbin/slapd
slapd_pid=
cleanup() {
  [ -z "$slapd_pid" ] || kill "$slapd_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

export XO_POLICY_STORE="sqlite:$work/policy.db" XDG_CONFIG_HOME="$work/config"
unset XO_PASSWORD XO_ADMIN
printf 'bench-pw\n' | "$xopolicy" init --admin root --password-stdin >/dev/null
printf 'bench-pw\n' | "$xopolicy" login --admin root --password-stdin >/dev/null
"$xopolicy" agent add gateway --agent-type "HTTP Agent" >/dev/null
"$xopolicy" domain add Intranet >/dev/null
"$xopolicy" realm add portal --domain Intranet --agent gateway --scheme Basic --text / >/dev/null
"$xopolicy" rule add read-pages --domain Intranet --realm portal --text1 GET --text2 / >/dev/null

port=$((39000 + RANDOM % 1000))
bash tests/directory/ldap/run-slapd.sh "$work/slapd" "$port" &
slapd_pid=$!
entry="uid=alice,ou=people,dc=example,dc=org"
search=(ldapsearch -LLL -x -H "ldap://127.0.0.1:$port" -b "$entry" -s base)
for _ in $(seq 100); do
  "${search[@]}" >/dev/null 2>&1 && break
  sleep 0.1
done
"${search[@]}" >/dev/null

# Total wall time of RUNS runs of a command, in milliseconds.
time_runs() {
  local start end
  start=$(date +%s%N)
  for _ in $(seq "$runs"); do "$@" >/dev/null; done
  end=$(date +%s%N)
  echo $(((end - start) / 1000000))
}

get=("$xopolicy" rule get read-pages --domain Intranet --realm portal)
"${get[@]}" >/dev/null
tool_ms=$(time_runs "${get[@]}")
floor_ms=$(time_runs "${search[@]}")
"$xopolicy" logout >/dev/null
printf 'bench-pw\n' >"$work/pw"
login_ms=$(time_runs bash -c '"$0" rule get read-pages --domain Intranet --realm portal --admin root --password-stdin <"$1"' "$xopolicy" "$work/pw")
awk -v runs="$runs" -v tool="$tool_ms" -v floor="$floor_ms" -v login="$login_ms" 'BEGIN {
  printf "%d runs each, process start included:\n", runs
  printf "  xopolicy rule get, kept session   %7d ms  %6.2f ms/run\n", tool, tool / runs
  printf "  xopolicy rule get, password       %7d ms  %6.2f ms/run\n", login, login / runs
  printf "  ldapsearch of one entry (slapd)   %7d ms  %6.2f ms/run\n", floor, floor / runs
  printf "kept session / ldapsearch: %.2fx (target 1.5x)\n", tool / floor
}'
