// GBMV on the calling thread, y := alpha*op(A)*x + beta*y with A in band storage: the argument checks and
// gbmv_serial<T>. Band storage keeps A(i, j) at a[ku + i - j + lda*j], so column j holds rows
// max(0, j - ku) to min(m, j + kl + 1) - 1 and the diagonal is stored row ku.
#pragma once

#include <cstddef>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/vector_primitives.h"

namespace kovra::parallel::blas {

inline constexpr const char* gbmv_name = "GBMV ";

// The position of the first bad argument in the Fortran list (TRANS, M, N, KL, KU, ALPHA, A, LDA, X, INCX,
// BETA, Y, INCY), or 0. lda must hold the kl + ku + 1 stored diagonals.
inline int gbmv_bad_argument(char trans, int m, int n, int kl, int ku, int lda, int incx, int incy) {
  if (!helper::valid_trans(trans)) return 1;
  if (m < 0) return 2;
  if (n < 0) return 3;
  if (kl < 0) return 4;
  if (ku < 0) return 5;
  if (lda <= kl + ku) return 8;
  if (incx == 0) return 10;
  if (incy == 0) return 13;
  return 0;
}

// The stored part of band column j: rows [first, first + count), starting at `stored` in a. `stored`
// lies inside column j's storage even when the column holds no row of A (count <= 0).
template <typename T>
struct band_column {
  int first;
  int count;
  const T* stored;
};

template <typename T>
band_column<T> band_rows(const T* a, int m, int kl, int ku, int lda, int j) {
  const int first = helper::MAX(0, j - ku);
  const int end = helper::MIN(m, j + kl + 1);
  return {first, end - first, a + (std::ptrdiff_t{ku} - j + first) + std::ptrdiff_t{lda} * j};
}

// 'T' or 'C' for column j: y_j += alpha * (band column j . x over its rows), conjugated for 'C'. A column
// with no stored rows still adds alpha times a zero dot.
template <typename T>
void gbmv_dot_column(bool conjugate, int m, int n, int kl, int ku, T alpha, const T* a, int lda, const T* x,
                     int incx, T* y, int incy, int j) {
  const band_column<T> c = band_rows(a, m, kl, ku, lda, j);
  dot_update(conjugate, c.count, alpha, c.stored, sub_vector(x, c.first, c.count, m, incx), incx,
             logical_at(y, j, n, incy));
}

template <typename T>
void gbmv_serial(char trans, int m, int n, int kl, int ku, T alpha, const T* a, int lda, const T* x, int incx,
                 T beta, T* y, int incy) {
  if (error::bad_argument(gbmv_name, gbmv_bad_argument(trans, m, n, kl, ku, lda, incx, incy))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha) && helper::is_one(beta)) return;
  const char t = helper::fold_letter(trans);
  beta_pass(t == 'N' ? m : n, beta, y, incy);
  if (helper::is_zero(alpha)) return;
  for (int j = 0; j < n; ++j) {
    if (t != 'N') {
      gbmv_dot_column(t == 'C', m, n, kl, ku, alpha, a, lda, x, incx, y, incy, j);
      continue;
    }
    const T xj = logical_at(x, j, n, incx);
    if (helper::is_zero(xj)) continue;
    const band_column<T> c = band_rows(a, m, kl, ku, lda, j);
    if (c.count > 0)
      vec_axpy(c.count, helper::mul(alpha, xj), c.stored, sub_vector(y, c.first, c.count, m, incy), incy);
  }
}

}  // namespace kovra::parallel::blas
