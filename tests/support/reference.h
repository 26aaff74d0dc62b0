// The wide-precision reference for every product the library computes, and the tolerance its results
// are held to: each element is alpha * (sum of `depth` terms) + beta * old, summed in long double, and may
// be off by a few eps per term times the size of what was summed. A NaN fails the comparison.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <vector>

#include "values.h"

namespace kovra_test {

template <typename T>
using wide_t = std::conditional_t<is_complex_v<T>, std::complex<long double>, long double>;

template <typename T>
wide_t<T> widen(const T& v) {
  if constexpr (is_complex_v<T>)
    return wide_t<T>(v.real(), v.imag());
  else
    return static_cast<long double>(v);
}

// op(X)(i, l) for trans 'N', 'T' or 'C' (either case) of the matrix whose element (r, c) is x(r, c).
template <typename T, typename X>
wide_t<T> op_element(char trans, X&& x, int i, int l) {
  const char t = trans & 0xDF;
  const wide_t<T> v = widen<T>(t == 'N' ? x(i, l) : x(l, i));
  if constexpr (is_complex_v<T>)
    return t == 'C' ? std::conj(v) : v;
  else
    return v;
}

template <typename T>
struct wide_result {
  std::vector<wide_t<T>> value;
  std::vector<long double> bound;
};

// The m by n result, column by column, of alpha * sum over l < depth of term(i, j, l) + beta * old(i, j);
// beta = 0 never looks at old.
template <typename T, typename Term, typename Old>
wide_result<T> reference_product(int m, int n, int depth, Term term, T alpha, T beta, Old old) {
  const long double eps = std::numeric_limits<real_t<T>>::epsilon();
  wide_result<T> out;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      wide_t<T> sum = 0;
      long double size = 0;
      for (int l = 0; l < depth; ++l) {
        const wide_t<T> t = term(i, j, l);
        sum += t;
        size += std::abs(t);
      }
      const wide_t<T> kept = helper::is_zero(beta) ? wide_t<T>(0) : widen(beta) * widen(old(i, j));
      out.value.push_back(widen(alpha) * sum + kept);
      out.bound.push_back(8 * eps * (depth + 4) * (std::abs(widen(alpha)) * size + std::abs(kept)) +
                          std::numeric_limits<real_t<T>>::min());
    }
  return out;
}

template <typename T>
::testing::AssertionResult close_to(const wide_result<T>& want, const std::vector<T>& got) {
  if (got.size() != want.value.size())
    return ::testing::AssertionFailure() << got.size() << " elements, expected " << want.value.size();
  for (std::size_t i = 0; i < got.size(); ++i) {
    const long double off = std::abs(widen(got[i]) - want.value[i]);
    if (!(off <= want.bound[i]))
      return ::testing::AssertionFailure() << "element " << i << " is " << describe(got[i]) << ", off by "
                                           << double(off) << " (allowed " << double(want.bound[i]) << ")";
  }
  return ::testing::AssertionSuccess();
}

// Where element (i, j) of a triangle of order n stands from the start of its storage: full ('R') or band of k
// off-diagonals ('B'), both with leading dimension ld, or packed columns ('P'); -1 where it isn't stored (the
// other triangle, outside the band).
inline std::ptrdiff_t stored_offset(char form, char uplo, int n, int k, int ld, int i, int j) {
  const bool upper = (uplo & 0xDF) == 'U';
  if ((upper ? i > j : i < j) || (form == 'B' && std::abs(i - j) > k)) return -1;
  if (form == 'R') return i + std::ptrdiff_t(ld) * j;
  if (form == 'B') return (upper ? k + i - j : i - j) + std::ptrdiff_t(ld) * j;
  return upper ? i + std::ptrdiff_t(j) * (j + 1) / 2 : i - j + std::ptrdiff_t(j) * (2 * n - j + 1) / 2;
}

}  // namespace kovra_test
