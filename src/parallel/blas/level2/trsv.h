// TRSV, TBSV and TPSV, x := op(A)^-1 x for a triangular A in full, band or packed storage. The recurrence is
// sequential, so it stays in one place: the serial forms walk the columns on the calling thread with the vector
// primitives, and the task path runs the very same walk in one task whose steps of more than 8 elements are
// nested Level 1 grids (step_primitives.h) that the task waits for. One column is one step.
#pragma once

#include <cstddef>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level1/logical_element.h"
#include "parallel/blas/level2/gemv_steps.h"
#include "parallel/blas/level2/step_primitives.h"
#include "parallel/blas/level2/triangle_storage.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The solve of n logical elements of x in place, column by column. Nested picks the par_ steps, else the
// vec_ ones. 'N' forms eliminate the solved element from the rest of its column (skipping a zero x_j without
// reading d_j); 'T' and 'C' forms subtract the dot of the column with the solved part, summed from the row
// farthest from the diagonal towards it. A reversed column pairs with x at the negated increment, so each
// stored element meets its own row. A unit diagonal is never read.
template <bool Nested, typename T>
void solve_in_place(const triangle_storage<T>& A, char trans, char diag, T* x, int incx) {
  using namespace helper;
  using axpy_step = void (*)(int, T, const T*, T*, int);
  using dot_step = T (*)(int, const T*, const T*, int);
  const int n = A.n;
  const char t = fold_letter(trans);
  const bool nounit = fold_letter(diag) == 'N', conj = t == 'C', upper = A.upper;
  // The walk runs down the columns, and reads each column backwards against x at -incx, in the 'N' upper and
  // the 'T' lower forms.
  const bool backward = upper == (t == 'N');
  const int inc = backward ? -incx : incx;
  const axpy_step eliminate =
      Nested ? (upper ? par_axpy_rev<T> : par_axpy<T>) : (upper ? vec_axpy_rev<T> : vec_axpy<T>);
  const dot_step nested_dot = upper ? (conj ? par_dotc<T> : par_dot<T>) : (conj ? par_dotc_rev<T> : par_dot_rev<T>);
  const dot_step serial_dot = upper ? (conj ? vec_dotc<T> : vec_dot<T>) : (conj ? vec_dotc_rev<T> : vec_dot_rev<T>);
  const dot_step column_dot = Nested ? nested_dot : serial_dot;
  const auto X = [&](int j) -> T& { return x[logical_offset(j, n, incx)]; };
  for (int s = 0; s < n; ++s) {
    const int j = backward ? n - 1 - s : s;
    // The stored rows off the diagonal: [r0, j) above it for upper, [j + 1, r1) below it for lower.
    const int r0 = upper ? A.first_row(j) : j + 1, count = upper ? j - r0 : A.end_row(j) - j - 1;
    const T* const column = count > 0 ? A.at(r0, j) : nullptr;
    T* const rest = sub_vector(x, r0, count, n, incx);
    if (t == 'N') {
      if (is_zero(X(j))) continue;
      if (nounit) X(j) = div(X(j), *A.at(j, j));
      eliminate(count, -X(j), column, rest, inc);
    } else {
      const T value = X(j) - column_dot(count, column, rest, inc);  // part by part for complex T
      X(j) = nounit ? div(value, CONJG(conj, *A.at(j, j))) : value;
    }
  }
}

// The per-call record of TRSV, TBSV and TPSV: the letters as given, the matrix in its storage, and x.
template <typename T>
struct triangular_solve_object {
  char uplo;
  char trans;
  char diag;
  triangle_storage<T> matrix;
  T* x;
  int incx;

  // The one task of the call, whatever ranges it is given. A strided x that fits the scratch is gathered to it
  // first, so that the steps see unit stride and the lower 'N' form reaches the vector kernel. The gathered x
  // stays in the scratch across the steps' nested grids: a waiting worker runs only tasks of the group it
  // waits for, and Level 1 tiles never touch the scratch.
  void run_tile(threading::scratch* s, int, int, int, int) const {
    const int n = matrix.n;
    if (incx != 1 && std::size_t(n) * sizeof(T) + 4096 < threading::scratch_bytes) {
      T* const gathered = reinterpret_cast<T*>(s->storage);
      par_gather(n, x, incx, gathered);
      solve_in_place<true>(matrix, trans, diag, gathered, 1);
      par_scatter(n, static_cast<const T*>(gathered), x, incx);
      return;
    }
    solve_in_place<true>(matrix, trans, diag, x, incx);
  }
};

template <typename T>
using trsv_object = triangular_solve_object<T>;
template <typename T>
using tbsv_object = triangular_solve_object<T>;
template <typename T>
using tpsv_object = triangular_solve_object<T>;

// A triangle of order n in `form` storage (k off-diagonals for a band; lda unused for packed storage).
template <typename T>
triangle_storage<T> stored_triangle(storage_form form, char uplo, int n, int k, const T* a, int lda) {
  return {form, helper::fold_letter(uplo) == 'U', n, form == storage_form::band ? k : n - 1, a, lda};
}

// The serial forms: the checks under `name`, then the solve on the calling thread.
template <typename T>
void triangular_solve_serial(const char* name, storage_form form, char uplo, char trans, char diag, int n, int k,
                             const T* a, int lda, T* x, int incx) {
  if (error::bad_argument(name, triangular_vector_bad_argument(form, uplo, trans, diag, n, k, lda, incx))) return;
  solve_in_place<false>(stored_triangle(form, uplo, n, k, a, lda), trans, diag, x, incx);
}

// The fronts: the checks, n = 0, the serial cut-off (n at most 8, and k too for a band), else one task.
template <typename T>
void triangular_solve_front(const char* name, storage_form form, char uplo, char trans, char diag, int n, int k,
                            const T* a, int lda, T* x, int incx) {
  if (error::bad_argument(name, triangular_vector_bad_argument(form, uplo, trans, diag, n, k, lda, incx))) return;
  if (n == 0) return;
  const triangle_storage<T> matrix = stored_triangle(form, uplo, n, k, a, lda);
  if (triangular_vector_is_serial(form, n, k)) return solve_in_place<false>(matrix, trans, diag, x, incx);
  const triangular_solve_object<T> record{uplo, trans, diag, matrix, x, incx};
  const int columns = form == storage_form::band ? k : 1;
  threading::launch_grid(n, n, columns, columns, &record);
}

template <typename T>
void trsv_serial(char uplo, char trans, char diag, int n, const T* a, int lda, T* x, int incx) {
  triangular_solve_serial("TRSV ", storage_form::full, uplo, trans, diag, n, 0, a, lda, x, incx);
}
template <typename T>
void tbsv_serial(char uplo, char trans, char diag, int n, int k, const T* a, int lda, T* x, int incx) {
  triangular_solve_serial("TBSV ", storage_form::band, uplo, trans, diag, n, k, a, lda, x, incx);
}
template <typename T>
void tpsv_serial(char uplo, char trans, char diag, int n, const T* ap, T* x, int incx) {
  triangular_solve_serial("TPSV ", storage_form::packed, uplo, trans, diag, n, 0, ap, 0, x, incx);
}

template <typename T>
void trsv_front(char uplo, char trans, char diag, int n, const T* a, int lda, T* x, int incx) {
  triangular_solve_front("TRSV ", storage_form::full, uplo, trans, diag, n, 0, a, lda, x, incx);
}
template <typename T>
void tbsv_front(char uplo, char trans, char diag, int n, int k, const T* a, int lda, T* x, int incx) {
  triangular_solve_front("TBSV ", storage_form::band, uplo, trans, diag, n, k, a, lda, x, incx);
}
template <typename T>
void tpsv_front(char uplo, char trans, char diag, int n, const T* ap, T* x, int incx) {
  triangular_solve_front("TPSV ", storage_form::packed, uplo, trans, diag, n, 0, ap, 0, x, incx);
}

}  // namespace kovra::parallel::blas
