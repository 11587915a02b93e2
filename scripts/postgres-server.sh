#!/usr/bin/env bash
# A private PostgreSQL server for the tests and benchmarks: Debian's
# postgresql binaries, a cluster in a folder of its own, listening on a
# loopback port only, trusting local connections.
#
#   scripts/postgres-server.sh start DIR PORT   makes the cluster (once) and starts it;
#                                               prints the store URI of database "xo"
#   scripts/postgres-server.sh stop DIR         stops it
#
# initdb refuses to run as root: as root, the cluster belongs to "nobody".
set -euo pipefail

bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)
if [ -z "$bin" ]; then
  echo "postgres-server: no PostgreSQL server installed (package postgresql)" >&2
  exit 1
fi

as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u nobody -- "$@"
  else
    "$@"
  fi
}

command=${1:-}
dir=${2:-}
[ -n "$dir" ] || { echo "usage: $0 start DIR PORT | stop DIR" >&2; exit 2; }

case $command in
  start)
    port=${3:?usage: $0 start DIR PORT}
    mkdir -p "$dir"
    [ "$(id -u)" -ne 0 ] || chown nobody "$dir"
    if [ ! -f "$dir/data/PG_VERSION" ]; then
      # Byte-wise text and no encoding checks, as the embedded store keeps texts.
      as_owner "$bin/initdb" -D "$dir/data" -U xo --auth=trust --encoding=SQL_ASCII \
        --locale=C >"$dir/initdb.log" 2>&1 || { cat "$dir/initdb.log" >&2; exit 1; }
    fi
    if as_owner "$bin/pg_ctl" -D "$dir/data" status >/dev/null 2>&1; then
      as_owner "$bin/pg_ctl" -D "$dir/data" -m fast -w stop >/dev/null  # left running before
    fi
    as_owner "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
      -o "-c listen_addresses=127.0.0.1 -p $port -c unix_socket_directories='$dir' -c fsync=on" \
      start >/dev/null || { cat "$dir/server.log" >&2; exit 1; }
    if ! "$bin/psql" -h 127.0.0.1 -p "$port" -U xo -d postgres -Atqc \
      "SELECT 1 FROM pg_database WHERE datname = 'xo'" | grep -q 1; then
      "$bin/createdb" -h 127.0.0.1 -p "$port" -U xo xo
    fi
    echo "postgresql://xo@127.0.0.1:$port/xo"
    ;;
  stop)
    if [ -f "$dir/data/postmaster.pid" ]; then
      as_owner "$bin/pg_ctl" -D "$dir/data" -m fast -w stop >/dev/null
    fi
    ;;
  *)
    echo "usage: $0 start DIR PORT | stop DIR" >&2
    exit 2
    ;;
esac
