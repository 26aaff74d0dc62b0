// trsm<T>: op(A) X = alpha B (side 'L') or X op(A) = alpha B (side 'R') for a triangular A, X over B. The
// serial form small_trsm is the meaning, its results bit for bit those of the loop nest small_trsm_loops; the
// task path splits B by right-hand sides (its columns for side 'L', its rows for 'R') and walks A's diagonal
// inside each task in blocks of 4 tiles of the split direction: small_trsm on the diagonal block, then a
// nested gemm<T> with -1 and 1 on what is still to be solved. alpha goes unchanged into every diagonal solve,
// so with more than one block and alpha other than 1 the parts behind the first block carry alpha on the
// solved part's term too; that is the required result.
#pragma once

#include <type_traits>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level3/triangular.h"
#include "parallel/blas/level3/triangular_solve_columns.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The serial solve's meaning: a plain loop nest, no kernel, no packing. Left solves divide element by
// element; right solves multiply by a reciprocal formed once per column. An exact zero of the B(k, j) or
// A(k, j) about to be used is skipped, so NaN and infinity in the skipped operand do not spread.
template <typename T>
void small_trsm_loops(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda,
                      T* b, int ldb) {
  using namespace helper;
  if (m == 0 || n == 0) return;
  if (is_zero(alpha)) return clear_columns(m, n, b, ldb);
  const bool upper = fold_letter(uplo) == 'U', nota = fold_letter(transa) == 'N';
  const bool conj = fold_letter(transa) == 'C', nounit = fold_letter(diag) == 'N', scale = !is_one(alpha);
  const auto A = [&](int i, int k) { return a[i + std::ptrdiff_t{k} * lda]; };
  const auto col = [&](int j) { return b + std::ptrdiff_t{j} * ldb; };
  const auto scale_column = [&](T* x, int len, const T& s) {
    for (int i = 0; i < len; ++i) x[i] = mul(s, x[i]);
  };
  if (fold_letter(side) == 'L') {
    for (int j = 0; j < n; ++j) {
      T* bj = col(j);
      if (nota) {  // upper: k from the bottom, rows above it; lower: k from the top, rows below it
        if (scale) scale_column(bj, m, alpha);
        for (int s = 0; s < m; ++s) {
          const int k = upper ? m - 1 - s : s;
          if (is_zero(bj[k])) continue;
          if (nounit) bj[k] = div(bj[k], A(k, k));
          for (int i = upper ? 0 : k + 1; i < (upper ? k : m); ++i) bj[i] = multiply_subtract(bj[k], A(i, k), bj[i]);
        }
      } else {  // upper: i from the top, the solved rows above it; lower: from the bottom, the rows below
        for (int s = 0; s < m; ++s) {
          const int i = upper ? s : m - 1 - s;
          T temp = mul(alpha, bj[i]);
          for (int k = upper ? 0 : i + 1; k < (upper ? i : m); ++k)
            temp = multiply_subtract(CONJG(conj, A(k, i)), bj[k], temp);
          bj[i] = nounit ? div(temp, CONJG(conj, A(i, i))) : temp;
        }
      }
    }
  } else if (nota) {  // upper: columns from the left, the solved ones before; lower: from the right
    for (int s = 0; s < n; ++s) {
      const int j = upper ? s : n - 1 - s;
      if (scale) scale_column(col(j), m, alpha);
      for (int k = upper ? 0 : j + 1; k < (upper ? j : n); ++k) {
        if (is_zero(A(k, j))) continue;
        for (int i = 0; i < m; ++i) col(j)[i] = multiply_subtract(A(k, j), col(k)[i], col(j)[i]);
      }
      if (nounit) scale_column(col(j), m, div(T(1), A(j, j)));
    }
  } else {  // upper: k from the right, updating the columns before it; lower: from the left
    for (int s = 0; s < n; ++s) {
      const int k = upper ? n - 1 - s : s;
      if (nounit) scale_column(col(k), m, div(T(1), CONJG(conj, A(k, k))));
      for (int j = upper ? 0 : k + 1; j < (upper ? k : n); ++j) {
        if (is_zero(A(j, k))) continue;
        const T t = CONJG(conj, A(j, k));
        for (int i = 0; i < m; ++i) col(j)[i] = multiply_subtract(t, col(k)[i], col(j)[i]);
      }
      if (scale) scale_column(col(k), m, alpha);
    }
  }
}

// The serial solve on the calling thread. Left solves of float and double take many right-hand sides at once
// (solve_left_columns), with every element's operations those of the loop nest; the others run the loop nest.
template <typename T>
void small_trsm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,
                int ldb) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) {
    if (helper::fold_letter(side) == 'L' && m > 0 && m <= solve_max_rows && n > 0 && alpha != T(0))
      return solve_left_columns(uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  }
  small_trsm_loops(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

// The per-call record: the call's fields and the tile body.
template <typename T>
struct trsm_object : triangular_call<T> {
  // Solves rows [i0, i1) by columns [j0, j1) of B: all rows for side 'L', all columns for 'R'.
  void run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const;
};

template <typename T>
void trsm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b, int ldb);

}  // namespace kovra::parallel::blas
