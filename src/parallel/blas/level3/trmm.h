// trmm<T>: B := alpha op(A) B (side 'L') or alpha B op(A) (side 'R') in place, A triangular. The serial form
// small_trmm is the meaning; the task path splits B by right-hand sides as TRSM does and walks A's diagonal
// the other way: small_trmm on each diagonal block, then a nested gemm<T> with 1 and 1 that adds the part of
// A off the block times the rows or columns of B not yet processed. alpha enters only the diagonal block, so
// with more than one block and alpha other than 1 the block becomes alpha T B1 + A12 B2; that is the required
// result.
#pragma once

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level3/triangular.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The serial product on the calling thread: a plain loop nest, no kernel, no packing. An exact zero of the
// B(k, j) about to be spread (left 'N') or of the A entry about to be used (right) is skipped, so NaN and
// infinity in the opposite operand do not spread.
template <typename T>
void small_trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,
                int ldb) {
  using namespace helper;
  if (m == 0 || n == 0) return;
  if (is_zero(alpha)) return clear_columns(m, n, b, ldb);
  const bool upper = fold_letter(uplo) == 'U', nota = fold_letter(transa) == 'N';
  const bool conj = fold_letter(transa) == 'C', nounit = fold_letter(diag) == 'N';
  const auto A = [&](int i, int k) { return a[i + std::ptrdiff_t{k} * lda]; };
  const auto col = [&](int j) { return b + std::ptrdiff_t{j} * ldb; };
  if (fold_letter(side) == 'L') {
    for (int j = 0; j < n; ++j) {
      T* bj = col(j);
      if (nota) {  // upper: k from the top, spreading into the rows above it; lower: from the bottom, below it
        for (int s = 0; s < m; ++s) {
          const int k = upper ? s : m - 1 - s;
          if (is_zero(bj[k])) continue;
          const T temp = mul(alpha, bj[k]);
          for (int i = upper ? 0 : k + 1; i < (upper ? k : m); ++i) bj[i] = multiply_add(temp, A(i, k), bj[i]);
          bj[k] = nounit ? mul(temp, A(k, k)) : temp;
        }
      } else {  // upper: i from the bottom, summing the rows above it; lower: from the top, the rows below
        for (int s = 0; s < m; ++s) {
          const int i = upper ? m - 1 - s : s;
          T temp = nounit ? mul(bj[i], CONJG(conj, A(i, i))) : bj[i];
          for (int k = upper ? 0 : i + 1; k < (upper ? i : m); ++k)
            temp = multiply_add(CONJG(conj, A(k, i)), bj[k], temp);
          bj[i] = mul(alpha, temp);
        }
      }
    }
  } else if (nota) {  // upper: columns from the right, adding the ones before; lower: from the left
    for (int s = 0; s < n; ++s) {
      const int j = upper ? n - 1 - s : s;
      const T temp = nounit ? mul(alpha, A(j, j)) : alpha;
      for (int i = 0; i < m; ++i) col(j)[i] = mul(temp, col(j)[i]);
      for (int k = upper ? 0 : j + 1; k < (upper ? j : n); ++k) {
        if (is_zero(A(k, j))) continue;
        const T t = mul(alpha, A(k, j));
        for (int i = 0; i < m; ++i) col(j)[i] = multiply_add(t, col(k)[i], col(j)[i]);
      }
    }
  } else {  // upper: k from the left, adding into the columns before it; lower: from the right
    for (int s = 0; s < n; ++s) {
      const int k = upper ? s : n - 1 - s;
      for (int j = upper ? 0 : k + 1; j < (upper ? k : n); ++j) {
        if (is_zero(A(j, k))) continue;
        const T t = mul(alpha, CONJG(conj, A(j, k)));
        for (int i = 0; i < m; ++i) col(j)[i] = multiply_add(t, col(k)[i], col(j)[i]);
      }
      const T temp = nounit ? mul(alpha, CONJG(conj, A(k, k))) : alpha;
      if (!is_one(temp))
        for (int i = 0; i < m; ++i) col(k)[i] = mul(temp, col(k)[i]);
    }
  }
}

// The per-call record: the call's fields and the tile body.
template <typename T>
struct trmm_object : triangular_call<T> {
  // Multiplies rows [i0, i1) by columns [j0, j1) of B: all rows for side 'L', all columns for 'R'.
  void run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const;
};

template <typename T>
void trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b, int ldb);

}  // namespace kovra::parallel::blas
