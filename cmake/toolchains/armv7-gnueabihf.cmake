# Cross build for 32-bit ARMv7-A Linux with NEON, hard-float ABI, with Debian's gnueabihf toolchain
# (packages g++-arm-linux-gnueabihf, and gfortran-arm-linux-gnueabihf for the Fortran example).
#
#   cmake -S . -B build/armv7 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/armv7-gnueabihf.cmake
#
# The baseline is plain ARMv7-A with NEON, so one binary runs on every ARMv7 NEON processor; code that
# needs VFPv4 is compiled with its own flags and reached only when the CPU probe reports the feature.
# CTest runs the test programs under qemu-arm with the Debian cross sysroot. qemu-arm takes its CPU model
# from the QEMU_CPU environment variable, so the same build is tested as several processors:
#   QEMU_CPU=cortex-a15 ctest --test-dir build/armv7     (NEON + VFPv4)
#   QEMU_CPU=cortex-a9  ctest --test-dir build/armv7     (NEON without VFPv4)
set(CMAKE_SYSTEM_PROCESSOR armv7-a)
set(KOVRA_CROSS_TRIPLE arm-linux-gnueabihf)
set(KOVRA_CROSS_BASELINE "-march=armv7-a -mfpu=neon -mfloat-abi=hard")
set(KOVRA_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
