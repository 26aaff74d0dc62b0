#!/usr/bin/env bash
# Fuzzes every exported entry with libFuzzer (tests/fuzz/entries_fuzz.cpp): builds the clang fuzz build in
# build/fuzz (the library with ASan + UBSan and the fuzzer's coverage hooks) and runs the target for the
# given number of seconds (default 600), starting from the committed corpus tests/fuzz/corpus. Inputs that
# reach new code are kept in build/fuzz/fuzz-found, failing inputs in build/fuzz/fuzz-artifacts.
#   tools/fuzz.sh [SECONDS] [LIBFUZZER_ARGS...]   fuzz; KOVRA_FUZZ_WORKERS sets the runtime's workers (2)
#   tools/fuzz.sh --coverage                      line coverage of src/ by the committed corpus (build/fuzz-cov)
#   tools/fuzz.sh --seeds                         rewrites the committed corpus: two seeds per routine family
set -u -o pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

ensure_packages cmake ninja-build clang-14 libclang-rt-14-dev llvm-14 ccache || exit 1

# fuzz_build NAME [CMAKE_ARGS...]: configures and builds the fuzz target alone in build/NAME with clang 14.
fuzz_build() {
  local name=$1
  shift
  configure "$name" -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DKOVRA_FUZZ=ON \
    -DKOVRA_BUILD_TESTS=OFF -DKOVRA_BUILD_BENCH=OFF -DKOVRA_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g1" -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" "$@" &&
    build "$name" kovra_fuzz
}

# Kernels with many bits of mmap randomisation break the sanitizers' memory layout: run without it there.
launcher=()
if [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)" -gt 28 ]; then
  launcher=(setarch "$(uname -m)" -R)
fi

corpus=$KOVRA_ROOT/tests/fuzz/corpus
case "${1:-}" in
  --seeds)
    fuzz_build fuzz || exit 1
    rm -f "$corpus"/*
    KOVRA_FUZZ_WRITE_SEEDS=$corpus "${launcher[@]}" "$KOVRA_ROOT/build/fuzz/tests/fuzz/kovra_fuzz"
    ;;
  --coverage)
    # Source-based coverage: every corpus input once, then the line figures of src/ alone.
    fuzz_build fuzz-cov -DCMAKE_CXX_FLAGS="-fprofile-instr-generate -fcoverage-mapping" \
      -DCMAKE_EXE_LINKER_FLAGS="-fprofile-instr-generate" || exit 1
    dir=$KOVRA_ROOT/build/fuzz-cov
    rm -f "$dir"/*.profraw
    LLVM_PROFILE_FILE=$dir/corpus-%p.profraw "${launcher[@]}" "$dir/tests/fuzz/kovra_fuzz" -runs=0 "$corpus" ||
      exit 1
    llvm-profdata-14 merge -sparse "$dir"/*.profraw -o "$dir/corpus.profdata" &&
      llvm-cov-14 report "$dir/tests/fuzz/kovra_fuzz" -instr-profile="$dir/corpus.profdata" \
        "$KOVRA_ROOT/src" | tail -n 1
    ;;
  *)
    seconds=${1:-600}
    shift $(($# > 0 ? 1 : 0))
    fuzz_build fuzz || exit 1
    dir=$KOVRA_ROOT/build/fuzz
    mkdir -p "$dir/fuzz-found" "$dir/fuzz-artifacts"
    KOVRA_FUZZ_STATS=1 "${launcher[@]}" "$dir/tests/fuzz/kovra_fuzz" -max_total_time="$seconds" -print_final_stats=1 \
      -artifact_prefix="$dir/fuzz-artifacts/" "$@" "$dir/fuzz-found" "$corpus"
    ;;
esac
