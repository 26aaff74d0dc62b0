# What the Debian cross toolchain files share, included by each after it has set:
#   KOVRA_CROSS_TRIPLE    the Debian triple (its compilers are <triple>-gcc, -g++, -gfortran; its sysroot /usr/<triple>)
#   KOVRA_CROSS_BASELINE  the flags every file is built with, the processors the one binary must run on
#   KOVRA_CROSS_QEMU      the qemu-user program that runs the test programs
set(CMAKE_SYSTEM_NAME Linux)
set(KOVRA_CROSS_SYSROOT /usr/${KOVRA_CROSS_TRIPLE})

set(CMAKE_C_COMPILER ${KOVRA_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KOVRA_CROSS_TRIPLE}-g++)
find_program(KOVRA_CROSS_GFORTRAN ${KOVRA_CROSS_TRIPLE}-gfortran)
if(KOVRA_CROSS_GFORTRAN)
  set(CMAKE_Fortran_COMPILER ${KOVRA_CROSS_GFORTRAN})
endif()

set(CMAKE_C_FLAGS_INIT "${KOVRA_CROSS_BASELINE}")
set(CMAKE_CXX_FLAGS_INIT "${KOVRA_CROSS_BASELINE}")
set(CMAKE_Fortran_FLAGS_INIT "${KOVRA_CROSS_BASELINE}")

# Debian's cross compilers know their own include and library paths; CMake's own searches go to the
# cross sysroot for libraries and headers and to the host for programs.
set(CMAKE_FIND_ROOT_PATH ${KOVRA_CROSS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KOVRA_CROSS_EMULATOR ${KOVRA_CROSS_QEMU})
if(KOVRA_CROSS_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KOVRA_CROSS_EMULATOR} -L ${KOVRA_CROSS_SYSROOT})
endif()
