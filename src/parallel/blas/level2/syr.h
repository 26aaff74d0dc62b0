// The rank-one and rank-two updates of a symmetric or Hermitian matrix of which one triangle is stored, in full
// or packed storage:
//
//   SYR, SPR     A := alpha*x*x^T + A                        real types
//   HER, HPR     A := alpha*x*x^H + A, alpha real           complex types
//   SYR2, SPR2   A := alpha*x*y^T + alpha*y*x^T + A          real types
//   HER2, HPR2   A := alpha*x*y^H + conj(alpha)*y*x^H + A    complex types
//
// A task owns the columns [f, l) of the triangle. In full storage that is the diagonal block of the columns and
// the rectangle completing its block row (upper) or block column (lower), the rectangle updated in the GER form
// so that its columns run through the kernel's axpy; in packed storage it is the stored columns of the range.
// No stored element belongs to two tasks. A Hermitian diagonal leaves every update real, a column with zero
// vector elements included.
//
// The launched HER2 passes alpha unconjugated to both GER updates of its rectangles, so outside the diagonal
// blocks such a call adds alpha*x*y^H + alpha*y*x^H; the diagonal blocks and the serial routine use conj(alpha).
// The two agree for a real alpha. HPR2 has no rectangles and always follows the definition.
#pragma once

#include <cstddef>
#include <type_traits>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "helper/scratch_plan.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/ger.h"
#include "parallel/blas/level2/triangle_storage.h"
#include "parallel/blas/level2/trsv.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The family name, by storage, by the number of vectors and by element type.
template <typename T>
const char* symmetric_rank_name(storage_form form, bool two) {
  const bool packed = form == storage_form::packed;
  if (is_complex_v<T>) return packed ? (two ? "HPR2 " : "HPR ") : (two ? "HER2 " : "HER ");
  return packed ? (two ? "SPR2 " : "SPR ") : (two ? "SYR2 " : "SYR ");
}

// The position of the first bad argument, or 0. The lists are (UPLO, N, ALPHA, X, INCX, A, LDA) with Y, INCY
// after INCX in the rank-two forms, and AP in place of A, LDA in the packed ones.
inline int symmetric_rank_bad_argument(storage_form form, bool two, char uplo, int n, int incx, int incy, int lda) {
  const char u = helper::fold_letter(uplo);
  if (u != 'U' && u != 'L') return 1;
  if (n < 0) return 2;
  if (incx == 0) return 5;
  if (two && incy == 0) return 7;
  if (form == storage_form::full && lda < helper::MAX(1, n)) return two ? 9 : 7;
  return 0;
}

// An element of the triangle being updated. The storage view is the read-only one of the other Level 2
// routines; here the caller's array is the output, so its elements are written.
template <typename T>
T* updated(const triangle_storage<T>& A, int i, int j) {
  return const_cast<T*>(A.at(i, j));
}

// alpha*conj(x_j) for HER and HPR: two real products for a real alpha, the full complex product when alpha comes
// as a complex number (the cblas_ forms).
template <typename T, typename R>
T scaled_conjugate(R alpha, T xj) {
  if constexpr (std::is_same_v<R, T>)
    return helper::mul(alpha, helper::CONJG(true, xj));
  else
    return T(alpha * xj.real(), -(alpha * xj.imag()));
}

// The updates of column j of the triangle; its stored rows are [0, j] for upper and [j, n) for lower, x and y
// the whole vectors of length n.
template <typename T, typename R>
struct column_update {
  const triangle_storage<T>& A;
  R alpha;
  const T* x;
  int incx;
  const T* y;
  int incy;

  // Symmetric: the stored part takes alpha*x_j*x, skipped for a zero x_j. Hermitian: the off-diagonal part takes
  // t*x with t = alpha*conj(x_j) and the diagonal becomes real(a_jj) + real(x_j*t); a zero x_j only clears the
  // diagonal's imaginary part. Upper updates the off-diagonal part first, lower the diagonal.
  void rank_one(int j) const {
    const int n = A.n;
    const T xj = logical_at(x, j, n, incx);
    if constexpr (!is_complex_v<T>) {
      if (xj == 0) return;
      const int r0 = A.upper ? 0 : j, count = A.upper ? j + 1 : n - j;
      vec_axpy_gather(count, helper::mul(alpha, xj), sub_vector(x, r0, count, n, incx), incx, updated(A, r0, j));
    } else {
      T& d = *updated(A, j, j);
      if (helper::is_zero(xj)) {
        d = T(d.real(), 0);
        return;
      }
      const T t = scaled_conjugate(alpha, xj);
      if (A.upper) off_diagonal(j, t, x, incx);
      d = T(d.real() + helper::mul(xj, t).real(), 0);
      if (!A.upper) off_diagonal(j, t, x, incx);
    }
  }

  // Skipped when x_j and y_j are both zero (a Hermitian diagonal still has its imaginary part cleared).
  // Symmetric: alpha*y_j*x, then alpha*x_j*y, on the stored part. Hermitian: t1*x then t2*y on the off-diagonal
  // part with t1 = alpha*conj(y_j) and t2 = conj(alpha*x_j), and the diagonal real(a_jj) + real(x_j*t1 + y_j*t2).
  void rank_two(int j) const {
    const int n = A.n;
    const T xj = logical_at(x, j, n, incx), yj = logical_at(y, j, n, incy);
    const bool skip = helper::is_zero(xj) && helper::is_zero(yj);
    if constexpr (!is_complex_v<T>) {
      if (skip) return;
      const int r0 = A.upper ? 0 : j, count = A.upper ? j + 1 : n - j;
      T* const column = updated(A, r0, j);
      vec_axpy_gather(count, helper::mul(alpha, yj), sub_vector(x, r0, count, n, incx), incx, column);
      vec_axpy_gather(count, helper::mul(alpha, xj), sub_vector(y, r0, count, n, incy), incy, column);
    } else {
      T& d = *updated(A, j, j);
      if (skip) {
        d = T(d.real(), 0);
        return;
      }
      const T t1 = helper::mul(alpha, helper::CONJG(true, yj)), t2 = helper::CONJG(true, helper::mul(alpha, xj));
      off_diagonal(j, t1, x, incx);
      off_diagonal(j, t2, y, incy);
      d = T(d.real() + helper::add(helper::mul(xj, t1), helper::mul(yj, t2)).real(), 0);
    }
  }

  // The stored part of column j off the diagonal takes t*v.
  void off_diagonal(int j, T t, const T* v, int inc) const {
    const int n = A.n, r0 = A.upper ? 0 : j + 1, count = A.upper ? j : n - j - 1;
    if (count > 0) vec_axpy_gather(count, t, sub_vector(v, r0, count, n, inc), inc, updated(A, r0, j));
  }

  template <bool Two>
  void columns(int f, int l) const {
    for (int j = f; j < l; ++j) {
      if constexpr (Two)
        rank_two(j);
      else
        rank_one(j);
    }
  }
};

// The serial routines: the checks under the family's name, the quick return (n = 0, or alpha = 0 on both parts),
// the column updates from the first column to the last. R is the type of alpha; y is unused by the rank-one forms.
template <typename T, typename R, bool Two>
void symmetric_rank_serial(storage_form form, char uplo, int n, R alpha, const T* x, int incx, const T* y, int incy,
                           T* a, int lda) {
  const int bad = symmetric_rank_bad_argument(form, Two, uplo, n, incx, incy, lda);
  if (error::bad_argument(symmetric_rank_name<T>(form, Two), bad)) return;
  if (n == 0 || helper::is_zero(alpha)) return;
  const triangle_storage<T> A = stored_triangle<T>(form, uplo, n, 0, a, lda);
  column_update<T, R>{A, alpha, x, incx, y, incy}.template columns<Two>(0, n);
}

// The per-call record of the eight routines: the call's arguments as given, the triangle in its storage.
template <typename T, typename R, bool Two>
struct symmetric_rank_object {
  char uplo;
  R alpha;
  const T* x;
  int incx;
  const T* y;
  int incy;
  triangle_storage<T> matrix;

  // Columns [f, l). Strided vectors are gathered whole into the scratch when they fit (in the rank-two forms only
  // if both are strided), so that the column updates run through the kernel's axpy.
  void run_tile(threading::scratch* s, int f, int l, int, int) const {
    const int n = matrix.n;
    const bool gather = Two ? incx != 1 && incy != 1 && helper::packed_vectors_fit<T>(n, n)
                            : incx != 1 && helper::packed_vectors_fit<T>(n, 0);
    if (!gather) return columns_of(f, l, x, incx, y, incy);
    const helper::packed_vectors<T> packed = helper::place_packed_vectors<T>(s->storage, n);
    vec_gather(n, x, incx, packed.x);
    if (Two) vec_gather(n, y, incy, packed.y);
    columns_of(f, l, packed.x, 1, Two ? packed.y : nullptr, 1);
  }

  void columns_of(int f, int l, const T* xv, int ix, const T* yv, int iy) const {
    if (matrix.form == storage_form::packed)
      return column_update<T, R>{matrix, alpha, xv, ix, yv, iy}.template columns<Two>(f, l);
    const int n = matrix.n, lda = matrix.lda, s = l - f;
    const auto A = [&](int i, int j) { return updated(matrix, i, j); };
    const auto X = [&](int from, int count) { return sub_vector(xv, from, count, n, ix); };
    const auto Y = [&](int from, int count) { return sub_vector(yv, from, count, n, iy); };
    symmetric_rank_serial<T, R, Two>(storage_form::full, uplo, s, alpha, X(f, s), ix, Two ? Y(f, s) : nullptr, iy,
                                     A(f, f), lda);
    // The rectangle: rows [f, l) and columns [l, n) for upper, rows [l, n) and columns [f, l) for lower, each GER
    // update adding alpha*u*v^T to it (v conjugated in the Hermitian forms).
    const bool upper = matrix.upper;
    const int r0 = upper ? f : l, rows = upper ? s : n - l, c0 = upper ? l : f, cols = upper ? n - l : s;
    T* const rect = A(r0, c0);
    const auto ger = [&](const T* u, int iu, const T* v, int iv) {
      if constexpr (is_complex_v<T>)
        rank_one_serial<rank_one_form::gerc>(rows, cols, T(alpha), u, iu, v, iv, rect, lda);
      else
        rank_one_serial<rank_one_form::ger>(rows, cols, alpha, u, iu, v, iv, rect, lda);
    };
    if (!Two) return ger(X(r0, rows), ix, X(c0, cols), ix);
    ger(X(r0, rows), ix, Y(c0, cols), iy);
    ger(Y(r0, rows), iy, X(c0, cols), ix);
  }
};

template <typename T>
using syr_object = symmetric_rank_object<T, T, false>;
template <typename T, typename R>
using her_object = symmetric_rank_object<T, R, false>;
template <typename T>
using spr_object = symmetric_rank_object<T, T, false>;
template <typename T, typename R>
using hpr_object = symmetric_rank_object<T, R, false>;
template <typename T>
using syr2_object = symmetric_rank_object<T, T, true>;
template <typename T>
using her2_object = symmetric_rank_object<T, T, true>;
template <typename T>
using spr2_object = symmetric_rank_object<T, T, true>;
template <typename T>
using hpr2_object = symmetric_rank_object<T, T, true>;

// The fronts: the checks, the quick return, the serial routine for an order of at most 8, else one task per share
// of the columns in grains of the kernel's tile_n.
template <typename T, typename R, bool Two>
void symmetric_rank_front(storage_form form, char uplo, int n, R alpha, const T* x, int incx, const T* y, int incy,
                          T* a, int lda) {
  static_assert(std::is_same_v<R, T> || (is_complex_v<T> && !Two), "a real alpha is for HER and HPR only");
  const int bad = symmetric_rank_bad_argument(form, Two, uplo, n, incx, incy, lda);
  if (error::bad_argument(symmetric_rank_name<T>(form, Two), bad)) return;
  if (n == 0 || helper::is_zero(alpha)) return;
  const triangle_storage<T> matrix = stored_triangle<T>(form, uplo, n, 0, a, lda);
  if (n <= serial_cutoff) return column_update<T, R>{matrix, alpha, x, incx, y, incy}.template columns<Two>(0, n);
  const symmetric_rank_object<T, R, Two> record{uplo, alpha, x, incx, y, incy, matrix};
  threading::launch_grid(n, kernels::get_kernel<T>()->tile_n, 1, 1, &record);
}

template <typename T>
void syr_serial(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda) {
  static_assert(!is_complex_v<T>, "SYR is for the real types, HER for the complex ones");
  symmetric_rank_serial<T, T, false>(storage_form::full, uplo, n, alpha, x, incx, nullptr, 1, a, lda);
}
template <typename T, typename R>
void her_serial(char uplo, int n, R alpha, const T* x, int incx, T* a, int lda) {
  static_assert(is_complex_v<T>, "SYR is for the real types, HER for the complex ones");
  symmetric_rank_serial<T, R, false>(storage_form::full, uplo, n, alpha, x, incx, nullptr, 1, a, lda);
}
template <typename T>
void spr_serial(char uplo, int n, T alpha, const T* x, int incx, T* ap) {
  static_assert(!is_complex_v<T>, "SPR is for the real types, HPR for the complex ones");
  symmetric_rank_serial<T, T, false>(storage_form::packed, uplo, n, alpha, x, incx, nullptr, 1, ap, 0);
}
template <typename T, typename R>
void hpr_serial(char uplo, int n, R alpha, const T* x, int incx, T* ap) {
  static_assert(is_complex_v<T>, "SPR is for the real types, HPR for the complex ones");
  symmetric_rank_serial<T, R, false>(storage_form::packed, uplo, n, alpha, x, incx, nullptr, 1, ap, 0);
}
template <typename T>
void syr2_serial(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  static_assert(!is_complex_v<T>, "SYR2 is for the real types, HER2 for the complex ones");
  symmetric_rank_serial<T, T, true>(storage_form::full, uplo, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void her2_serial(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  static_assert(is_complex_v<T>, "SYR2 is for the real types, HER2 for the complex ones");
  symmetric_rank_serial<T, T, true>(storage_form::full, uplo, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void spr2_serial(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* ap) {
  static_assert(!is_complex_v<T>, "SPR2 is for the real types, HPR2 for the complex ones");
  symmetric_rank_serial<T, T, true>(storage_form::packed, uplo, n, alpha, x, incx, y, incy, ap, 0);
}
template <typename T>
void hpr2_serial(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* ap) {
  static_assert(is_complex_v<T>, "SPR2 is for the real types, HPR2 for the complex ones");
  symmetric_rank_serial<T, T, true>(storage_form::packed, uplo, n, alpha, x, incx, y, incy, ap, 0);
}

template <typename T>
void syr_front(char uplo, int n, T alpha, const T* x, int incx, T* a, int lda) {
  static_assert(!is_complex_v<T>, "SYR is for the real types, HER for the complex ones");
  symmetric_rank_front<T, T, false>(storage_form::full, uplo, n, alpha, x, incx, nullptr, 1, a, lda);
}
template <typename T, typename R>
void her_front(char uplo, int n, R alpha, const T* x, int incx, T* a, int lda) {
  static_assert(is_complex_v<T>, "SYR is for the real types, HER for the complex ones");
  symmetric_rank_front<T, R, false>(storage_form::full, uplo, n, alpha, x, incx, nullptr, 1, a, lda);
}
template <typename T>
void spr_front(char uplo, int n, T alpha, const T* x, int incx, T* ap) {
  static_assert(!is_complex_v<T>, "SPR is for the real types, HPR for the complex ones");
  symmetric_rank_front<T, T, false>(storage_form::packed, uplo, n, alpha, x, incx, nullptr, 1, ap, 0);
}
template <typename T, typename R>
void hpr_front(char uplo, int n, R alpha, const T* x, int incx, T* ap) {
  static_assert(is_complex_v<T>, "SPR is for the real types, HPR for the complex ones");
  symmetric_rank_front<T, R, false>(storage_form::packed, uplo, n, alpha, x, incx, nullptr, 1, ap, 0);
}
template <typename T>
void syr2_front(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  static_assert(!is_complex_v<T>, "SYR2 is for the real types, HER2 for the complex ones");
  symmetric_rank_front<T, T, true>(storage_form::full, uplo, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void her2_front(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  static_assert(is_complex_v<T>, "SYR2 is for the real types, HER2 for the complex ones");
  symmetric_rank_front<T, T, true>(storage_form::full, uplo, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void spr2_front(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* ap) {
  static_assert(!is_complex_v<T>, "SPR2 is for the real types, HPR2 for the complex ones");
  symmetric_rank_front<T, T, true>(storage_form::packed, uplo, n, alpha, x, incx, y, incy, ap, 0);
}
template <typename T>
void hpr2_front(char uplo, int n, T alpha, const T* x, int incx, const T* y, int incy, T* ap) {
  static_assert(is_complex_v<T>, "SPR2 is for the real types, HPR2 for the complex ones");
  symmetric_rank_front<T, T, true>(storage_form::packed, uplo, n, alpha, x, incx, y, incy, ap, 0);
}

}  // namespace kovra::parallel::blas
