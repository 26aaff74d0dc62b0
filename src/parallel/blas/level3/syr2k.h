// syr2k<T>: C := alpha A B^T + alpha B A^T + beta C ('N') or with A^T B and B^T A, on one triangle of a symmetric
// C; her2k<T, R>: alpha A B^H + conj(alpha) B A^H + beta C with a real beta, on a Hermitian C. The serial forms
// are the meaning; the task path is SYRK's (rank_update.h) with two nested gemm<T> calls per rectangle.
//
// Kept as the contract of these routines: with uplo 'U' the diagonal of C is left out of syr2k and of her2k's
// 'C' form; her2k 'U' 'N' only clears the diagonal's imaginary part before adding to it; and her2k's rectangles
// use alpha unconjugated on both products, so a complex alpha gives the diagonal triangles (alpha and
// conj(alpha)) and the rectangles different formulas.
#pragma once

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level3/rank_update.h"
#include "parallel/blas/level3/syrk.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The serial update on the calling thread. In the 'N' loops a term whose A(j, l) and B(j, l) are both exactly
// zero is skipped, so a NaN opposite them never reaches C.
template <typename T>
void small_syr2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
                 int ldc) {
  using namespace helper;
  if (rank_update_is_noop(n, k, alpha, beta)) return;
  const bool upper = fold_letter(uplo) == 'U';
  if (is_zero(alpha)) return prepare_triangle(upper, n, beta, c, ldc);
  const auto A = [&](int i, int l) { return a[i + std::ptrdiff_t{l} * lda]; };
  const auto B = [&](int i, int l) { return b[i + std::ptrdiff_t{l} * ldb]; };
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    const auto [i0, i1] = triangle_rows(upper, j, n);
    if (fold_letter(trans) == 'N') {
      scale_column(cj + i0, i1 - i0, beta);
      for (int l = 0; l < k; ++l) {
        if (is_zero(A(j, l)) && is_zero(B(j, l))) continue;
        const T temp1 = mul(alpha, B(j, l)), temp2 = mul(alpha, A(j, l));
        for (int i = i0; i < i1; ++i) cj[i] = multiply_add(B(i, l), temp2, multiply_add(A(i, l), temp1, cj[i]));
      }
    } else {  // 'T', and 'C' of a complex T, which takes no conjugate here
      for (int i = i0; i < i1; ++i) {
        T temp1 = T(0), temp2 = T(0);
        for (int l = 0; l < k; ++l) {
          temp1 = multiply_add(A(l, i), B(l, j), temp1);
          temp2 = multiply_add(B(l, i), A(l, j), temp2);
        }
        const T first = is_zero(beta) ? mul(alpha, temp1) : multiply_add(alpha, temp1, mul(beta, cj[i]));
        cj[i] = multiply_add(alpha, temp2, first);
      }
    }
  }
}

// The serial Hermitian update: alpha on A B^H, conj(alpha) on B A^H.
template <typename T, typename R>
void small_her2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, R beta, T* c,
                 int ldc) {
  using namespace helper;
  if (rank_update_is_noop(n, k, alpha, beta)) return;
  const bool upper = fold_letter(uplo) == 'U';
  if (is_zero(alpha)) return scale_hermitian_triangle(upper, n, beta, c, ldc);
  const T alpha_conj = CONJG(true, alpha);
  const auto A = [&](int i, int l) { return a[i + std::ptrdiff_t{l} * lda]; };
  const auto B = [&](int i, int l) { return b[i + std::ptrdiff_t{l} * ldb]; };
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    if (fold_letter(trans) == 'N') {
      prepare_hermitian_column(upper, true, j, n, beta, cj);
      const int i0 = upper ? 0 : j + 1, i1 = upper ? j : n;  // the rows off the diagonal
      for (int l = 0; l < k; ++l) {
        if (is_zero(A(j, l)) && is_zero(B(j, l))) continue;
        const T temp1 = mul(alpha, CONJG(true, B(j, l))), temp2 = CONJG(true, mul(alpha, A(j, l)));
        for (int i = i0; i < i1; ++i) cj[i] = multiply_add(B(i, l), temp2, multiply_add(A(i, l), temp1, cj[i]));
        cj[j] = T(cj[j].real() + (mul(A(j, l), temp1).real() + mul(B(j, l), temp2).real()), 0);
      }
    } else {  // 'C': 'L' reaches the diagonal as the first row of its column, 'U' never does
      for (int i = upper ? 0 : j; i < (upper ? j : n); ++i) {
        T temp1 = T(0), temp2 = T(0);
        for (int l = 0; l < k; ++l) {
          temp1 = multiply_add(CONJG(true, A(l, i)), B(l, j), temp1);
          temp2 = multiply_add(CONJG(true, B(l, i)), A(l, j), temp2);
        }
        if (i == j) {
          const R sum = multiply_add(alpha_conj, temp2, mul(alpha, temp1)).real();
          cj[j] = T(beta == 0 ? sum : beta * cj[j].real() + sum, 0);
        } else {
          const T first = beta == 0 ? mul(alpha, temp1) : multiply_add(alpha, temp1, scale_parts(beta, cj[i]));
          cj[i] = multiply_add(alpha_conj, temp2, first);
        }
      }
    }
  }
}

// The per-call record of SYR2K (Hermitian = false, real beta type S = T) and HER2K (true, S = R): the call's
// fields and the tile body. No kernel: the nested gemm<T> calls fetch their own.
template <typename T, typename S, bool Hermitian>
struct rank_2k_object {
  char uplo;
  char trans;
  int n;
  int k;
  T alpha;
  const T* a;
  int lda;
  const T* b;
  int ldb;
  S beta;
  T* c;
  int ldc;

  // The run [r0, r1) of rows: its diagonal triangle by the serial form, its rectangle by two gemm<T>, the first
  // with beta and the second adding to it. A run covering the whole order is the serial form on the whole problem.
  void run_tile(threading::scratch* s, int r0, int r1, int, int) const;
};

template <typename T>
using syr2k_object = rank_2k_object<T, T, false>;
template <typename T, typename R>
using her2k_object = rank_2k_object<T, R, true>;

template <typename T>
void syr2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
           int ldc);

template <typename T, typename R>
void her2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, R beta, T* c,
           int ldc);

}  // namespace kovra::parallel::blas
