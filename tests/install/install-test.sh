#!/usr/bin/env bash
# Installs a build into a temporary prefix and uses only what was installed:
# builds the demos against it through pkg-config and through
# find_package(XoPolicy), runs them on a store made by the installed
# xopolicy, and checks the manual page and the bash completion.
#
#   install-test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build_dir=$(cd "$1" && pwd)
source_dir=$(cd "$2" && pwd)
examples=$source_dir/examples

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
unset LD_LIBRARY_PATH XO_ADMIN XO_PASSWORD

fail() {
  echo "install-test: $*" >&2
  exit 1
}

cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log"

# Only the public header: the store's headers stay inside the build.
headers=$(cd "$prefix/include" && find . -type f | sort)
[ "$headers" = ./XoPolicyApi.h ] || fail "installed headers: $headers"
# No RUNPATH may point into the build tree.
while read -r elf; do
  if readelf -d "$elf" | grep -E 'R(UN)?PATH' | grep -qv ORIGIN; then
    fail "$elf has a RUNPATH outside the prefix: $(readelf -d "$elf" | grep PATH)"
  fi
done < <(find "$prefix/bin" "$prefix/lib"* -type f \( -name 'xopolicy' -o -name '*.so*' \))

# pkg-config: the demo, compiled and linked by hand.
pc_file=$(find "$prefix" -name xo-policy.pc)
[ -n "$pc_file" ] || fail "no xo-policy.pc"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc_file")
libdir=$(pkg-config --variable=libdir xo-policy)
# shellcheck disable=SC2046  # pkg-config prints several words on purpose
cc -std=c99 -Wall -Wextra -Werror "$examples/domains_demo.c" -o "$work/domains_demo" \
  $(pkg-config --cflags --libs xo-policy) -Wl,-rpath,"$libdir"

# find_package: a project of its own that knows only the prefix.
cmake -S "$(dirname "$0")" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DXO_EXAMPLES_DIR="$examples" >"$work/consumer.log"
cmake --build "$work/consumer" >>"$work/consumer.log" || {
  cat "$work/consumer.log"
  fail "the demos do not build against the CMake package"
}

# Both demos on a store made by the installed tool.
store=sqlite:$work/store/policy.db
"$prefix/bin/xopolicy" init --store "$store" --admin demo-admin --password demo-password \
  --hash-cost minimum
XO_POLICY_STORE=$store "$work/domains_demo" demo-admin demo-password
XO_POLICY_STORE=$store "$work/consumer/policy_demo" demo-admin demo-password

# The manual page formats without a warning.
page=$prefix/share/man/man1/xopolicy.1
warnings=$(groff -man -Tutf8 -ww -z "$page" 2>&1)
[ -z "$warnings" ] || fail "groff warns about $page: $warnings"
if command -v man >/dev/null; then
  man -l "$page" >/dev/null || fail "man cannot show $page"
fi

# The completion is valid bash and offers what the tool has.
completion=$prefix/share/bash-completion/completions/xopolicy
bash -n "$completion" || fail "$completion is not valid bash"
bash "$(dirname "$0")/completion-test.sh" "$completion" "$prefix/bin/xopolicy"
echo "install-test: passed"
