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
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7-a)

set(KOVRA_ARM_TRIPLE arm-linux-gnueabihf)
set(KOVRA_ARM_SYSROOT /usr/${KOVRA_ARM_TRIPLE})

set(CMAKE_C_COMPILER ${KOVRA_ARM_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KOVRA_ARM_TRIPLE}-g++)
find_program(KOVRA_ARM_GFORTRAN ${KOVRA_ARM_TRIPLE}-gfortran)
if(KOVRA_ARM_GFORTRAN)
  set(CMAKE_Fortran_COMPILER ${KOVRA_ARM_GFORTRAN})
endif()

set(KOVRA_ARM_BASELINE "-march=armv7-a -mfpu=neon -mfloat-abi=hard")
set(CMAKE_C_FLAGS_INIT "${KOVRA_ARM_BASELINE}")
set(CMAKE_CXX_FLAGS_INIT "${KOVRA_ARM_BASELINE}")
set(CMAKE_Fortran_FLAGS_INIT "${KOVRA_ARM_BASELINE}")

# Debian's cross compilers know their own include and library paths; CMake's own searches go to the
# cross sysroot for libraries and headers and to the host for programs.
set(CMAKE_FIND_ROOT_PATH ${KOVRA_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KOVRA_QEMU_ARM qemu-arm)
if(KOVRA_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KOVRA_QEMU_ARM} -L ${KOVRA_ARM_SYSROOT})
endif()
