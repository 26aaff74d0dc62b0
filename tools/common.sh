# Shared by tools/run-bench.sh and tools/run-tests.sh: Debian packages, configure and build of one
# build configuration under build/<name>. Sourced, not run.

KOVRA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
KOVRA_JOBS=$(nproc)

# Fresh clones at other paths reuse each other's compiler cache entries.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$KOVRA_ROOT}
export CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-true}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "error: installing packages needs root or sudo" >&2
    return 1
  fi
}

# ensure_packages PACKAGE...: installs those that are not installed, with one apt-get update first.
ensure_packages() {
  local missing=() package
  for package in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$package")
    fi
  done
  if [ ${#missing[@]} -eq 0 ]; then
    return 0
  fi
  echo "== Installing ${missing[*]}"
  as_root apt-get update -q &&
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# configure NAME CMAKE_ARGS...: configures build/NAME with Ninja.
configure() {
  local name=$1
  shift
  local dir=$KOVRA_ROOT/build/$name
  echo "== Configuring build/$name"
  mkdir -p "$dir"
  cmake -S "$KOVRA_ROOT" -B "$dir" -G Ninja -Wno-dev "$@" >"$dir/configure.log" 2>&1
  local status=$?
  if [ $status -ne 0 ]; then
    tail -n 60 "$dir/configure.log"
    echo "== Configuring build/$name failed (log: build/$name/configure.log)"
  fi
  return $status
}

# build NAME [TARGET...]: builds build/NAME (everything, or the given targets). The full log goes to
# build/NAME/build.log; the errors are shown on failure.
build() {
  local name=$1
  shift
  local targets=()
  if [ $# -gt 0 ]; then
    targets=(--target "$@")
  fi
  echo "== Building build/$name${1:+ ($*)}"
  local start=$SECONDS
  cmake --build "$KOVRA_ROOT/build/$name" -j "$KOVRA_JOBS" "${targets[@]}" >"$KOVRA_ROOT/build/$name/build.log" 2>&1
  local status=$?
  if [ $status -ne 0 ]; then
    grep -E -A 12 'error|FAILED' "$KOVRA_ROOT/build/$name/build.log" | head -n 150
    echo "== Build of build/$name failed (log: build/$name/build.log)"
  else
    echo "== Built build/$name in $((SECONDS - start)) s"
  fi
  return $status
}
