// Reference Level 2 results: the matrix-vector product in long double with a per-element bound of a few
// eps times the size of the terms (a NaN fails it), and the rank-one update as a plain loop.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "reference_level3.h"
#include "values.h"

namespace kovra_test {

template <typename T>
struct expected_vector {
  std::vector<wide_t<T>> value;
  std::vector<long double> bound;
};

// y := alpha*op(A)*x + beta*y for an m by n A given as element(i, j); beta = 0 ignores the old y.
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
      sum += a * widen(x[l]);
      size += std::abs(a * widen(x[l]));
    }
    const wide_t<T> old = helper::is_zero(beta) ? wide_t<T>(0) : widen(beta) * widen(y[r]);
    out.value[r] = widen(alpha) * sum + old;
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

// A(i, j) += alpha * x_i * op(y_j), op conjugating when asked; at(i, j) is the element of A.
template <typename T, typename At>
void reference_ger(bool conjugate_y, int m, int n, T alpha, const std::vector<T>& x, const std::vector<T>& y,
                   At&& at) {
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) at(i, j) += alpha * x[i] * helper::CONJG(conjugate_y, y[j]);
}

}  // namespace kovra_test
