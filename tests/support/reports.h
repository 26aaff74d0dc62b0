// The standard-error reports of the library as the tests check them: the exact text of an argument
// report, and what a call printed.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kovra_test {

// The report of a bad argument: `family` with its trailing blank ("GEMM "), position one-based.
inline std::string report(const char* family, int position) {
  return std::string("** KOVRA Error!  On Entry to ") + family + " parameter number " + std::to_string(position) +
         " had an illegal value!\n";
}

// What `call()` wrote to standard error.
template <typename Call>
std::string stderr_of(Call&& call) {
  ::testing::internal::CaptureStderr();
  call();
  return ::testing::internal::GetCapturedStderr();
}

}  // namespace kovra_test
