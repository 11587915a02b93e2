# The shared start of the tool's benchmarks (sourced).
#
#   bench_start NAME BUILD_DIR TOOL...
#
# Checks that the tools measured against are there, builds a Release xopolicy
# in BUILD_DIR, and sets `xopolicy` to it and `work` to a new scratch folder.
# The folder is on the build's disk rather than a memory-backed /tmp, so that
# a commit costs what it costs in use; the caller removes it.
bench_start() {
  local name=$1 build_dir=$2 tool
  shift 2
  for tool in "$@"; do
    if ! command -v "$tool" >/dev/null; then
      echo "$name: $tool is needed (bash scripts/setup.sh installs it)" >&2
      exit 1
    fi
  done
  cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$build_dir" -j2 --target xopolicy >/dev/null
  xopolicy="$PWD/$build_dir/cli/xopolicy"
  work=$(mktemp -d "$PWD/$build_dir/$name.XXXXXX")
}
