#!/usr/bin/env bash
# Builds the benchmark (Release) and runs it. The last table gives each call's
# time over the time of the same kind of work in plain SQLite.
# Extra arguments go to the benchmark, e.g. --benchmark_filter=GetDomain.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

build_dir=build-bench
# The benchmarks take their fixtures from the tests' support library.
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_TESTS=ON -DXO_BUILD_BENCH=ON
cmake --build "$build_dir" -j2 --target xo_bench

# The stores are made on the build's disk, not on a memory-backed /tmp, so
# that commits cost what they cost in use.
mkdir -p "$build_dir/bench-stores"

# A private PostgreSQL server on the same disk for the PostgreSQL rows, with
# fsync on as in use; stopped when the run ends.
server_dir="$PWD/$build_dir/bench-postgres"
server_port=${XO_BENCH_POSTGRES_PORT:-55434}
trap 'bash scripts/postgres-server.sh stop "$server_dir"' EXIT
server=$(bash scripts/postgres-server.sh start "$server_dir" "$server_port")

XO_BENCH_DIR="$PWD/$build_dir/bench-stores" XO_TEST_POSTGRES="$server" \
  "$build_dir/bench/xo_bench" "$@"

# `xopolicy apply` of a large generated document against sqlite3 loading the
# same objects.
bash scripts/bench-apply.sh "$build_dir"

# `xopolicy rule get` with a kept session against ldapsearch of one entry.
bash scripts/bench-cli.sh "$build_dir"
