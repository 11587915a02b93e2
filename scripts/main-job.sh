#!/usr/bin/env bash
# Builds the project, creates a fresh policy store in a temporary directory
# with `xopolicy init`, and runs the two demos against it: the domains tour,
# then a small but complete policy set up and told back in plain words.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

build_dir=build-release
echo "== building (Release) in $build_dir"
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_TESTS=OFF -DXO_BUILD_BENCH=OFF
cmake --build "$build_dir" -j2 --target xopolicy domains_demo policy_demo

work_dir=$(mktemp -d)
trap 'rm -rf "$work_dir"' EXIT
store="sqlite:$work_dir/policy.db"
admin=admin
password="demo-$(date +%s)-$RANDOM"

echo "== creating a new policy store at $work_dir/policy.db"
printf '%s\n' "$password" |
  "$build_dir/cli/xopolicy" init --store "$store" --admin "$admin" --password-stdin

echo "== running the domains demo as $admin"
XO_POLICY_STORE="$store" XO_ADMIN="$admin" XO_PASSWORD="$password" \
  "$build_dir/examples/domains_demo"

echo "== setting up a complete policy and reading it back"
XO_POLICY_STORE="$store" XO_ADMIN="$admin" XO_PASSWORD="$password" \
  "$build_dir/examples/policy_demo"

echo "== done; the temporary store is removed"
