#!/usr/bin/env bash
# The main job of KOVRA, from a fresh clone: installs the missing Debian packages, builds the host
# Release configuration (build/release) and runs kovra-bench on its default cases, side by side with
# OpenBLAS when it is installed. Arguments, if any, go to kovra-bench instead of the defaults
# (see: bash tools/run-bench.sh --help). Either way the rates are also drawn to
# build/release/bench/kovra-bench.svg, unless the arguments name a --plot file of their own.
set -u -o pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

ensure_packages cmake ninja-build g++ gfortran googletest ccache libopenblas-dev || exit 1
configure release -DCMAKE_BUILD_TYPE=Release || exit 1
build release kovra-bench || exit 1

bench=$KOVRA_ROOT/build/release/bench/kovra-bench

# Under some hypervisors OpenBLAS does not recognise the processor and falls back to its SSE3 kernels,
# which would make it a weak peer. On a host with AVX2 and FMA, ask for its AVX2 kernels unless the
# caller chose a core type already (kovra-bench prints the target the peer runs).
if [ -z "${OPENBLAS_CORETYPE:-}" ] && grep -qw avx2 /proc/cpuinfo && grep -qw fma /proc/cpuinfo; then
  export OPENBLAS_CORETYPE=Haswell
fi
args=("$@")
openblas=/usr/lib/$(gcc -print-multiarch)/libopenblas.so.0
if [ $# -eq 0 ] && [ -e "$openblas" ]; then
  args=(--peer "$openblas")
fi

# The picture goes next to the program unless the caller chose a file for it or only asked for help. An
# old picture is removed first, so that the one named at the end is this run's.
plot=$KOVRA_ROOT/build/release/bench/kovra-bench.svg
for arg in "${args[@]}"; do
  case $arg in
    --plot | --plot=* | --help | -h) plot= ;;
  esac
done
if [ -n "$plot" ]; then
  rm -f "$plot"
  args+=(--plot "$plot")
fi

"$bench" "${args[@]}"
status=$?
if [ -n "$plot" ] && [ -s "$plot" ]; then
  echo "== Plot of the rates against size: $plot"
fi
exit $status
