# Compiler flags shared by every target of ours.
#
# Rounding is part of the library's contract (fused multiply-adds where prescribed, separate roundings
# elsewhere), so contraction is off everywhere and fast-math is never used: every fma in the code is
# written out as std::fma.

add_library(kovra_flags INTERFACE)
target_compile_options(kovra_flags INTERFACE
  -Wall -Wextra -Werror -Wundef
  -ffp-contract=off -fno-fast-math)

if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64" AND NOT KOVRA_BASELINE_X86)
  # x86-64-v3 makes std::fma a single instruction instead of a call into libm. The x86 kernels are built for
  # their own instruction sets either way (src/CMakeLists.txt).
  target_compile_options(kovra_flags INTERFACE -march=x86-64-v3)
endif()

if(KOVRA_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(KOVRA_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT KOVRA_SANITIZE STREQUAL "")
  message(FATAL_ERROR "KOVRA_SANITIZE must be empty, 'address' or 'thread'")
endif()
