// GEMV on the calling thread, y := alpha*op(A)*x + beta*y: the argument checks, gemv_core<T> (the loops,
// one column per primitive call), gemv_serial<T> (checked) and gemv_serial_acc<T> (y += alpha*op(A)*x,
// real types). The tiles of gemv_object<T> run these same loops on their slices.
#pragma once

#include <type_traits>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/vector_primitives.h"

namespace kovra::parallel::blas {

inline constexpr const char* gemv_name = "GEMV ";

// The position of the first bad argument in the Fortran list (TRANS, M, N, ALPHA, A, LDA, X, INCX, BETA,
// Y, INCY), or 0.
inline int gemv_bad_argument(char trans, int m, int n, int lda, int incx, int incy) {
  if (!helper::valid_trans(trans)) return 1;
  if (m < 0) return 2;
  if (n < 0) return 3;
  if (lda < helper::MAX(1, m)) return 6;
  if (incx == 0) return 8;
  if (incy == 0) return 11;
  return 0;
}

// y += alpha*op(A)*x for a non-zero alpha, column by column. 'N' adds alpha*x_j times column j, skipping
// a column whose x_j is zero (so NaN in it never reaches y); 'T' and 'C' add alpha times the dot of
// column j with x to y_j. Only 'N' with a unit incy reaches the kernel's axpy.
// 'T' and 'C' take four columns at a time, their dots summed side by side but each exactly as alone.
template <typename T>
void gemv_columns(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T* y, int incy) {
  const char t = helper::fold_letter(trans);
  int j = 0;
  if (t != 'N') {
    for (; j + 4 <= n; j += 4) {
      const T* const first = a + std::ptrdiff_t{lda} * j;
      const T* const columns[4] = {first, first + lda, first + 2 * std::ptrdiff_t{lda}, first + 3 * std::ptrdiff_t{lda}};
      T sums[4] = {T(0), T(0), T(0), T(0)};
      if (t == 'C')
        detail::dot_walk4<true>(m, columns, x, incx, sums);
      else
        detail::dot_walk4<false>(m, columns, x, incx, sums);
      for (int c = 0; c < 4; ++c) {
        T& yj = logical_at(y, j + c, n, incy);
        yj = helper::multiply_add(alpha, sums[c], yj);
      }
    }
  }
  for (; j < n; ++j) {
    const T* column = a + std::ptrdiff_t{lda} * j;
    if (t == 'N') {
      const T xj = logical_at(x, j, n, incx);
      if (!helper::is_zero(xj)) vec_axpy(m, helper::mul(alpha, xj), column, y, incy);
    } else {
      dot_update(t == 'C', m, alpha, column, x, incx, logical_at(y, j, n, incy));
    }
  }
}

// The loops, with no checks: the beta pass over y (a zero beta never reads y), then the columns.
template <typename T>
void gemv_core(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,
               int incy) {
  beta_pass(helper::fold_letter(trans) == 'N' ? m : n, beta, y, incy);
  if (helper::is_zero(alpha)) return;
  gemv_columns(trans, m, n, alpha, a, lda, x, incx, y, incy);
}

template <typename T>
void gemv_serial(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,
                 int incy) {
  if (error::bad_argument(gemv_name, gemv_bad_argument(trans, m, n, lda, incx, incy))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha) && helper::is_one(beta)) return;
  gemv_core(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

// y += alpha*op(A)*x with the checks of GEMV, for the real types: no beta pass at all.
template <typename T>
void gemv_serial_acc(char trans, int m, int n, const T* a, int lda, const T* x, int incx, T* y, int incy, T alpha) {
  static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "real element types only");
  if (error::bad_argument(gemv_name, gemv_bad_argument(trans, m, n, lda, incx, incy))) return;
  if (m == 0 || n == 0 || alpha == 0) return;
  gemv_columns(trans, m, n, alpha, a, lda, x, incx, y, incy);
}

}  // namespace kovra::parallel::blas
