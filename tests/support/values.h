// Test values for the four element types (the type list, elements from their parts, sentinels, random fills,
// the product and sum as written), comparison bit for bit or within a tolerance, and the library's reports.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "helper/helper.h"

namespace kovra::error {}
namespace kovra::kernels {}
namespace kovra::parallel {}
namespace kovra::threading {}

namespace kovra_test {

// The library's names as the tests use them, without the tests living in its namespaces.
namespace error = kovra::error;
namespace helper = kovra::helper;
namespace kernels = kovra::kernels;
namespace parallel = kovra::parallel;
namespace threading = kovra::threading;
using kovra::is_complex_v;
using kovra::real_t;
using kovra::serial_cutoff;

using element_types = ::testing::Types<float, double, std::complex<float>, std::complex<double>>;
using real_types = ::testing::Types<float, double>;
struct element_type_names {
  template <typename T>
  static std::string GetName(int) {
    const std::string part = std::is_same_v<real_t<T>, float> ? "float" : "double";
    return is_complex_v<T> ? "complex_" + part : part;
  }
};

// An element from its parts; a real type drops the imaginary part.
template <typename T>
T make(double re, double im = 0) {
  if constexpr (is_complex_v<T>)
    return T(static_cast<real_t<T>>(re), static_cast<real_t<T>>(im));
  else
    return static_cast<T>(re);
}

// The product as written, for finite operands: (ac - bd, ad + bc) with each operation rounded. The
// products go through volatile because GCC's vectorizer turns this very pattern into fused
// multiply-add-subtract instructions, -ffp-contract=off notwithstanding.
template <typename T>
T plain_mul(const T& x, const T& y) {
  if constexpr (is_complex_v<T>) {
    const volatile real_t<T> ac = x.real() * y.real(), bd = x.imag() * y.imag();
    const volatile real_t<T> ad = x.real() * y.imag(), bc = x.imag() * y.real();
    return T(ac - bd, ad + bc);
  } else {
    return x * y;
  }
}

template <typename T>
T plain_add(const T& x, const T& y) {
  if constexpr (is_complex_v<T>)
    return T(x.real() + y.real(), x.imag() + y.imag());
  else
    return x + y;
}

// y + a*x as the library's element steps compute it: one fused multiply-add for a real type, the product as
// written and then the sum for a complex one.
template <typename T>
T multiply_add(const T& a, const T& x, const T& y) {
  if constexpr (is_complex_v<T>)
    return plain_add(y, plain_mul(a, x));
  else
    return std::fma(a, x, y);
}

template <typename T>
T conj_of(const T& v) {
  if constexpr (is_complex_v<T>)
    return T(v.real(), -v.imag());
  else
    return v;
}

template <typename T>
bool same_bits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// A quiet NaN with a payload that no arithmetic produces: a position holding exactly these bits after a
// call was not written by it.
template <typename T>
T sentinel() {
  real_t<T> part;
  if constexpr (sizeof(part) == 4) {
    const std::uint32_t bits = 0x7fc0a5a5u;
    std::memcpy(&part, &bits, sizeof part);
  } else {
    const std::uint64_t bits = 0x7ff8a5a5a5a5a5a5ull;
    std::memcpy(&part, &bits, sizeof part);
  }
  if constexpr (is_complex_v<T>)
    return T(part, part);
  else
    return part;
}

template <typename T>
T nan_element() {
  return make<T>(NAN, NAN);
}

template <typename T>
bool has_nan(const T& v) {
  return std::isnan(helper::REAL(v)) || std::isnan(helper::IMAG(v));
}

// Reproducible values with every part in [-1, 1].
template <typename T>
std::vector<T> random_values(int count, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_real_distribution<double> part(-1.0, 1.0);
  std::vector<T> values;
  for (int i = 0; i < count; ++i) {
    const double re = part(engine);
    values.push_back(make<T>(re, part(engine)));
  }
  return values;
}

template <typename T>
std::string describe(const T& v) {
  std::ostringstream text;
  text.precision(std::numeric_limits<real_t<T>>::max_digits10);
  text << v;
  return text.str();
}

template <typename T>
::testing::AssertionResult all_same_bits(const std::vector<T>& actual, const std::vector<T>& expected) {
  if (actual.size() != expected.size())
    return ::testing::AssertionFailure() << actual.size() << " elements, expected " << expected.size();
  for (std::size_t i = 0; i < actual.size(); ++i)
    if (!same_bits(actual[i], expected[i]))
      return ::testing::AssertionFailure()
             << "element " << i << " is " << describe(actual[i]) << ", expected " << describe(expected[i]);
  return ::testing::AssertionSuccess();
}

// |actual - expected| <= tolerance on every part; a NaN anywhere fails.
template <typename T>
::testing::AssertionResult all_near(const std::vector<T>& actual, const std::vector<T>& expected, double tolerance) {
  if (actual.size() != expected.size())
    return ::testing::AssertionFailure() << actual.size() << " elements, expected " << expected.size();
  for (std::size_t i = 0; i < actual.size(); ++i) {
    const double re = std::fabs(double(helper::REAL(actual[i])) - double(helper::REAL(expected[i])));
    const double im = std::fabs(double(helper::IMAG(actual[i])) - double(helper::IMAG(expected[i])));
    if (!(re <= tolerance) || !(im <= tolerance))
      return ::testing::AssertionFailure() << "element " << i << " is " << describe(actual[i]) << ", expected "
                                           << describe(expected[i]) << " within " << tolerance;
  }
  return ::testing::AssertionSuccess();
}

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
