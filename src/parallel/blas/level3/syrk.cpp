// syrk<T> and herk<T, R>: the checks, the front and the tile body of a run; the four element types and the two
// Hermitian ones.
#include "parallel/blas/level3/syrk.h"

namespace kovra::parallel::blas {

template <typename T, typename S, bool Hermitian>
void rank_k_object<T, S, Hermitian>::run_tile(threading::scratch*, int r0, int r1, int, int) const {
  const bool upper = helper::fold_letter(uplo) == 'U', notrans = helper::fold_letter(trans) == 'N';
  const auto rows = operand_rows(notrans, a, lda);
  T* const diagonal = c + r0 + std::ptrdiff_t{r0} * ldc;
  if constexpr (Hermitian)
    small_herk(uplo, trans, r1 - r0, k, alpha, rows(r0), lda, beta, diagonal, ldc);
  else
    small_syrk(uplo, trans, r1 - r0, k, alpha, rows(r0), lda, beta, diagonal, ldc);
  if (r1 < n)
    rank_rectangle(upper, notrans, Hermitian ? 'C' : 'T', n, k, r0, r1, T(alpha), rows, lda, rows, lda, T(beta), c,
                   ldc);
}

template <typename T>
void syrk(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
  rank_update_front("SYRK ", rank_update_bad_argument(false, false, uplo, trans, n, k, lda, lda, ldc),
                    syrk_object<T>{uplo, trans, n, k, alpha, a, lda, beta, c, ldc});
}

template <typename T, typename R>
void herk(char uplo, char trans, int n, int k, R alpha, const T* a, int lda, R beta, T* c, int ldc) {
  rank_update_front("HERK ", rank_update_bad_argument(true, false, uplo, trans, n, k, lda, lda, ldc),
                    herk_object<T, R>{uplo, trans, n, k, alpha, a, lda, beta, c, ldc});
}

template void syrk<float>(char, char, int, int, float, const float*, int, float, float*, int);
template void syrk<double>(char, char, int, int, double, const double*, int, double, double*, int);
template void syrk<std::complex<float>>(char, char, int, int, std::complex<float>, const std::complex<float>*, int,
                                        std::complex<float>, std::complex<float>*, int);
template void syrk<std::complex<double>>(char, char, int, int, std::complex<double>, const std::complex<double>*, int,
                                         std::complex<double>, std::complex<double>*, int);
template void herk<std::complex<float>, float>(char, char, int, int, float, const std::complex<float>*, int, float,
                                               std::complex<float>*, int);
template void herk<std::complex<double>, double>(char, char, int, int, double, const std::complex<double>*, int, double,
                                                 std::complex<double>*, int);

}  // namespace kovra::parallel::blas
