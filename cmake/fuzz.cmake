# The fuzz build (KOVRA_FUZZ=ON, clang only): the library's objects get the fuzzer's coverage hooks with
# AddressSanitizer and UndefinedBehaviorSanitizer, and the build holds the fuzz target of tests/fuzz, which
# links them statically. The runtime stays uninstrumented: its own tests run under ThreadSanitizer.
if(NOT KOVRA_FUZZ)
  return()
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "KOVRA_FUZZ needs clang (libFuzzer), e.g. -DCMAKE_CXX_COMPILER=clang++-14")
endif()
set(KOVRA_FUZZ_FLAGS -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
  -fno-omit-frame-pointer)

# Runs once the whole tree is read, when the library's targets exist.
function(kovra_fuzz_instrument)
  target_compile_options(kovra_objects PRIVATE ${KOVRA_FUZZ_FLAGS})
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL kovra_fuzz_instrument)

if(NOT KOVRA_BUILD_TESTS)  # otherwise tests/ adds the folder with the other suites
  enable_testing()
  add_subdirectory(tests/fuzz)
endif()
