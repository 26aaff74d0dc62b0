// symm<T>: C := alpha A B + beta C (side 'L') or alpha B A + beta C ('R') for a symmetric A of which one triangle
// is stored; hemm<T>: the same for a Hermitian A, whose diagonal counts by its real part only. A is never
// unfolded or packed on its own: the task path cuts A's order into runs of 128 (the last 128 to 255), and each
// task runs the serial form on its diagonal block and two nested gemm<T> calls that read the strips of A beside
// the block straight from the stored triangle, once as stored and once through 'T' (or 'C'), which gives the
// triangle not stored.
#pragma once

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level3/small_gemm.h"
#include "parallel/blas/level3/symm_left_columns.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// Run length of the task path along A's order, fixed whatever the kernel.
inline constexpr int symmetric_product_run = 128;

// The serial product on the calling thread, for SYMM (Hermitian = false) and HEMM, as plain loops: the meaning
// of the serial form. Only the triangle named by uplo is read, and of a Hermitian diagonal only the real part.
template <bool Hermitian, typename T>
void small_symmetric_product(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb,
                             T beta, T* c, int ldc) {
  using namespace helper;
  if (m == 0 || n == 0 || (is_one(beta) && is_zero(alpha))) return;
  if (is_zero(alpha)) {
    for (int j = 0; j < n; ++j) scale_column(c + std::ptrdiff_t{j} * ldc, m, beta);
    return;
  }
  const bool upper = fold_letter(uplo) == 'U';
  const auto A = [&](int i, int k) { return a[i + std::ptrdiff_t{k} * lda]; };
  const auto B = [&](int i, int j) { return b[i + std::ptrdiff_t{j} * ldb]; };
  const auto diagonal = [&](int i) { return Hermitian ? T(REAL(A(i, i))) : A(i, i); };
  if (fold_letter(side) == 'L') {
    // Row i of the product takes the stored column i of A twice: down to the diagonal as A(k, i) into the
    // rows k already visited, and across it (conjugated for HEMM) into temp2 for row i itself.
    for (int j = 0; j < n; ++j) {
      T* cj = c + std::ptrdiff_t{j} * ldc;
      for (int s = 0; s < m; ++s) {
        const int i = upper ? s : m - 1 - s;
        const T temp1 = mul(alpha, B(i, j));
        T temp2 = T(0);
        for (int k = upper ? 0 : i + 1; k < (upper ? i : m); ++k) {
          cj[k] = multiply_add(temp1, A(k, i), cj[k]);
          temp2 = multiply_add(B(k, j), CONJG(Hermitian, A(k, i)), temp2);
        }
        const T kept = is_zero(beta) ? mul(temp1, diagonal(i)) : multiply_add(temp1, diagonal(i), mul(beta, cj[i]));
        cj[i] = multiply_add(alpha, temp2, kept);
      }
    }
    return;
  }
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    const T temp = mul(alpha, diagonal(j));
    for (int i = 0; i < m; ++i)
      cj[i] = is_zero(beta) ? mul(temp, B(i, j)) : multiply_add(temp, B(i, j), mul(beta, cj[i]));
    for (int k = 0; k < n; ++k) {
      if (k == j) continue;
      // A(k, j) where it is stored, else A(j, k) taken across the diagonal.
      const T akj = (k < j) == upper ? A(k, j) : CONJG(Hermitian, A(j, k));
      const T t = mul(alpha, akj);
      for (int i = 0; i < m; ++i) cj[i] = multiply_add(t, B(i, k), cj[i]);
    }
  }
}

// SYMM's serial form; the left side of a real type runs several columns at a time, with the same operations.
template <typename T>
void small_symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
                int ldc) {
  using namespace helper;
  if constexpr (std::is_floating_point_v<T>) {
    const bool quick = n == 0 || (beta == T(1) && alpha == T(0)) || alpha == T(0);
    if (fold_letter(side) == 'L' && m > 0 && m <= symm_left_max_rows && !quick)
      return symm_left_columns<T>(fold_letter(uplo) == 'U', m, alpha, a, lda, beta).run(n, b, ldb, c, ldc);
  }
  small_symmetric_product<false>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <typename T>
void small_hemm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
                int ldc) {
  small_symmetric_product<true>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The per-call record of SYMM and HEMM: the call's fields, letters as given, and the two folded flags.
template <typename T, bool Hermitian>
struct symmetric_product_object {
  char side;
  char uplo;
  int m;
  int n;
  T alpha;
  const T* a;
  int lda;
  const T* b;
  int ldb;
  T beta;
  T* c;
  int ldc;
  bool left;
  bool upper;

  // Rows [i0, i1) by columns [j0, j1) of C: a run of rows for side 'L' (all columns), of columns for 'R' (all
  // rows). A tile covering all of C is the serial form on the whole problem.
  void run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const;
};

template <typename T>
using symm_object = symmetric_product_object<T, false>;
template <typename T>
using hemm_object = symmetric_product_object<T, true>;

template <typename T>
void symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c, int ldc);

template <typename T>
void hemm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c, int ldc);

}  // namespace kovra::parallel::blas
