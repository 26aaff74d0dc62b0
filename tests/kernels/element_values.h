// Values, sentinels and exact comparison for the kernel tests, over the four element types.
#pragma once

#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "helper/helper.h"

namespace kernel_testing {

using ElementTypes = testing::Types<float, double, std::complex<float>, std::complex<double>>;

// Deterministic values in [-2, 2) with full mantissas (splitmix64), so that a different order or
// grouping of the arithmetic shows in the last bits.
class value_source {
 public:
  explicit value_source(std::uint64_t seed) : state_(seed) {}

  template <typename T> T next() {
    if constexpr (kovra::is_complex_v<T>) {
      using R = kovra::real_t<T>;
      const R re = next<R>();
      return T(re, next<R>());
    } else {
      return static_cast<T>(static_cast<double>(next_bits() >> 11) * 0x1p-53 * 4.0 - 2.0);
    }
  }

  template <typename T> std::vector<T> vector(std::size_t n) {
    std::vector<T> v(n);
    for (T& x : v) x = next<T>();
    return v;
  }

 private:
  std::uint64_t next_bits() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }
  std::uint64_t state_;
};

// A NaN in every part, for memory that must not be read into a result or must come out untouched.
template <typename T> T sentinel() {
  using R = kovra::real_t<T>;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  if constexpr (kovra::is_complex_v<T>) return T(nan, -nan);
  else return nan;
}

template <typename T> bool same_bits(const T& x, const T& y) { return std::memcmp(&x, &y, sizeof(T)) == 0; }

// The product as written, for finite operands: (ac - bd, ad + bc) with each operation rounded. The
// products go through volatile because GCC's vectorizer recognises this very pattern and emits fused
// multiply-add-subtract instructions for it, -ffp-contract=off notwithstanding.
template <typename T> T plain_mul(const T& x, const T& y) {
  if constexpr (kovra::is_complex_v<T>) {
    using R = kovra::real_t<T>;
    const volatile R ac = x.real() * y.real(), bd = x.imag() * y.imag();
    const volatile R ad = x.real() * y.imag(), bc = x.imag() * y.real();
    return T(ac - bd, ad + bc);
  } else {
    return x * y;
  }
}

template <typename T> T plain_add(const T& x, const T& y) {
  if constexpr (kovra::is_complex_v<T>) return T(x.real() + y.real(), x.imag() + y.imag());
  else return x + y;
}

template <typename T> T conj_of(const T& v) {
  if constexpr (kovra::is_complex_v<T>) return T(v.real(), -v.imag());
  else return v;
}

template <typename T> std::string show(const T& v) {
  std::ostringstream s;
  s.precision(17);
  s << v;
  return s.str();
}

// Every element of `got` has the bits of `expected`; the first difference is reported with its index.
template <typename T>
testing::AssertionResult all_same_bits(const std::vector<T>& got, const std::vector<T>& expected) {
  if (got.size() != expected.size()) return testing::AssertionFailure() << "sizes differ";
  for (std::size_t i = 0; i < got.size(); ++i)
    if (!same_bits(got[i], expected[i]))
      return testing::AssertionFailure() << "element " << i << ": " << show(got[i]) << ", expected "
                                         << show(expected[i]);
  return testing::AssertionSuccess();
}

}  // namespace kernel_testing
