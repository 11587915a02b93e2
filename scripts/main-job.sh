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

# The README's walkthrough, step by step, on a store of its own: a small
# policy made with commands, a user directory read through ODBC from a local
# users database and bound to a policy, the whole exported, edited, applied
# (dry run, for real, and again with nothing left to do), and the audit trail.
echo "== the README walkthrough: commands, a user directory, policy as code"
walk_dir="$work_dir/walkthrough"
mkdir -p "$walk_dir"
(
  cd "$walk_dir"
  PATH="$OLDPWD/$build_dir/cli:$PATH" XO_POLICY_STORE="sqlite:$walk_dir/policy.db" \
    XO_ADMIN=admin XO_PASSWORD=walkthrough-pw bash "$OLDPWD/scripts/walkthrough.sh"
)
echo "== walkthrough done"

echo "== done; the temporary stores are removed"
