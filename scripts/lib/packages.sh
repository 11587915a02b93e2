# Sourced by the setup scripts: which packages are missing, and how to become
# root to install them.

# missing_packages NAME...: sets `missing` to those not installed.
missing_packages() {
  missing=()
  local package
  for package in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed'; then
      missing+=("$package")
    fi
  done
}

# choose_as_root SCRIPT PACKAGE...: sets `as_root` to nothing as root, to sudo
# where there is one; else says which packages cannot be installed and exits.
choose_as_root() {
  local script=$1
  shift
  if [ "$(id -u)" -eq 0 ]; then
    as_root=()
  elif command -v sudo >/dev/null 2>&1; then
    as_root=(sudo)
  else
    echo "$script: these packages are missing and neither root nor sudo is available:" >&2
    echo "  $*" >&2
    exit 1
  fi
}
