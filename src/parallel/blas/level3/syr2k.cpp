// syr2k<T> and her2k<T, R>: the checks, the front and the tile body of a run; the four element types and the
// two Hermitian ones.
#include "parallel/blas/level3/syr2k.h"

namespace kovra::parallel::blas {

// Both rectangle products take the record's alpha as it is: her2k's second one is alpha B A^H, not
// conj(alpha) B A^H.
template <typename T, typename S, bool Hermitian>
void rank_2k_object<T, S, Hermitian>::run_tile(threading::scratch*, int r0, int r1, int, int) const {
  const bool upper = helper::fold_letter(uplo) == 'U', notrans = helper::fold_letter(trans) == 'N';
  const auto a_rows = operand_rows(notrans, a, lda);
  const auto b_rows = operand_rows(notrans, b, ldb);
  T* const diagonal = c + r0 + std::ptrdiff_t{r0} * ldc;
  if constexpr (Hermitian)
    small_her2k(uplo, trans, r1 - r0, k, alpha, a_rows(r0), lda, b_rows(r0), ldb, beta, diagonal, ldc);
  else
    small_syr2k(uplo, trans, r1 - r0, k, alpha, a_rows(r0), lda, b_rows(r0), ldb, beta, diagonal, ldc);
  if (r1 == n) return;
  const char x = Hermitian ? 'C' : 'T';
  rank_rectangle(upper, notrans, x, n, k, r0, r1, alpha, a_rows, lda, b_rows, ldb, T(beta), c, ldc);
  rank_rectangle(upper, notrans, x, n, k, r0, r1, alpha, b_rows, ldb, a_rows, lda, T(1), c, ldc);
}

template <typename T>
void syr2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c,
           int ldc) {
  rank_update_front("SYR2K ", rank_update_bad_argument(false, true, uplo, trans, n, k, lda, ldb, ldc),
                    syr2k_object<T>{uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc});
}

template <typename T, typename R>
void her2k(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, R beta, T* c,
           int ldc) {
  rank_update_front("HER2K ", rank_update_bad_argument(true, true, uplo, trans, n, k, lda, ldb, ldc),
                    her2k_object<T, R>{uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc});
}

template void syr2k<float>(char, char, int, int, float, const float*, int, const float*, int, float, float*, int);
template void syr2k<double>(char, char, int, int, double, const double*, int, const double*, int, double, double*, int);
template void syr2k<std::complex<float>>(char, char, int, int, std::complex<float>, const std::complex<float>*, int,
                                         const std::complex<float>*, int, std::complex<float>, std::complex<float>*,
                                         int);
template void syr2k<std::complex<double>>(char, char, int, int, std::complex<double>, const std::complex<double>*, int,
                                          const std::complex<double>*, int, std::complex<double>, std::complex<double>*,
                                          int);
template void her2k<std::complex<float>, float>(char, char, int, int, std::complex<float>, const std::complex<float>*,
                                                int, const std::complex<float>*, int, float, std::complex<float>*, int);
template void her2k<std::complex<double>, double>(char, char, int, int, std::complex<double>,
                                                  const std::complex<double>*, int, const std::complex<double>*, int,
                                                  double, std::complex<double>*, int);

}  // namespace kovra::parallel::blas
