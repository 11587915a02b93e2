# Sourced by the setup scripts: installs i386 packages next to the amd64 ones.
#
# A 32-bit library shares its files' names with its 64-bit twin, so dpkg wants
# both at one version. The i386 lists may only offer an older version than the
# installed amd64 twin (the i386 lists of a suite's updates can lag behind), and
# apt will then refuse. For every such shared library in the packages'
# dependencies, both architectures are taken at the i386 version.

# Prints "name=version name:i386=version" for each amd64 library that must
# move to its i386 twin's version before the given packages can install.
i386_matching_versions() {
  local -a shared
  # Installed amd64 libraries that must stay at one version with a twin.
  mapfile -t shared < <(
    apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
      --no-breaks --no-replaces --no-enhances "$@" 2>/dev/null |
      sed -n 's/^\([^ <][^ ]*\):i386$/\1/p' | sort -u |
      xargs -r dpkg-query -W -f='${Package} ${Status} ${Multi-Arch} ${Version}\n' 2>/dev/null |
      awk '$4 == "installed" && $5 == "same" { print $1, $6 }')
  [ ${#shared[@]} -gt 0 ] || return 0
  local -A installed=()
  local line
  for line in "${shared[@]}"; do installed[${line% *}]=${line#* }; done
  local -a names=("${!installed[@]}")
  # One policy query for all of them; each block starts "name:i386:".
  apt-cache policy "${names[@]/%/:i386}" 2>/dev/null |
    awk '/^[^ ].*:i386:$/ { name = substr($1, 1, length($1) - 6) }
         /^  Candidate: / { print name, $2 }' |
    while read -r package candidate; do
      if [ "$candidate" = "(none)" ]; then continue; fi
      # The twin is named with its version even where the two already agree:
      # otherwise apt may pull a newer amd64 library than the i386 lists have.
      if [ "$candidate" != "${installed[$package]}" ]; then
        echo "$package=$candidate"
        i386_siblings "$package" "${installed[$package]}" "$candidate"
      fi
      echo "$package:i386=$candidate"
    done
}

# Prints "name=version" for each installed package built from the same source
# at the same version as PACKAGE (libssl-dev beside libssl3) that is offered
# at VERSION too: it moves with the library, or apt would have to remove it.
i386_siblings() {
  local package=$1 installed=$2 candidate=$3 source sibling
  source=$(dpkg-query -W -f='${source:Package}\n' "$package" 2>/dev/null | head -1)
  [ -n "$source" ] || return 0
  dpkg-query -W -f='${Package} ${source:Package} ${Version} ${Architecture} ${db:Status-Abbrev}\n' |
    awk -v s="$source" -v v="$installed" -v p="$package" \
      '$2 == s && $3 == v && $1 != p && $4 != "i386" && $5 ~ /^ii/ { print $1 }' |
    while read -r sibling; do
      if apt-cache madison "$sibling" | awk -v c="$candidate" '$3 == c { found = 1 } END { exit !found }'; then
        echo "$sibling=$candidate"
      fi
    done
}

# install_i386 APT_COMMAND... -- PACKAGE...: installs the packages (names with
# :i386 where meant) with the version matching above.
install_i386() {
  local -a apt_command=()
  while [ "$1" != "--" ]; do apt_command+=("$1"); shift; done
  shift
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    "${apt_command[@]}" dpkg --add-architecture i386
    "${apt_command[@]}" apt-get update || true
  fi
  local -a matched
  # shellcheck disable=SC2207
  matched=($(i386_matching_versions "$@"))
  if [ ${#matched[@]} -gt 0 ]; then echo "setup: taking i386 versions: ${matched[*]}"; fi
  DEBIAN_FRONTEND=noninteractive "${apt_command[@]}" apt-get install -y --no-install-recommends \
    --allow-downgrades "${matched[@]}" "$@"
}
