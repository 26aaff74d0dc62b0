// TRMV, TBMV and TPMV, x := op(A) x for a triangular A in full, band or packed storage. The product overwrites
// its own input, so the task path first copies x once (in logical order, contiguous): tiles then read the other
// rows from the copy and write only the rows they own, and the rows are independent, a row partition like
// GEMV's. The serial forms need no copy: the order of their steps keeps every input intact until it is used.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "error/error.h"
#include "helper/aligned.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "parallel/blas/level2/gemv.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/step_primitives.h"
#include "parallel/blas/level2/trsv.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The dot of a column with x for op 'T' (conj false) or 'C', read forwards or backwards.
template <typename T>
using column_dot = T (*)(int, const T*, const T*, int);
template <typename T>
column_dot<T> column_dot_form(bool conj, bool backward) {
  return backward ? (conj ? vec_dotc_rev<T> : vec_dot_rev<T>) : (conj ? vec_dotc<T> : vec_dot<T>);
}

// The serial product in place. 'N' forms go up the columns for upper (down for lower), adding x_j times the
// column's off-diagonal part to the rows not yet reached and then scaling x_j by d_j, both skipped for a zero
// x_j; 'T' and 'C' forms go the other way, each x_j becoming its (conjugated) diagonal product plus the dot of
// its column with the rows still as given. A unit diagonal is never read.
template <typename T>
void multiply_in_place(const triangle_storage<T>& A, char trans, char diag, T* x, int incx) {
  using namespace helper;
  const int n = A.n;
  const char t = fold_letter(trans);
  const bool nounit = fold_letter(diag) == 'N', conj = t == 'C', upper = A.upper;
  const bool backward = upper != (t == 'N');  // the walk runs down the columns, the column read backwards
  const int inc = backward ? -incx : incx;
  const column_dot<T> dot = column_dot_form<T>(conj, backward);
  const auto X = [&](int j) -> T& { return x[logical_offset(j, n, incx)]; };
  for (int s = 0; s < n; ++s) {
    const int j = backward ? n - 1 - s : s;
    const int r0 = upper ? A.first_row(j) : j + 1, count = upper ? j - r0 : A.end_row(j) - j - 1;
    const T* const column = count > 0 ? A.at(r0, j) : nullptr;
    T* const rest = sub_vector(x, r0, count, n, incx);
    if (t == 'N') {
      if (is_zero(X(j))) continue;
      if (upper)
        vec_axpy(count, X(j), column, rest, incx);
      else
        vec_axpy_rev(count, X(j), column, rest, -incx);
      if (nounit) X(j) = mul(X(j), *A.at(j, j));
    } else {
      const T scaled = nounit ? mul(X(j), CONJG(conj, *A.at(j, j))) : X(j);
      X(j) = add(scaled, dot(count, column, rest, inc));
    }
  }
}

// The per-call record of TRMV, TBMV and TPMV: the letters as given, the matrix in its storage, x and its copy.
template <typename T>
struct triangular_product_object {
  char uplo;
  char trans;
  char diag;
  triangle_storage<T> matrix;
  T* x;
  int incx;
  const T* xcopy;

  // The rows a tile of [f, l) owns: those of the range, or the mirrored rows [n - l, n - f), so that the first
  // tiles own the rows with the longest sums.
  bool mirrored() const {
    const bool upper = matrix.upper, plain = helper::fold_letter(trans) == 'N';
    if (plain) return !upper;
    return upper && matrix.form != storage_form::packed;
  }

  void run_tile(threading::scratch* s, int f, int l, int, int) const {
    const int g = mirrored() ? matrix.n - l : f;
    if (matrix.form == storage_form::full)
      full_rows(s, g, l - f);
    else if (helper::fold_letter(trans) == 'N')
      column_rows(f, l);
    else
      dot_rows(f, l);
  }

  // TRMV: the rows [g, g + rows). A strided x is gathered to the scratch first when the rows fit; the nested
  // GEMV reads the copy at unit stride, so its tiles leave the scratch alone.
  void full_rows(threading::scratch* s, int g, int rows) const {
    T* const slice = sub_vector(x, g, rows, matrix.n, incx);
    if (incx == 1 || std::size_t(rows) * sizeof(T) + 4096 >= threading::scratch_bytes)
      return full_block(g, rows, slice, incx);
    T* const packed = reinterpret_cast<T*>(s->storage);
    vec_gather(rows, static_cast<const T*>(slice), incx, packed);
    full_block(g, rows, packed, 1);
    vec_scatter(rows, static_cast<const T*>(packed), slice, incx);
  }

  // The diagonal block of the rows by the serial product, then the rectangle beside it, A's columns [e, n) for
  // 'N' upper and 'T' lower, [0, g) otherwise, through the GEMV front with alpha = beta = 1, reading the copy
  // and adding to the rows. A rectangle of more than 8 rows or columns launches a nested grid.
  void full_block(int g, int rows, T* y, int inc) const {
    const int n = matrix.n, lda = matrix.lda, e = g + rows;
    const bool plain = helper::fold_letter(trans) == 'N', after = plain == matrix.upper;
    const auto A = [&](int i, int j) { return matrix.a + i + std::ptrdiff_t{j} * lda; };
    multiply_in_place(full_storage(matrix.upper, rows, A(g, g), lda), trans, diag, y, inc);
    const int c0 = after ? e : 0, count = after ? n - e : g;
    const T* const a_rect = plain ? A(g, c0) : A(c0, g);
    const int m_rect = plain ? rows : count, n_rect = plain ? count : rows;
    if constexpr (is_complex_v<T>)
      gemv_front(trans, m_rect, n_rect, T(1), a_rect, lda, xcopy + c0, 1, T(1), y, inc);
    else
      gemv_front_unit(trans, m_rect, n_rect, a_rect, lda, xcopy + c0, 1, y, inc);
  }

  // TBMV and TPMV 'N': the columns from the tile's first row on (upper) or from its last row back (lower), each
  // adding c_j times its stored part within the tile's rows, then scaling x_j by d_j once its column is reached
  // inside the tile, so every row is scaled before any column adds to it. A zero c_j skips both. Columns
  // beyond the rows plus the band add nothing and are not visited.
  void column_rows(int f, int l) const {
    const triangle_storage<T>& A = matrix;
    const int n = A.n, rows = l - f;
    const bool nounit = helper::fold_letter(diag) == 'N';
    for (int c = 0; c < rows + A.k; ++c) {
      const int j = A.upper ? f + c : n - 1 - f - c;
      if (j < 0 || j >= n) break;
      if (helper::is_zero(xcopy[j])) continue;
      // The rows [r0, r1) of column j that are stored and owned; a lower column pairs backwards, at -incx.
      const int r0 = A.upper ? helper::MAX(f, A.first_row(j)) : helper::MAX(j + 1, n - l);
      const int r1 = A.upper ? helper::MIN(j, l) : helper::MIN(n - f, A.end_row(j)), count = r1 - r0;
      const T* const column = count > 0 ? A.at(r0, j) : nullptr;
      T* const part = sub_vector(x, r0, count, n, incx);
      if (A.upper)
        vec_axpy(count, xcopy[j], column, part, incx);
      else
        vec_axpy_rev(count, xcopy[j], column, part, -incx);
      if (c < rows && nounit) logical_at(x, j, n, incx) = helper::mul(logical_at(x, j, n, incx), *A.at(j, j));
    }
  }

  // TBMV and TPMV 'T' and 'C': each owned row is its diagonal product plus one dot of its stored column with the
  // copy; a band's upper column is summed from the diagonal outwards. The real packed forms fuse the diagonal
  // product into the sum, the band forms add it.
  void dot_rows(int f, int l) const {
    const triangle_storage<T>& A = matrix;
    const int n = A.n;
    const bool nounit = helper::fold_letter(diag) == 'N', conj = helper::fold_letter(trans) == 'C';
    const bool band = A.form == storage_form::band, backward = band && A.upper;
    const column_dot<T> dot = column_dot_form<T>(conj, backward);
    for (int j = mirrored() ? n - l : f, end = j + l - f; j < end; ++j) {
      const int r0 = A.upper ? A.first_row(j) : j + 1, count = A.upper ? j - r0 : A.end_row(j) - j - 1;
      const T sum = dot(count, count > 0 ? A.at(r0, j) : nullptr, xcopy + r0, backward ? -1 : 1);
      T& xj = logical_at(x, j, n, incx);
      const T dj = nounit ? helper::CONJG(conj, *A.at(j, j)) : T(1);
      if (!nounit)
        xj = helper::add(sum, xj);
      else
        xj = band ? helper::add(sum, helper::mul(xj, dj)) : helper::multiply_add(xj, dj, sum);
    }
  }
};

template <typename T>
using trmv_object = triangular_product_object<T>;
template <typename T>
using tbmv_object = triangular_product_object<T>;
template <typename T>
using tpmv_object = triangular_product_object<T>;

// The serial forms: the checks under `name`, then the product on the calling thread.
template <typename T>
void triangular_product_serial(const char* name, storage_form form, char uplo, char trans, char diag, int n, int k,
                               const T* a, int lda, T* x, int incx) {
  if (error::bad_argument(name, triangular_vector_bad_argument(form, uplo, trans, diag, n, k, lda, incx))) return;
  multiply_in_place(stored_triangle(form, uplo, n, k, a, lda), trans, diag, x, incx);
}

// The fronts: the checks, n = 0, the serial cut-off (n at most 8, and k too for a band), else the copy of x
// and one tile per share of the rows in grains of tile_n. If the copy cannot be had (the allocator has
// reported it), the serial product, which needs none, does the work.
template <typename T>
void triangular_product_front(const char* name, storage_form form, char uplo, char trans, char diag, int n, int k,
                              const T* a, int lda, T* x, int incx) {
  if (error::bad_argument(name, triangular_vector_bad_argument(form, uplo, trans, diag, n, k, lda, incx))) return;
  if (n == 0) return;
  const triangle_storage<T> matrix = stored_triangle(form, uplo, n, k, a, lda);
  if (triangular_vector_is_serial(form, n, k)) return multiply_in_place(matrix, trans, diag, x, incx);
  const auto kernel = kernels::get_kernel<T>();
  const std::unique_ptr<T, decltype(&std::free)> copy(helper::aligned_array<T>(n), &std::free);
  if (copy == nullptr) return multiply_in_place(matrix, trans, diag, x, incx);
  par_gather(n, static_cast<const T*>(x), incx, copy.get());
  const triangular_product_object<T> record{uplo, trans, diag, matrix, x, incx, copy.get()};
  const int columns = form == storage_form::band ? k : 1;
  threading::launch_grid(n, kernel->tile_n, columns, columns, &record);
}

template <typename T>
void trmv_serial(char uplo, char trans, char diag, int n, const T* a, int lda, T* x, int incx) {
  triangular_product_serial("TRMV ", storage_form::full, uplo, trans, diag, n, 0, a, lda, x, incx);
}
template <typename T>
void tbmv_serial(char uplo, char trans, char diag, int n, int k, const T* a, int lda, T* x, int incx) {
  triangular_product_serial("TBMV ", storage_form::band, uplo, trans, diag, n, k, a, lda, x, incx);
}
template <typename T>
void tpmv_serial(char uplo, char trans, char diag, int n, const T* ap, T* x, int incx) {
  triangular_product_serial("TPMV ", storage_form::packed, uplo, trans, diag, n, 0, ap, 0, x, incx);
}

template <typename T>
void trmv_front(char uplo, char trans, char diag, int n, const T* a, int lda, T* x, int incx) {
  triangular_product_front("TRMV ", storage_form::full, uplo, trans, diag, n, 0, a, lda, x, incx);
}
template <typename T>
void tbmv_front(char uplo, char trans, char diag, int n, int k, const T* a, int lda, T* x, int incx) {
  triangular_product_front("TBMV ", storage_form::band, uplo, trans, diag, n, k, a, lda, x, incx);
}
template <typename T>
void tpmv_front(char uplo, char trans, char diag, int n, const T* ap, T* x, int incx) {
  triangular_product_front("TPMV ", storage_form::packed, uplo, trans, diag, n, 0, ap, 0, x, incx);
}

}  // namespace kovra::parallel::blas
