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

# The README's policy-as-code walkthrough, step by step, on a store of its own:
# a small policy made with commands, exported, edited, applied (dry run, for
# real, and again with nothing left to do), and the audit trail read back.
echo "== policy as code: the README walkthrough"
walk_dir="$work_dir/walkthrough"
mkdir -p "$walk_dir"
(
  cd "$walk_dir"
  PATH="$OLDPWD/$build_dir/cli:$PATH"
  export XO_POLICY_STORE="sqlite:$walk_dir/policy.db" XO_ADMIN=admin XO_PASSWORD=walkthrough-pw
  set -x
  xopolicy init --admin admin --password "$XO_PASSWORD"
  xopolicy agent add web-gateway --agent-type "HTTP Agent" --description "the intranet's web gateway"
  xopolicy scheme add staff-password --int1 1 --string1 basic --description "staff log in with a password"
  xopolicy domain add Intranet --description "the company intranet"
  xopolicy realm add portal --domain Intranet --agent web-gateway --scheme staff-password --text / --description "every page"
  xopolicy rule add read-pages --domain Intranet --realm portal --text1 GET --text2 /
  xopolicy export --output intranet.json
  sed -i 's/"description": "every page"/"description": "every page of the portal"/' intranet.json
  sed -i 's/"rules": \[/"rules": [\n        {"realm": "portal", "name": "read-forms", "texts": ["GET", "\/forms", ""]},/' intranet.json
  xopolicy apply intranet.json --dry-run
  xopolicy apply intranet.json
  xopolicy apply intranet.json
  xopolicy audit
)
echo "== walkthrough done"

echo "== done; the temporary stores are removed"
