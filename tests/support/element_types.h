// The library's four element types as one GoogleTest type list, so that a typed test covers all of
// them, with readable names in the test report.
#pragma once

#include <gtest/gtest.h>

#include <complex>
#include <string>
#include <type_traits>

namespace kovra_test {

using element_types = ::testing::Types<float, double, std::complex<float>, std::complex<double>>;

struct element_type_names {
  template <typename T>
  static std::string GetName(int) {
    if constexpr (std::is_same_v<T, float>) return "float";
    else if constexpr (std::is_same_v<T, double>) return "double";
    else if constexpr (std::is_same_v<T, std::complex<float>>) return "complex_float";
    else return "complex_double";
  }
};

}  // namespace kovra_test
