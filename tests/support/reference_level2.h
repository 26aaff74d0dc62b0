// Reference matrix-vector product for the Level 2 tests, in long double, on plain arrays of logical
// elements, with a per-element check against a bound of a few eps times the size of the terms that
// fails on NaN. The matrix is given as a function of (i, j), so full and band storage share it.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "reference_level3.h"
#include "values.h"

namespace kovra::testing {

template <typename T>
struct expected_vector {
  std::vector<wide_t<T>> value;
  std::vector<long double> bound;
};

// y := alpha*op(A)*x + beta*y for an m by n A; beta = 0 ignores the old y. `element(i, j)` is A(i, j).
template <typename T, typename Element>
expected_vector<T> reference_matvec(char trans, int m, int n, T alpha, Element element, const std::vector<T>& x,
                                    T beta, const std::vector<T>& y) {
  const char t = trans & 0xDF;
  const int ylen = t == 'N' ? m : n, depth = t == 'N' ? n : m;
  const long double eps = std::numeric_limits<real_t<T>>::epsilon();
  expected_vector<T> out{std::vector<wide_t<T>>(ylen), std::vector<long double>(ylen)};
  for (int r = 0; r < ylen; ++r) {
    wide_t<T> sum = 0;
    long double size = 0;
    for (int l = 0; l < depth; ++l) {
      wide_t<T> a = widen(t == 'N' ? element(r, l) : element(l, r));
      if constexpr (is_complex_v<T>)
        if (t == 'C') a = std::conj(a);
      const wide_t<T> term = a * widen(x[l]);
      sum += term;
      size += std::abs(term);
    }
    const wide_t<T> scaled = widen(alpha) * sum;
    const wide_t<T> old = helper::is_zero(beta) ? wide_t<T>(0) : widen(beta) * widen(y[r]);
    out.value[r] = scaled + old;
    out.bound[r] = 8 * eps * (depth + 4) * (std::abs(widen(alpha)) * size + std::abs(old) + 1);
  }
  return out;
}

template <typename T>
::testing::AssertionResult matches(const expected_vector<T>& want, const std::vector<T>& got) {
  if (got.size() != want.value.size())
    return ::testing::AssertionFailure() << got.size() << " elements, expected " << want.value.size();
  for (std::size_t i = 0; i < got.size(); ++i) {
    const long double diff = std::abs(widen(got[i]) - want.value[i]);
    if (!(diff <= want.bound[i]))
      return ::testing::AssertionFailure() << "element " << i << " is " << describe(got[i]) << ", off by " << diff
                                           << " (bound " << want.bound[i] << ")";
  }
  return ::testing::AssertionSuccess();
}

}  // namespace kovra::testing
