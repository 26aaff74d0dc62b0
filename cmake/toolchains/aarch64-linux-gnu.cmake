# Cross build for 64-bit ARM (AArch64) Linux with Debian's toolchain (packages g++-aarch64-linux-gnu, and
# gfortran-aarch64-linux-gnu for the Fortran example).
#
#   cmake -S . -B build/aarch64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake
#
# The baseline is ARMv8-A, whose Advanced SIMD (NEON) and fused multiply-add every AArch64 processor has, so
# the one binary runs on every 64-bit ARM core and its NEON kernels need no flags of their own. CTest runs the
# test programs under qemu-aarch64 with the Debian cross sysroot; its CPU model comes from QEMU_CPU:
#   QEMU_CPU=cortex-a57 ctest --test-dir build/aarch64
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(KOVRA_CROSS_TRIPLE aarch64-linux-gnu)
set(KOVRA_CROSS_BASELINE "-march=armv8-a")
set(KOVRA_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
