// What the Level 2 tests share: the text of an argument report and its capture, the entry of each
// precision, and one GEMV or GBMV call with its operands and reference result.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <string>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/gbmv.h"
#include "parallel/blas/level2/gemv.h"
#include "support/padded_matrix.h"
#include "support/reference_level2.h"
#include "support/reports.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra_test {

template <typename T>
::testing::AssertionResult all_sentinels(const std::vector<T>& v) {
  return all_same_bits(v, std::vector<T>(v.size(), sentinel<T>()));
}

// CBLAS takes real scalars by value and complex ones by address.
template <typename T>
auto scalar(const T& v) {
  if constexpr (is_complex_v<T>) return static_cast<const void*>(&v);
  else return v;
}

inline CBLAS_TRANSPOSE cblas_trans(char t) { return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans; }

// The one of four exported entries (S, D, C, Z) that takes T.
template <typename T, typename S, typename D, typename C, typename Z>
constexpr auto pick(S s, D d, C c, Z z) {
  if constexpr (std::is_same_v<T, float>) return s;
  else if constexpr (std::is_same_v<T, double>) return d;
  else if constexpr (std::is_same_v<T, std::complex<float>>) return c;
  else return z;
}

inline int x_length(char trans, int m, int n) { return (trans & 0xDF) == 'N' ? n : m; }
inline int y_length(char trans, int m, int n) { return (trans & 0xDF) == 'N' ? m : n; }

// One GEMV call (kl < 0) or GBMV call with kl sub- and ku superdiagonals in band storage. A's leading
// dimension is pad beyond its stored rows; the padding, and the band positions that hold no element of
// A, keep the NaN sentinel, so reading one spoils the result. x and y have sentinels in gaps and guards.
template <typename T>
struct matvec_case {
  char trans;
  int m, n, kl, ku, incx, incy;
  padded_matrix<T> a;
  strided_vector<T> x, y;

  matvec_case(char t, int m_, int n_, int incx_, int incy_, unsigned seed = 1, int kl_ = -1, int ku_ = 0,
              int pad = 1)
      : trans(t), m(m_), n(n_), kl(kl_), ku(ku_), incx(incx_), incy(incy_),
        a(band() ? kl + ku + 1 : m, n, (band() ? kl + ku + 1 : std::max(m, 1)) + pad),
        x(x_length(t, m, n), incx, random_values<T>(x_length(t, m, n), seed + 1)),
        y(y_length(t, m, n), incy, random_values<T>(y_length(t, m, n), seed + 2)) {
    a.random(seed);
    for (int j = 0; j < n && band(); ++j)
      for (int r = 0; r <= kl + ku; ++r)
        if (r - ku + j < 0 || r - ku + j >= m) a.at(r, j) = sentinel<T>();
  }

  bool band() const { return kl >= 0; }
  T element(int i, int j) const {
    if (!band()) return a.at(i, j);
    return i - j > kl || j - i > ku ? T(0) : a.at(ku + i - j, j);
  }
  expected_vector<T> expected(T alpha, T beta, bool conjugate_a = false) const {
    return reference_matvec(
        trans, m, n, alpha, [&](int i, int j) { return helper::CONJG(conjugate_a, element(i, j)); }, x.logical(),
        beta, y.logical());
  }

  void run(T alpha, T beta, bool serial = false) {
    using namespace parallel::blas;
    if (band())
      (serial ? gbmv_serial<T> : gbmv_front<T>)(trans, m, n, kl, ku, alpha, a.data(), a.ld(), x.data(), incx, beta,
                                                y.data(), incy);
    else
      (serial ? gemv_serial<T> : gemv_front<T>)(trans, m, n, alpha, a.data(), a.ld(), x.data(), incx, beta,
                                                y.data(), incy);
  }
  void fortran(T alpha, T beta) {
    const int lda = a.ld();
    if (band())
      pick<T>(sgbmv_, dgbmv_, cgbmv_, zgbmv_)(&trans, &m, &n, &kl, &ku, &alpha, a.data(), &lda, x.data(), &incx, &beta,
                                              y.data(), &incy);
    else
      pick<T>(sgemv_, dgemv_, cgemv_, zgemv_)(&trans, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(),
                                              &incy);
  }
  // A row-major call is given this A as the row-major storage of its transpose.
  void cblas(int order, CBLAS_TRANSPOSE t, T alpha, T beta) {
    const bool row = order != CblasColMajor;
    const int rows = row ? n : m, cols = row ? m : n, lower = row ? ku : kl, upper = row ? kl : ku;
    const auto o = static_cast<CBLAS_ORDER>(order);
    if (band())
      pick<T>(cblas_sgbmv, cblas_dgbmv, cblas_cgbmv, cblas_zgbmv)(o, t, rows, cols, lower, upper, scalar(alpha),
                                                                  a.data(), a.ld(), x.data(), incx, scalar(beta),
                                                                  y.data(), incy);
    else
      pick<T>(cblas_sgemv, cblas_dgemv, cblas_cgemv, cblas_zgemv)(o, t, rows, cols, scalar(alpha), a.data(), a.ld(),
                                                                  x.data(), incx, scalar(beta), y.data(), incy);
  }
};

}  // namespace kovra_test
