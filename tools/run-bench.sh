#!/usr/bin/env bash
# The main job of KOVRA, from a fresh clone: installs the missing Debian packages, builds the host
# Release configuration (build/release) and runs kovra-bench on its default cases, side by side with
# OpenBLAS when it is installed. Arguments, if any, go to kovra-bench instead of the defaults
# (see: bash tools/run-bench.sh --help).
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
if [ $# -gt 0 ]; then
  exec "$bench" "$@"
fi
openblas=/usr/lib/$(gcc -print-multiarch)/libopenblas.so.0
if [ -e "$openblas" ]; then
  exec "$bench" --peer "$openblas"
fi
exec "$bench"
