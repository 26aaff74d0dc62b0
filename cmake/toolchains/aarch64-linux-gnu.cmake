# Cross build for 64-bit ARM (AArch64) Linux with Debian's toolchain (packages g++-aarch64-linux-gnu, and
# gfortran-aarch64-linux-gnu for the Fortran example).
#
#   cmake -S . -B build/aarch64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu.cmake
#
# The baseline is ARMv8-A, whose Advanced SIMD (NEON) and fused multiply-add every AArch64 processor has, so
# the one binary runs on every 64-bit ARM core and its NEON kernels need no flags of their own. CTest runs the
# test programs under qemu-aarch64 with the Debian cross sysroot; its CPU model comes from QEMU_CPU:
#   QEMU_CPU=cortex-a57 ctest --test-dir build/aarch64
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(KOVRA_A64_TRIPLE aarch64-linux-gnu)
set(KOVRA_A64_SYSROOT /usr/${KOVRA_A64_TRIPLE})

set(CMAKE_C_COMPILER ${KOVRA_A64_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KOVRA_A64_TRIPLE}-g++)
find_program(KOVRA_A64_GFORTRAN ${KOVRA_A64_TRIPLE}-gfortran)
if(KOVRA_A64_GFORTRAN)
  set(CMAKE_Fortran_COMPILER ${KOVRA_A64_GFORTRAN})
endif()

set(KOVRA_A64_BASELINE "-march=armv8-a")
set(CMAKE_C_FLAGS_INIT "${KOVRA_A64_BASELINE}")
set(CMAKE_CXX_FLAGS_INIT "${KOVRA_A64_BASELINE}")
set(CMAKE_Fortran_FLAGS_INIT "${KOVRA_A64_BASELINE}")

# Debian's cross compilers know their own include and library paths; CMake's own searches go to the
# cross sysroot for libraries and headers and to the host for programs.
set(CMAKE_FIND_ROOT_PATH ${KOVRA_A64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KOVRA_QEMU_AARCH64 qemu-aarch64)
if(KOVRA_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KOVRA_QEMU_AARCH64} -L ${KOVRA_A64_SYSROOT})
endif()
