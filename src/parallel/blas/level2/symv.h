// SYMV, SBMV, SPMV (real types) and HEMV, HBMV, HPMV (complex types), y := alpha*A*x + beta*y for a symmetric
// or Hermitian A of which one triangle is stored, in full, band or packed storage.
//
// The one-pass serial form walks the stored columns once, each column adding to all of its rows and summing
// into its own row, so it cannot be split without a reduction. The tasks therefore own rows of y instead: a
// tile computes its rows only, reaching the half of each row that is not stored in that row by reading the
// stored columns of its rows (the transposed view). Every element outside the diagonal blocks is read by two
// tiles; nothing is reduced and no partial vector exists. A Hermitian diagonal is read through its real part.
#pragma once

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "helper/scratch_plan.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level2/gemv_serial.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/triangle_storage.h"
#include "parallel/blas/level2/trsv.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The family name of a product, by storage and by element type: SYMV, SBMV, SPMV real, the H forms complex.
template <typename T>
const char* symmetric_vector_name(storage_form form) {
  const bool h = is_complex_v<T>;
  if (form == storage_form::full) return h ? "HEMV " : "SYMV ";
  if (form == storage_form::band) return h ? "HBMV " : "SBMV ";
  return h ? "HPMV " : "SPMV ";
}

// The position of the first bad argument, or 0. The lists are (UPLO, N, ALPHA, A, LDA, X, INCX, BETA, Y, INCY),
// with K after N for the band form, and (UPLO, N, ALPHA, AP, X, INCX, BETA, Y, INCY).
inline int symmetric_vector_bad_argument(storage_form form, char uplo, int n, int k, int lda, int incx, int incy) {
  const char u = helper::fold_letter(uplo);
  if (u != 'U' && u != 'L') return 1;
  if (n < 0) return 2;
  switch (form) {
    case storage_form::full:
      if (lda < helper::MAX(1, n)) return 5;
      return incx == 0 ? 7 : incy == 0 ? 10 : 0;
    case storage_form::band:
      if (k < 0) return 3;
      if (lda <= k) return 6;
      return incx == 0 ? 8 : incy == 0 ? 11 : 0;
    default:
      return incx == 0 ? 6 : incy == 0 ? 9 : 0;
  }
}

// The diagonal element as a value: itself in the real types, its real part in the Hermitian ones.
template <typename T>
real_t<T> diagonal_value(const T* d) {
  return helper::REAL(*d);
}

// acc + t*d for a real d: one fused multiply-add in the real types, one on each part in the complex ones.
template <typename T>
T add_diagonal_term(T t, real_t<T> d, T acc) {
  if constexpr (is_complex_v<T>)
    return T(std::fma(t.real(), d, acc.real()), std::fma(t.imag(), d, acc.imag()));
  else
    return std::fma(t, d, acc);
}

// The dot of a stored column with x: plain in the symmetric forms, the column conjugated in the Hermitian ones,
// so that it reads the row of the unstored half.
template <typename T>
T transposed_dot(int n, const T* column, const T* x, int incx) {
  return is_complex_v<T> ? vec_dotc(n, column, x, incx) : vec_dot(n, column, x, incx);
}

// The dots of the off-diagonal parts of columns [j, j + width) with x (width at most 4), each summed exactly as
// transposed_dot sums it alone. Four columns of a full or packed triangle go side by side: upper, the rows
// [0, j) that all four store and then each column's last rows; lower, each column's first rows and then the rows
// [j + 4, n) that all four store. A band's columns, and fewer than four, go one at a time.
template <typename T>
void off_diagonal_sums(const triangle_storage<T>& A, int j, int width, const T* x, int incx, T* sums) {
  const int n = A.n;
  for (int c = 0; c < width; ++c) sums[c] = T(0);
  if (width < 4 || A.form == storage_form::band) {
    for (int c = 0; c < width; ++c) {
      const int col = j + c, r0 = A.upper ? A.first_row(col) : col + 1;
      const int count = A.upper ? col - r0 : A.end_row(col) - col - 1;
      sums[c] = transposed_dot(count, count > 0 ? A.at(r0, col) : nullptr, sub_vector(x, r0, count, n, incx), incx);
    }
    return;
  }
  // Row r of column col, added to that column's sum.
  const auto add_row = [&](int c, int r) {
    sums[c] = helper::multiply_add(helper::CONJG(is_complex_v<T>, *A.at(r, j + c)), logical_at(x, r, n, incx), sums[c]);
  };
  const int r0 = A.upper ? 0 : j + 4, count = A.upper ? j : n - j - 4;
  const T* const columns[4] = {A.at(r0, j), A.at(r0, j + 1), A.at(r0, j + 2), A.at(r0, j + 3)};
  if (!A.upper)
    for (int c = 0; c < 3; ++c)
      for (int r = j + c + 1; r < j + 4; ++r) add_row(c, r);
  if (count > 0) detail::dot_walk4<is_complex_v<T>>(count, columns, sub_vector(x, r0, count, n, incx), incx, sums);
  if (A.upper)
    for (int c = 1; c < 4; ++c)
      for (int r = j; r < j + c; ++r) add_row(c, r);
}

// The one-pass product with no checks, after the beta pass over all of y: each column adds t = alpha*x_j times
// its off-diagonal part to those rows and its dot with x to its own row, with the diagonal term. Upper adds
// t*d to alpha*sum and that to y_j; lower adds t*d to y_j first and then alpha*sum.
template <typename T>
void symmetric_product_in_place(const triangle_storage<T>& A, T alpha, const T* x, int incx, T beta, T* y, int incy) {
  const int n = A.n;
  beta_pass(n, beta, y, incy);
  if (helper::is_zero(alpha)) return;
  T sums[4];
  for (int j = 0; j < n; ++j) {
    if (j % 4 == 0) off_diagonal_sums(A, j, helper::MIN(4, n - j), x, incx, sums);
    const T t = helper::mul(alpha, logical_at(x, j, n, incx)), sum = sums[j % 4];
    const real_t<T> d = diagonal_value(A.at(j, j));
    const int r0 = A.upper ? A.first_row(j) : j + 1, count = A.upper ? j - r0 : A.end_row(j) - j - 1;
    T& yj = logical_at(y, j, n, incy);
    if (!A.upper) yj = add_diagonal_term(t, d, yj);
    vec_axpy(count, t, count > 0 ? A.at(r0, j) : nullptr, sub_vector(y, r0, count, n, incy), incy);
    if (A.upper)
      yj = helper::add(yj, add_diagonal_term(t, d, helper::mul(alpha, sum)));
    else
      yj = helper::multiply_add(alpha, sum, yj);
  }
}

// The serial routines: the checks under the family's name, the quick return, the one-pass product.
template <typename T>
void symmetric_product_serial(storage_form form, char uplo, int n, int k, T alpha, const T* a, int lda, const T* x,
                              int incx, T beta, T* y, int incy) {
  const int bad = symmetric_vector_bad_argument(form, uplo, n, k, lda, incx, incy);
  if (error::bad_argument(symmetric_vector_name<T>(form), bad)) return;
  if (n == 0 || (helper::is_zero(alpha) && helper::is_one(beta))) return;
  symmetric_product_in_place(stored_triangle(form, uplo, n, k, a, lda), alpha, x, incx, beta, y, incy);
}

// The per-call record of all six routines: the call's arguments as given, the matrix in its storage.
template <typename T>
struct symmetric_vector_object {
  char uplo;
  triangle_storage<T> matrix;
  T alpha;
  const T* x;
  int incx;
  T beta;
  T* y;
  int incy;

  // Rows [f, l) of y. Band storage works in place; the others gather x and the rows of y into the scratch when
  // both are strided and twice the order fits, so that the unit-stride kernels do the work.
  void run_tile(threading::scratch* s, int f, int l, int, int) const {
    const int n = matrix.n, rows = l - f;
    T* const slice = sub_vector(y, f, rows, n, incy);
    if (matrix.form == storage_form::band) return band_rows(f, l, x, incx, slice, incy);
    if (incx != 1 && incy != 1 && helper::packed_vectors_fit<T>(n, n)) {
      const helper::packed_vectors<T> packed = helper::place_packed_vectors<T>(s->storage, n);
      vec_gather(n, x, incx, packed.x);
      vec_gather(rows, static_cast<const T*>(slice), incy, packed.y);
      rows_of(f, l, packed.x, 1, packed.y, 1);
      vec_scatter(rows, static_cast<const T*>(packed.y), slice, incy);
      return;
    }
    rows_of(f, l, x, incx, slice, incy);
  }

  void rows_of(int f, int l, const T* xv, int ix, T* ys, int iy) const {
    if (matrix.form == storage_form::full)
      full_rows(f, l, xv, ix, ys, iy);
    else
      packed_rows(f, l, xv, ix, ys, iy);
  }

  // Full storage: the one-pass serial routine on the diagonal block (which applies beta to the rows), then the
  // two rectangles of the rows through GEMV with beta 1. With an upper triangle the part right of the block is
  // stored in these rows and read directly, the part left of it is read through the transposed view of columns
  // [f, l); a lower triangle is the other way round. 'C' is the transposed view of a Hermitian A.
  void full_rows(int f, int l, const T* xv, int ix, T* ys, int iy) const {
    const int n = matrix.n, lda = matrix.lda, s = l - f;
    const auto A = [&](int i, int j) { return matrix.a + i + std::ptrdiff_t{j} * lda; };
    const auto X = [&](int from, int count) { return sub_vector(xv, from, count, n, ix); };
    const char op = is_complex_v<T> ? 'C' : 'T';
    symmetric_product_serial(storage_form::full, uplo, s, 0, alpha, A(f, f), lda, X(f, s), ix, beta, ys, iy);
    if (matrix.upper) {
      rectangle('N', s, n - l, A(f, l), X(l, n - l), ix, ys, iy);
      rectangle(op, f, s, A(0, f), X(0, f), ix, ys, iy);
    } else {
      rectangle(op, n - l, s, A(l, f), X(l, n - l), ix, ys, iy);
      rectangle('N', s, f, A(f, 0), X(0, f), ix, ys, iy);
    }
  }

  // ys += alpha*op(A)*x over an m x n rectangle (either may be 0).
  void rectangle(char op, int m, int n, const T* a, const T* xv, int ix, T* ys, int iy) const {
    const int lda = matrix.lda;
    if constexpr (is_complex_v<T>)
      gemv_serial(op, m, n, alpha, a, lda, xv, ix, T(1), ys, iy);
    else
      gemv_serial_acc(op, m, n, a, lda, xv, ix, ys, iy, alpha);
  }

  // Packed storage. The beta pass on the rows; then an upper triangle takes, for each own column, its part
  // inside the rows, the dot of the whole stored column with x and the diagonal, and then the columns right of
  // the rows within the rows; a lower triangle the same mirrored, with the columns left of the rows. An alpha of
  // 0 is not tested for: its loops add zeros.
  void packed_rows(int f, int l, const T* xv, int ix, T* ys, int iy) const {
    const triangle_storage<T>& A = matrix;
    const int n = A.n, s = l - f;
    const auto Y = [&](int i) -> T& { return logical_at(ys, i - f, s, iy); };
    const auto Ys = [&](int from, int count) { return sub_vector(ys, from - f, count, s, iy); };
    beta_pass(s, beta, ys, iy);
    T sums[4];
    for (int j = f; j < l; ++j) {
      if ((j - f) % 4 == 0) off_diagonal_sums(A, j, helper::MIN(4, l - j), xv, ix, sums);
      const T t = helper::mul(alpha, logical_at(xv, j, n, ix)), sum = sums[(j - f) % 4];
      const int own = A.upper ? j - f : l - j - 1;
      if (own > 0) vec_axpy(own, t, A.at(A.upper ? f : j + 1, j), Ys(A.upper ? f : j + 1, own), iy);
      Y(j) = helper::add(Y(j), add_diagonal_term(t, diagonal_value(A.at(j, j)), helper::mul(sum, alpha)));
    }
    for (int j = A.upper ? l : 0, end = A.upper ? n : f; j < end; ++j)
      vec_axpy(s, helper::mul(alpha, logical_at(xv, j, n, ix)), A.at(f, j), ys, iy);
  }

  // Band storage, in place. Upper: the dots of the own rows' stored columns first, then the columns from f to
  // f + s + k - 1, each adding within the rows and, for an own column, its diagonal term. Lower: the columns
  // left of the rows that reach them, then the own columns with their part inside the rows, their dot and the
  // diagonal. SBMV returns after the beta pass for an alpha of 0; HBMV runs its loops on zeros.
  void band_rows(int f, int l, const T* xv, int ix, T* ys, int iy) const {
    const triangle_storage<T>& A = matrix;
    const int n = A.n, s = l - f, k = A.k;
    const auto Y = [&](int i) -> T& { return logical_at(ys, i - f, s, iy); };
    const auto Ys = [&](int from, int count) { return sub_vector(ys, from - f, count, s, iy); };
    const auto X = [&](int from, int count) { return sub_vector(xv, from, count, n, ix); };
    const auto t_of = [&](int j) { return helper::mul(alpha, logical_at(xv, j, n, ix)); };
    beta_pass(s, beta, ys, iy);
    if (!is_complex_v<T> && helper::is_zero(alpha)) return;
    if (A.upper) {
      for (int j = f; j < l; ++j) {
        const int r0 = A.first_row(j), count = j - r0;
        Y(j) = helper::multiply_add(alpha, transposed_dot(count, count > 0 ? A.at(r0, j) : nullptr, X(r0, count), ix),
                                    Y(j));
      }
      for (int j = f, end = helper::MIN(n, l + k); j < end; ++j) {
        const T t = t_of(j);
        const int r0 = helper::MAX(f, A.first_row(j)), count = helper::MIN(j, l) - r0;
        if (count > 0) vec_axpy(count, t, A.at(r0, j), Ys(r0, count), iy);
        if (j < l) Y(j) = add_diagonal_term(t, diagonal_value(A.at(j, j)), Y(j));
      }
      return;
    }
    for (int j = helper::MAX(0, f - k); j < f; ++j) {
      const int count = helper::MIN(A.end_row(j), l) - f;
      vec_axpy(count, t_of(j), A.at(f, j), Ys(f, count), iy);
    }
    for (int j = f; j < l; ++j) {
      const T t = t_of(j);
      const int count = A.end_row(j) - j - 1, own = helper::MIN(count, l - j - 1);
      if (own > 0) vec_axpy(own, t, A.at(j + 1, j), Ys(j + 1, own), iy);
      const T sum = transposed_dot(count, count > 0 ? A.at(j + 1, j) : nullptr, X(j + 1, count), ix);
      Y(j) = helper::add(Y(j), add_diagonal_term(t, diagonal_value(A.at(j, j)), helper::mul(alpha, sum)));
    }
  }
};

template <typename T>
using symv_object = symmetric_vector_object<T>;
template <typename T>
using hemv_object = symmetric_vector_object<T>;
template <typename T>
using sbmv_object = symmetric_vector_object<T>;
template <typename T>
using hbmv_object = symmetric_vector_object<T>;
template <typename T>
using spmv_object = symmetric_vector_object<T>;
template <typename T>
using hpmv_object = symmetric_vector_object<T>;

// The fronts: the checks, the quick return, the serial cut-off (n at most 8, and k too for a band), else one task
// per share of the rows in grains of the kernel's tile_n.
template <typename T>
void symmetric_product_front(storage_form form, char uplo, int n, int k, T alpha, const T* a, int lda, const T* x,
                             int incx, T beta, T* y, int incy) {
  const int bad = symmetric_vector_bad_argument(form, uplo, n, k, lda, incx, incy);
  if (error::bad_argument(symmetric_vector_name<T>(form), bad)) return;
  if (n == 0 || (helper::is_zero(alpha) && helper::is_one(beta))) return;
  const triangle_storage<T> matrix = stored_triangle(form, uplo, n, k, a, lda);
  if (triangular_vector_is_serial(form, n, k)) return symmetric_product_in_place(matrix, alpha, x, incx, beta, y, incy);
  const symmetric_vector_object<T> record{uplo, matrix, alpha, x, incx, beta, y, incy};
  const int columns = form == storage_form::band ? k : 1;
  threading::launch_grid(n, kernels::get_kernel<T>()->tile_n, columns, columns, &record);
}

template <typename T>
constexpr void check_real() {
  static_assert(!is_complex_v<T>, "the symmetric forms are for the real types, the Hermitian ones for complex");
}
template <typename T>
constexpr void check_complex() {
  static_assert(is_complex_v<T>, "the symmetric forms are for the real types, the Hermitian ones for complex");
}

template <typename T>
void symv_serial(char uplo, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_serial(storage_form::full, uplo, n, 0, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void hemv_serial(char uplo, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_serial(storage_form::full, uplo, n, 0, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void sbmv_serial(char uplo, int n, int k, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_serial(storage_form::band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void hbmv_serial(char uplo, int n, int k, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_serial(storage_form::band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void spmv_serial(char uplo, int n, T alpha, const T* ap, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_serial(storage_form::packed, uplo, n, 0, alpha, ap, 0, x, incx, beta, y, incy);
}
template <typename T>
void hpmv_serial(char uplo, int n, T alpha, const T* ap, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_serial(storage_form::packed, uplo, n, 0, alpha, ap, 0, x, incx, beta, y, incy);
}

template <typename T>
void symv_front(char uplo, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_front(storage_form::full, uplo, n, 0, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void hemv_front(char uplo, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_front(storage_form::full, uplo, n, 0, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void sbmv_front(char uplo, int n, int k, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_front(storage_form::band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void hbmv_front(char uplo, int n, int k, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_front(storage_form::band, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
template <typename T>
void spmv_front(char uplo, int n, T alpha, const T* ap, const T* x, int incx, T beta, T* y, int incy) {
  check_real<T>();
  symmetric_product_front(storage_form::packed, uplo, n, 0, alpha, ap, 0, x, incx, beta, y, incy);
}
template <typename T>
void hpmv_front(char uplo, int n, T alpha, const T* ap, const T* x, int incx, T beta, T* y, int incy) {
  check_complex<T>();
  symmetric_product_front(storage_form::packed, uplo, n, 0, alpha, ap, 0, x, incx, beta, y, incy);
}

}  // namespace kovra::parallel::blas
