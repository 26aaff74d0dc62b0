// Reference matrix product for the Level 3 tests, in long double (real and complex), independent of the
// library's code, with the tolerance that its comparisons use: a few eps * sqrt(k) * the size of the
// terms, failing on NaN.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "padded_matrix.h"

namespace kovra_test {

template <typename T>
using wide_t = std::conditional_t<is_complex_v<T>, std::complex<long double>, long double>;

template <typename T>
wide_t<T> widen(const T& v) {
  if constexpr (is_complex_v<T>) return wide_t<T>(v.real(), v.imag());
  else return static_cast<long double>(v);
}

template <typename T>
long double magnitude(const T& v) {
  return std::abs(widen(v));
}

// op(X)(i, l) for trans 'N', 'T' or 'C' of a column-major X.
template <typename T>
wide_t<T> op_element(char trans, const padded_matrix<T>& x, int i, int l) {
  const char t = trans & 0xDF;
  if (t == 'N') return widen(x.at(i, l));
  const wide_t<T> v = widen(x.at(l, i));
  if constexpr (is_complex_v<T>) return t == 'C' ? std::conj(v) : v;
  else return v;
}

// The expected C of alpha*op(A)*op(B) + beta*C (beta = 0 ignores the old C), and per element a bound
// on the rounding the library may show.
template <typename T>
struct expected_product {
  std::vector<wide_t<T>> value;
  std::vector<long double> bound;
  int m;
  wide_t<T> operator()(int i, int j) const { return value[i + std::size_t(j) * m]; }
};

template <typename T>
expected_product<T> reference_gemm(char transa, char transb, int m, int n, int k, T alpha,
                                   const padded_matrix<T>& a, const padded_matrix<T>& b, T beta,
                                   const padded_matrix<T>& c) {
  using R = real_t<T>;
  const long double eps = std::numeric_limits<R>::epsilon();
  expected_product<T> out{std::vector<wide_t<T>>(std::size_t(m) * n), std::vector<long double>(std::size_t(m) * n), m};
  const bool beta_zero = helper::is_zero(beta);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      wide_t<T> sum = 0;
      long double size = 0;
      for (int l = 0; l < k; ++l) {
        const wide_t<T> term = op_element(transa, a, i, l) * op_element(transb, b, l, j);
        sum += term;
        size += std::abs(term);
      }
      wide_t<T> v = widen(alpha) * sum;
      long double bound = std::abs(widen(alpha)) * size;
      if (!beta_zero) {
        v += widen(beta) * widen(c.at(i, j));
        bound += std::abs(widen(beta)) * magnitude(c.at(i, j));
      }
      out.value[i + std::size_t(j) * m] = v;
      out.bound[i + std::size_t(j) * m] = 8 * eps * (std::sqrt(static_cast<long double>(k)) + 2) * (bound + 1e-30L);
    }
  return out;
}

template <typename T>
::testing::AssertionResult matches(const expected_product<T>& want, const padded_matrix<T>& got) {
  for (int j = 0; j < got.cols(); ++j)
    for (int i = 0; i < got.rows(); ++i) {
      const long double diff = std::abs(widen(got.at(i, j)) - want(i, j));
      if (!(diff <= want.bound[i + std::size_t(j) * want.m]))
        return ::testing::AssertionFailure() << "C(" << i << ", " << j << ") is off by " << static_cast<double>(diff)
                                             << " (allowed " << static_cast<double>(want.bound[i + std::size_t(j) * want.m])
                                             << ")";
    }
  return ::testing::AssertionSuccess();
}

}  // namespace kovra_test
