// symm<T> and hemm<T>: the checks, the front and the tile body of a run; the four element types for SYMM, the two
// complex ones for HEMM.
#include "parallel/blas/level3/symm.h"

#include "error/error.h"
#include "parallel/blas/level3/gemm.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {
namespace {

// The position of the first bad argument in the Fortran list (SIDE, UPLO, M, N, ALPHA, A, LDA, B, LDB, BETA, C,
// LDC), or 0.
int symmetric_product_bad_argument(char side, char uplo, int m, int n, int lda, int ldb, int ldc) {
  const char s = helper::fold_letter(side), u = helper::fold_letter(uplo);
  if (s != 'L' && s != 'R') return 1;
  if (u != 'U' && u != 'L') return 2;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (helper::MAX(1, s == 'L' ? m : n) > lda) return 7;
  if (helper::MAX(1, m) > ldb) return 9;
  if (helper::MAX(1, m) > ldc) return 12;
  return 0;
}

// The path of every SYMM and HEMM call: the report, the quick return, then on the calling thread the serial form
// when alpha = 0 (it scales C) or m and n are at most 8, else one task per run of A's order.
template <bool Hermitian, typename T>
void symmetric_product(const char* family, char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b,
                       int ldb, T beta, T* c, int ldc) {
  if (error::bad_argument(family, symmetric_product_bad_argument(side, uplo, m, n, lda, ldb, ldc))) return;
  if (m == 0 || n == 0 || (helper::is_one(beta) && helper::is_zero(alpha))) return;
  const symmetric_product_object<T, Hermitian> record{side,
                                                      uplo,
                                                      m,
                                                      n,
                                                      alpha,
                                                      a,
                                                      lda,
                                                      b,
                                                      ldb,
                                                      beta,
                                                      c,
                                                      ldc,
                                                      helper::fold_letter(side) == 'L',
                                                      helper::fold_letter(uplo) == 'U'};
  if (helper::is_zero(alpha) || (m <= serial_cutoff && n <= serial_cutoff)) return record.run_tile(nullptr, 0, m, 0, n);
  if (record.left)
    threading::launch_blocks(m, symmetric_product_run, n, n, &record);
  else
    threading::launch_blocks(m, m, n, symmetric_product_run, &record);
}

}  // namespace

// The run [p0, p1) of A's order: the serial form on the diagonal block A(p0:p1, p0:p1), which applies beta to
// the tile once, then gemm<T> with beta 1 adding the strip of A before the block (depth p0) and the strip after
// it (depth order - p1). For 'U' the strip before is stored above the block and reads transposed, the strip
// after is stored to its right and reads as it is; 'L' the other way round. With A on the right of B the
// transposition goes to the other side.
template <typename T, bool Hermitian>
void symmetric_product_object<T, Hermitian>::run_tile(threading::scratch*, int i0, int i1, int j0, int j1) const {
  const auto A = [&](int i, int j) { return a + i + std::ptrdiff_t{j} * lda; };
  const auto B = [&](int i, int j) { return b + i + std::ptrdiff_t{j} * ldb; };
  const int rows = i1 - i0, cols = j1 - j0, p0 = left ? i0 : j0, p1 = left ? i1 : j1, order = left ? m : n;
  T* const target = c + i0 + std::ptrdiff_t{j0} * ldc;
  if constexpr (Hermitian)
    small_hemm(side, uplo, rows, cols, alpha, A(p0, p0), lda, B(i0, j0), ldb, beta, target, ldc);
  else
    small_symm(side, uplo, rows, cols, alpha, A(p0, p0), lda, B(i0, j0), ldb, beta, target, ldc);
  const char x = Hermitian ? 'C' : 'T', across = upper == left ? x : 'N', along = upper == left ? 'N' : x;
  const auto strip = [&](char trans, int depth, const T* a_strip, int q) {
    if (depth == 0) return;
    if (left)
      gemm<T>(trans, 'N', rows, cols, depth, alpha, a_strip, lda, B(q, j0), ldb, T(1), target, ldc);
    else
      gemm<T>('N', trans, rows, cols, depth, alpha, B(i0, q), ldb, a_strip, lda, T(1), target, ldc);
  };
  strip(across, p0, upper ? A(0, p0) : A(p0, 0), 0);
  strip(along, order - p1, upper ? A(p0, p1) : A(p1, p0), p1);
}

template <typename T>
void symm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
          int ldc) {
  symmetric_product<false>("SYMM ", side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <typename T>
void hemm(char side, char uplo, int m, int n, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
          int ldc) {
  symmetric_product<true>("HEMM ", side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

template void symm<float>(char, char, int, int, float, const float*, int, const float*, int, float, float*, int);
template void symm<double>(char, char, int, int, double, const double*, int, const double*, int, double, double*, int);
template void symm<std::complex<float>>(char, char, int, int, std::complex<float>, const std::complex<float>*, int,
                                        const std::complex<float>*, int, std::complex<float>, std::complex<float>*,
                                        int);
template void symm<std::complex<double>>(char, char, int, int, std::complex<double>, const std::complex<double>*, int,
                                         const std::complex<double>*, int, std::complex<double>, std::complex<double>*,
                                         int);
template void hemm<std::complex<float>>(char, char, int, int, std::complex<float>, const std::complex<float>*, int,
                                        const std::complex<float>*, int, std::complex<float>, std::complex<float>*,
                                        int);
template void hemm<std::complex<double>>(char, char, int, int, std::complex<double>, const std::complex<double>*, int,
                                         const std::complex<double>*, int, std::complex<double>, std::complex<double>*,
                                         int);

}  // namespace kovra::parallel::blas
