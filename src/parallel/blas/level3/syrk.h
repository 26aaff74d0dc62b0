// syrk<T>: C := alpha A A^T + beta C ('N') or alpha A^T A + beta C on one triangle of a symmetric C; herk<T, R>:
// the same with A^H, real alpha and beta, on a Hermitian C. The serial forms are the meaning; the task path
// cuts the order into runs of rows (rank_update.h), each task doing its diagonal triangle with the serial form
// and its rectangle with a nested gemm<T>.
//
// Kept as the contract of these routines: with uplo 'U' the diagonal of C is neither scaled nor updated by
// syrk; herk rewrites the diagonal's real part only where its steps reach it, clearing the imaginary part there,
// and with 'U', trans 'N' and beta = 0 keeps the old real part in the sum.
#pragma once

#include <type_traits>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level3/rank_update.h"
#include "parallel/blas/level3/rank_update_columns.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The serial update as loops, the meaning of small_syrk. In the 'N' loops an exact zero A(j, l) skips its whole
// term, so a NaN in A(i, l) opposite it never reaches C.
template <typename T>
void small_syrk_loops(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
  using namespace helper;
  if (rank_update_is_noop(n, k, alpha, beta)) return;
  const bool upper = fold_letter(uplo) == 'U';
  if (is_zero(alpha)) return prepare_triangle(upper, n, beta, c, ldc);
  const auto A = [&](int i, int l) { return a[i + std::ptrdiff_t{l} * lda]; };
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    const auto [i0, i1] = triangle_rows(upper, j, n);
    if (fold_letter(trans) == 'N') {
      scale_column(cj + i0, i1 - i0, beta);
      for (int l = 0; l < k; ++l) {
        if (is_zero(A(j, l))) continue;
        const T temp = mul(alpha, A(j, l));
        for (int i = i0; i < i1; ++i) cj[i] = multiply_add(temp, A(i, l), cj[i]);
      }
    } else {  // 'T', and 'C' of a complex T, which takes no conjugate here
      for (int i = i0; i < i1; ++i) {
        T temp = T(0);
        for (int l = 0; l < k; ++l) temp = multiply_add(A(l, i), A(l, j), temp);
        cj[i] = is_zero(beta) ? mul(alpha, temp) : multiply_add(alpha, temp, mul(beta, cj[i]));
      }
    }
  }
}

// The serial update on the calling thread: for float and double the same steps a tile of C at a time
// (rank_update_columns.h), for the complex types the loops.
template <typename T>
void small_syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
  if constexpr (std::is_floating_point_v<T>)
    if (!rank_update_is_noop(n, k, alpha, beta) && alpha != 0)
      return syrk_columns(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
  small_syrk_loops(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}

// The serial Hermitian update; the zero skip of the 'N' loops compares both parts of A(j, l).
template <typename T, typename R>
void small_herk(char uplo, char trans, int n, int k, R alpha, const T* a, int lda, R beta, T* c, int ldc) {
  using namespace helper;
  if (rank_update_is_noop(n, k, alpha, beta)) return;
  const bool upper = fold_letter(uplo) == 'U';
  if (alpha == 0) return scale_hermitian_triangle(upper, n, beta, c, ldc);
  const auto A = [&](int i, int l) { return a[i + std::ptrdiff_t{l} * lda]; };
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    if (fold_letter(trans) == 'N') {
      prepare_hermitian_column(upper, false, j, n, beta, cj);
      const int i0 = upper ? 0 : j + 1, i1 = upper ? j : n;  // the rows off the diagonal
      for (int l = 0; l < k; ++l) {
        if (is_zero(A(j, l))) continue;
        const T temp = scale_parts(alpha, CONJG(true, A(j, l)));
        for (int i = i0; i < i1; ++i) cj[i] = multiply_add(temp, A(i, l), cj[i]);
        cj[j] = T(cj[j].real() + mul(temp, A(j, l)).real(), 0);
      }
    } else {  // 'C': every element of the triangle, the diagonal included, from its column sums
      for (int i = upper ? 0 : j; i < (upper ? j + 1 : n); ++i) {
        T t = T(0);
        for (int l = 0; l < k; ++l) t = multiply_add(CONJG(true, A(l, i)), A(l, j), t);
        const T s = scale_parts(alpha, t);
        if (beta == 0)
          cj[i] = s;
        else if (i == j)
          cj[i] = T(beta * cj[i].real() + s.real(), s.imag());
        else
          cj[i] = add(scale_parts(beta, cj[i]), s);
      }
    }
  }
}

// The per-call record of SYRK (Hermitian = false, S = T) and HERK (true, S = R): the call's fields and the tile
// body. No kernel: the nested gemm<T> fetches its own.
template <typename T, typename S, bool Hermitian>
struct rank_k_object {
  char uplo;
  char trans;
  int n;
  int k;
  S alpha;
  const T* a;
  int lda;
  S beta;
  T* c;
  int ldc;

  // The run [r0, r1) of rows: its diagonal triangle by the serial form, its rectangle by gemm<T>. The column
  // range is [0, k) and is not read. A run covering the whole order is the serial form on the whole problem.
  void run_tile(threading::scratch* s, int r0, int r1, int, int) const;
};

template <typename T>
using syrk_object = rank_k_object<T, T, false>;
template <typename T, typename R>
using herk_object = rank_k_object<T, R, true>;

template <typename T>
void syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc);

template <typename T, typename R>
void herk(char uplo, char trans, int n, int k, R alpha, const T* a, int lda, R beta, T* c, int ldc);

}  // namespace kovra::parallel::blas
