#!/usr/bin/env bash
# Every test of KOVRA, from a fresh clone: installs the missing Debian packages, then builds and runs
#   1. the host Release build (all suites, the C and Fortran examples, the exported-symbol and header tests),
#      with its install and Debian package and programs built against both (tools/check-install.sh),
#   2. the AddressSanitizer + UndefinedBehaviorSanitizer build (all suites and examples),
#   3. the ThreadSanitizer build (the suites labelled runtime or threading),
#   4. the fuzz build (clang, libFuzzer with ASan + UBSan): the target over every exported entry, for a fixed
#      number of inputs from the committed corpus,
#   5. the ARMv7 cross build under qemu-arm, once as a Cortex-A15 (NEON + VFPv4) and once as a
#      Cortex-A9 (NEON without VFPv4),
#   6. the AArch64 cross build under qemu-aarch64, as a Cortex-A53.
# Goes on after a failure, and ends with the line "N passed, N failed" summed over all CTest runs;
# exits non-zero if anything failed. Build folders: build/release, build/asan, build/tsan, build/fuzz, build/armv7, build/aarch64.
set -u -o pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

PASSED=0
FAILED=0
PROBLEMS=()
TEST_START=$SECONDS

# fail STEP: counts a step that ran no tests (configure or build failure) as one failure.
fail() {
  FAILED=$((FAILED + 1))
  PROBLEMS+=("$1")
}

# run_ctest NAME TITLE TIMEOUT [CTEST_ARGS...]: runs CTest in build/NAME and adds its counts to the
# totals. The environment of the call (QEMU_CPU, sanitizer options, a launcher) reaches the tests.
run_ctest() {
  local name=$1 title=$2 timeout=$3
  shift 3
  echo "== Testing: $title"
  local log=$KOVRA_ROOT/build/$name/ctest-$(echo "$title" | tr -c 'A-Za-z0-9\n' '-').log
  local start=$SECONDS
  ${KOVRA_TEST_LAUNCHER:-} ctest --test-dir "$KOVRA_ROOT/build/$name" --output-on-failure --no-tests=error \
    -j "$KOVRA_JOBS" --timeout "$timeout" "$@" 2>&1 | tee "$log"
  local status=${PIPESTATUS[0]}
  local summary
  summary=$(grep -Eo '[0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
  if [ -z "$summary" ]; then
    fail "$title: no test summary"
    return
  fi
  local failed total
  read -r failed _ _ _ _ total <<<"$summary"
  PASSED=$((PASSED + total - failed))
  FAILED=$((FAILED + failed))
  if [ "$failed" -ne 0 ]; then
    PROBLEMS+=("$title: $failed of $total failed")
  elif [ "$status" -ne 0 ]; then
    fail "$title: ctest exited with $status"
  fi
  echo "== $title: $((SECONDS - start)) s"
}

# sanitizer_launcher FLAG: prints the command prefix under which programs built with -fsanitize=FLAG run
# on this machine. Kernels with many bits of mmap randomisation break the sanitizers' fixed memory
# layout ("unexpected memory mapping"); running without address randomisation avoids it.
sanitizer_launcher() {
  local probe_dir=$KOVRA_ROOT/build/sanitizer-probe
  mkdir -p "$probe_dir"
  printf '#include <thread>\nint main() { int v = 0; std::thread t([&] { v = 1; }); t.join(); return v - 1; }\n' \
    >"$probe_dir/probe.cpp"
  g++ -fsanitize="$1" -pthread "$probe_dir/probe.cpp" -o "$probe_dir/probe-$1" || return 1
  if "$probe_dir/probe-$1" >/dev/null 2>&1; then
    echo ""
  elif setarch "$(uname -m)" -R "$probe_dir/probe-$1" >/dev/null 2>&1; then
    echo "== Programs built with -fsanitize=$1 run without address randomisation" >&2
    echo "setarch $(uname -m) -R"
  else
    echo "== Programs built with -fsanitize=$1 do not run on this machine:" >&2
    "$probe_dir/probe-$1" 2>&1 | head -n 5 >&2
    return 1
  fi
}

# pkgconf (pkg-config), dpkg-dev (dpkg-shlibdeps, dpkg-architecture) and file serve the install check and
# cpack's Debian package; clang-14 and libclang-rt-14-dev (libFuzzer) the fuzz build; gdb the stress tests'
# watchdog, which prints every thread's stack when a test hangs.
ensure_packages cmake ninja-build g++ gfortran googletest ccache libopenblas-dev \
  g++-arm-linux-gnueabihf gfortran-arm-linux-gnueabihf g++-aarch64-linux-gnu gfortran-aarch64-linux-gnu \
  qemu-user pkgconf dpkg-dev file \
  clang-14 libclang-rt-14-dev gdb || exit 1

# 1. Host Release build.
if configure release -DCMAKE_BUILD_TYPE=Release && build release; then
  run_ctest release "host Release" 600
else
  fail "host Release build"
fi

# The sanitizer builds use -O1 with line tables only: reports keep their file and line, and the builds
# take less than half the time of -O2 -g.
# One x86-64 binary for every processor: the library built for the baseline instruction set, the wider
# kernels' instructions confined to their own functions, the AVX2 kernel tested as this build made it, and
# the selection and the portable kernel run on an emulated processor without AVX.
if [ "$(uname -m)" = x86_64 ]; then
  if configure baseline -DCMAKE_BUILD_TYPE=Release -DKOVRA_BASELINE_X86=ON -DKOVRA_BUILD_BENCH=OFF \
    -DKOVRA_BUILD_EXAMPLES=OFF && build baseline KOVRA selection_tests kernel_tests x86_kernel_tests; then
    run_ctest baseline "x86-64 baseline build" 600 -R 'isa_confined|_without_avx|^x86_kernel_tests|^selection_tests'
  else
    fail "x86-64 baseline build"
  fi
fi

sanitizer_build=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DKOVRA_BUILD_BENCH=OFF
  -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g1" -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1"
  -DCMAKE_Fortran_FLAGS_RELWITHDEBINFO="-O1 -g1")

# 2. AddressSanitizer + UndefinedBehaviorSanitizer.
if launcher=$(sanitizer_launcher address) &&
  configure asan "${sanitizer_build[@]}" -DKOVRA_SANITIZE=address &&
  build asan; then
  KOVRA_TEST_LAUNCHER=$launcher \
    ASAN_OPTIONS=detect_leaks=1:check_initialization_order=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    run_ctest asan "AddressSanitizer+UBSan" 900
else
  fail "AddressSanitizer build"
fi

# 3. ThreadSanitizer, on the runtime and the launchers only: build just the suites that carry those labels.
tsan_labels='runtime|threading'
if launcher=$(sanitizer_launcher thread) &&
  configure tsan "${sanitizer_build[@]}" -DKOVRA_SANITIZE=thread -DKOVRA_BUILD_EXAMPLES=OFF &&
  tsan_targets=$(ctest --test-dir "$KOVRA_ROOT/build/tsan" -N -L "$tsan_labels" | sed -n 's/^ *Test *#[0-9]*: //p') &&
  [ -n "$tsan_targets" ] &&
  build tsan $tsan_targets; then
  KOVRA_TEST_LAUNCHER=$launcher \
    TSAN_OPTIONS=second_deadlock_stack=1:suppressions=$KOVRA_ROOT/tests/support/tsan-suppressions.txt \
    run_ctest tsan "ThreadSanitizer" 900 -L "$tsan_labels"
else
  fail "ThreadSanitizer build"
fi

# 4. Fuzz build with clang 14: only the library and the fuzz target (tests/fuzz), whose test runs a fixed
# number of inputs starting from the committed corpus.
if launcher=$(sanitizer_launcher address) &&
  configure fuzz "${sanitizer_build[@]}" -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
    -DKOVRA_FUZZ=ON -DKOVRA_BUILD_TESTS=OFF -DKOVRA_BUILD_EXAMPLES=OFF &&
  build fuzz kovra_fuzz; then
  KOVRA_TEST_LAUNCHER=$launcher run_ctest fuzz "Fuzz (libFuzzer, ASan+UBSan)" 600 -L fuzz
else
  fail "Fuzz build"
fi

# 5. ARMv7 cross build, tested under qemu-arm as two processors.
if configure armv7 -DCMAKE_BUILD_TYPE=Release -DKOVRA_BUILD_BENCH=OFF \
  -DCMAKE_TOOLCHAIN_FILE="$KOVRA_ROOT/cmake/toolchains/armv7-gnueabihf.cmake" &&
  build armv7; then
  QEMU_CPU=cortex-a15 run_ctest armv7 "ARMv7 Cortex-A15 (qemu)" 1200
  QEMU_CPU=cortex-a9 run_ctest armv7 "ARMv7 Cortex-A9 (qemu)" 1200
else
  fail "ARMv7 cross build"
fi

# 6. AArch64 cross build, tested under qemu-aarch64 as the in-order core most 64-bit phones have.
if configure aarch64 -DCMAKE_BUILD_TYPE=Release -DKOVRA_BUILD_BENCH=OFF \
  -DCMAKE_TOOLCHAIN_FILE="$KOVRA_ROOT/cmake/toolchains/aarch64-linux-gnu.cmake" &&
  build aarch64; then
  QEMU_CPU=cortex-a53 run_ctest aarch64 "AArch64 Cortex-A53 (qemu)" 1200
else
  fail "AArch64 cross build"
fi

echo
echo "== Test command took $((SECONDS - TEST_START)) s"
for problem in "${PROBLEMS[@]}"; do
  echo "== FAILED: $problem"
done
echo "$PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
