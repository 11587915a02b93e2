#!/usr/bin/env bash
# Packages a build with CPack and checks the Debian package: its fields, that
# it holds what a system library and its tool install and nothing of the tests
# or the store's headers, and, as root, that apt installs it, the installed
# tool runs, and apt removes it again.
#
#   package-test.sh BUILD_DIR
set -euo pipefail
build_dir=$(cd "$1" && pwd)

fail() {
  echo "package-test: $*" >&2
  exit 1
}

rm -f "$build_dir"/xo-policy_*.deb
(cd "$build_dir" && cpack -G DEB >cpack.log) || {
  cat "$build_dir/cpack.log"
  fail "cpack failed"
}
debs=("$build_dir"/xo-policy_*_"$(dpkg --print-architecture)".deb)
[ -f "${debs[0]}" ] || fail "cpack left no xo-policy_VERSION_ARCH.deb"
deb=${debs[0]}

info=$(dpkg-deb -I "$deb")
for field in Package Version Architecture Maintainer Section Homepage Description Depends; do
  grep -q "^ $field: ." <<<"$info" || fail "no $field field in $deb"
done
# dpkg-shlibdeps names the libraries of other packages, and not the package's own.
for needed in libc6 libstdc++6 libsqlite3-0 libsodium23; do
  grep -q "^ Depends:.*\b$needed\b" <<<"$info" || fail "Depends lacks $needed: $info"
done
if grep -q "^ Depends:.*xo-policy" <<<"$info"; then fail "the package depends on itself"; fi

# Each pattern must match a path (or a symbolic link) in the package.
contents=$(dpkg-deb -c "$deb" | awk '{ print $6 $7 $8 }')
while read -r pattern; do
  grep -qE "$pattern" <<<"$contents" || fail "no path matches $pattern"
done <<'EOF'
^\./usr/lib/(.*/)?libXoPolicyApi\.so\.[0-9]+\.[0-9]+\.[0-9]+$
^\./usr/lib/(.*/)?libXoPolicyApi\.so\.[0-9]+->libXoPolicyApi\.so\.[0-9.]+$
^\./usr/lib/(.*/)?libXoPolicyApi\.so->libXoPolicyApi\.so\.[0-9]+$
^\./usr/lib/(.*/)?xo-policy/libXoPolicyStore\.so\.[0-9]+
^\./usr/include/XoPolicyApi\.h$
^\./usr/bin/xopolicy$
^\./usr/share/man/man1/xopolicy\.1(\.gz)?$
^\./usr/share/bash-completion/completions/xopolicy$
^\./usr/lib/(.*/)?pkgconfig/xo-policy\.pc$
^\./usr/lib/(.*/)?cmake/XoPolicy/XoPolicyConfig\.cmake$
^\./usr/lib/(.*/)?cmake/XoPolicy/XoPolicyConfigVersion\.cmake$
EOF
# The public header alone, and no test, demo, fuzzer or benchmark.
headers=$(grep -E '^\./usr/include/.' <<<"$contents")
[ "$headers" = ./usr/include/XoPolicyApi.h ] || fail "the package holds these headers: $headers"
unwanted=$(grep -E '_tests$|_demo$|xo_fuzz|xo_bench|gtest|\.a$' <<<"$contents" || true)
[ -z "$unwanted" ] || fail "the package holds what it must not: $unwanted"

if [ "$(id -u)" -ne 0 ]; then
  echo "package-test: contents checked; installing needs root, skipped"
  exit 0
fi
if dpkg-query -W -f='${Status}' xo-policy 2>/dev/null | grep -q 'ok installed'; then
  echo "package-test: xo-policy is installed on this machine already; not replacing it"
  exit 0
fi
export DEBIAN_FRONTEND=noninteractive
apt=(apt-get -y -q -o DPkg::Lock::Timeout=120)
trap '"${apt[@]}" purge xo-policy >/dev/null 2>&1 || true' EXIT
"${apt[@]}" install "$deb" >"$build_dir/apt.log" 2>&1 || {
  cat "$build_dir/apt.log"
  fail "apt-get install $deb failed"
}
/usr/bin/xopolicy --help >/dev/null || fail "the installed xopolicy does not run"
pkg-config --exists xo-policy || fail "pkg-config does not find the installed xo-policy.pc"
"${apt[@]}" purge xo-policy >>"$build_dir/apt.log" 2>&1 || fail "apt-get purge failed"
trap - EXIT
[ ! -e /usr/bin/xopolicy ] || fail "/usr/bin/xopolicy is left after removing the package"
echo "package-test: passed"
