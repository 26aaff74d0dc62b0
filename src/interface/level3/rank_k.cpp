// The rank-k updates SSYRK to ZSYRK, CHERK, ZHERK and the rank-2k updates SSYR2K to ZSYR2K, CHER2K, ZHER2K:
// the Fortran names (three per routine) and the cblas_ forms. A row-major call updates C^T, symmetric or
// Hermitian like C, from the column-major storage of A^T (and B^T): Uplo flips and Trans flips ('N' to 'T',
// or to 'C' in the Hermitian forms; 'T' and 'C' to 'N'); N, K and the scalars pass as they are. So a
// row-major HER2K puts alpha on B A^H and conj(alpha) on A B^H: the same update for a real alpha.
#include <complex>
#include <type_traits>
#include <utility>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/syr2k.h"
#include "parallel/blas/level3/syrk.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

// S is the type of beta: T for SYRK and SYR2K, the real type of T for HERK and HER2K.
template <typename T, typename S>
using rank_k_routine = void (*)(char, char, int, int, S, const T*, int, S, T*, int);
template <typename T, typename S>
using rank_2k_routine = void (*)(char, char, int, int, T, const T*, int, const T*, int, S, T*, int);

// Uplo and Trans of a cblas_ call as the column-major routine takes them. The Hermitian forms are the ones
// whose beta is real.
template <typename T, typename S>
std::pair<char, char> column_major_letters(int order, int uplo, int trans) {
  using namespace kovra::interface;
  const char u = uplo_char(uplo), t = trans_char(trans);
  if (is_col_major(order)) return {u, t};
  return {blas::flip_uplo(u), blas::flip_trans_rank(t, !std::is_same_v<T, S>)};
}

template <typename T, typename S, rank_k_routine<T, S> routine>
void rank_k_by_reference(const char* uplo, const char* trans, const int* n, const int* k, const void* alpha,
                         const void* a, const int* lda, const void* beta, void* c, const int* ldc) {
  routine(*uplo, *trans, *n, *k, load_scalar<S>(alpha), static_cast<const T*>(a), *lda, load_scalar<S>(beta),
          static_cast<T*>(c), *ldc);
}

template <typename T, typename S, rank_k_routine<T, S> routine>
void rank_k_from_cblas(int order, int uplo, int trans, int n, int k, const void* alpha, const void* a, int lda,
                       const void* beta, void* c, int ldc) {
  const auto [u, t] = column_major_letters<T, S>(order, uplo, trans);
  routine(u, t, n, k, load_scalar<S>(alpha), static_cast<const T*>(a), lda, load_scalar<S>(beta), static_cast<T*>(c),
          ldc);
}

template <typename T, typename S, rank_2k_routine<T, S> routine>
void rank_2k_by_reference(const char* uplo, const char* trans, const int* n, const int* k, const void* alpha,
                          const void* a, const int* lda, const void* b, const int* ldb, const void* beta, void* c,
                          const int* ldc) {
  routine(*uplo, *trans, *n, *k, load_scalar<T>(alpha), static_cast<const T*>(a), *lda, static_cast<const T*>(b),
          *ldb, load_scalar<S>(beta), static_cast<T*>(c), *ldc);
}

template <typename T, typename S, rank_2k_routine<T, S> routine>
void rank_2k_from_cblas(int order, int uplo, int trans, int n, int k, const void* alpha, const void* a, int lda,
                        const void* b, int ldb, const void* beta, void* c, int ldc) {
  const auto [u, t] = column_major_letters<T, S>(order, uplo, trans);
  routine(u, t, n, k, load_scalar<T>(alpha), static_cast<const T*>(a), lda, static_cast<const T*>(b), ldb,
          load_scalar<S>(beta), static_cast<T*>(c), ldc);
}

}  // namespace

extern "C" KOVRA_EXPORT void ssyrk_(const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
                                    const float* a, const int* lda, const float* beta, float* c, const int* ldc) {
  rank_k_by_reference<float, float, blas::syrk<float>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(ssyrk, SSYRK);

extern "C" KOVRA_EXPORT void dsyrk_(const char* uplo, const char* trans, const int* n, const int* k,
                                    const double* alpha, const double* a, const int* lda, const double* beta,
                                    double* c, const int* ldc) {
  rank_k_by_reference<double, double, blas::syrk<double>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(dsyrk, DSYRK);

extern "C" KOVRA_EXPORT void csyrk_(const char* uplo, const char* trans, const int* n, const int* k, const void* alpha,
                                    const void* a, const int* lda, const void* beta, void* c, const int* ldc) {
  rank_k_by_reference<c32, c32, blas::syrk<c32>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(csyrk, CSYRK);

extern "C" KOVRA_EXPORT void zsyrk_(const char* uplo, const char* trans, const int* n, const int* k, const void* alpha,
                                    const void* a, const int* lda, const void* beta, void* c, const int* ldc) {
  rank_k_by_reference<c64, c64, blas::syrk<c64>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zsyrk, ZSYRK);

extern "C" KOVRA_EXPORT void cherk_(const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
                                    const void* a, const int* lda, const float* beta, void* c, const int* ldc) {
  rank_k_by_reference<c32, float, blas::herk<c32, float>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(cherk, CHERK);

extern "C" KOVRA_EXPORT void zherk_(const char* uplo, const char* trans, const int* n, const int* k,
                                    const double* alpha, const void* a, const int* lda, const double* beta, void* c,
                                    const int* ldc) {
  rank_k_by_reference<c64, double, blas::herk<c64, double>>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zherk, ZHERK);

extern "C" KOVRA_EXPORT void cblas_ssyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         float alpha, const float* a, int lda, float beta, float* c, int ldc) {
  rank_k_from_cblas<float, float, blas::syrk<float>>(order, uplo, trans, n, k, &alpha, a, lda, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_dsyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         double alpha, const double* a, int lda, double beta, double* c, int ldc) {
  rank_k_from_cblas<double, double, blas::syrk<double>>(order, uplo, trans, n, k, &alpha, a, lda, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_csyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         const void* alpha, const void* a, int lda, const void* beta, void* c,
                                         int ldc) {
  rank_k_from_cblas<c32, c32, blas::syrk<c32>>(order, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_zsyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         const void* alpha, const void* a, int lda, const void* beta, void* c,
                                         int ldc) {
  rank_k_from_cblas<c64, c64, blas::syrk<c64>>(order, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_cherk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         float alpha, const void* a, int lda, float beta, void* c, int ldc) {
  rank_k_from_cblas<c32, float, blas::herk<c32, float>>(order, uplo, trans, n, k, &alpha, a, lda, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_zherk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                         double alpha, const void* a, int lda, double beta, void* c, int ldc) {
  rank_k_from_cblas<c64, double, blas::herk<c64, double>>(order, uplo, trans, n, k, &alpha, a, lda, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void ssyr2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const float* alpha, const float* a, const int* lda, const float* b,
                                     const int* ldb, const float* beta, float* c, const int* ldc) {
  rank_2k_by_reference<float, float, blas::syr2k<float>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(ssyr2k, SSYR2K);

extern "C" KOVRA_EXPORT void dsyr2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const double* alpha, const double* a, const int* lda, const double* b,
                                     const int* ldb, const double* beta, double* c, const int* ldc) {
  rank_2k_by_reference<double, double, blas::syr2k<double>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(dsyr2k, DSYR2K);

extern "C" KOVRA_EXPORT void csyr2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                     const void* beta, void* c, const int* ldc) {
  rank_2k_by_reference<c32, c32, blas::syr2k<c32>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(csyr2k, CSYR2K);

extern "C" KOVRA_EXPORT void zsyr2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                     const void* beta, void* c, const int* ldc) {
  rank_2k_by_reference<c64, c64, blas::syr2k<c64>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zsyr2k, ZSYR2K);

extern "C" KOVRA_EXPORT void cher2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                     const float* beta, void* c, const int* ldc) {
  rank_2k_by_reference<c32, float, blas::her2k<c32, float>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(cher2k, CHER2K);

extern "C" KOVRA_EXPORT void zher2k_(const char* uplo, const char* trans, const int* n, const int* k,
                                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                     const double* beta, void* c, const int* ldc) {
  rank_2k_by_reference<c64, double, blas::her2k<c64, double>>(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zher2k, ZHER2K);

extern "C" KOVRA_EXPORT void cblas_ssyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          float alpha, const float* a, int lda, const float* b, int ldb, float beta,
                                          float* c, int ldc) {
  rank_2k_from_cblas<float, float, blas::syr2k<float>>(order, uplo, trans, n, k, &alpha, a, lda, b, ldb, &beta, c,
                                                       ldc);
}

extern "C" KOVRA_EXPORT void cblas_dsyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          double alpha, const double* a, int lda, const double* b, int ldb,
                                          double beta, double* c, int ldc) {
  rank_2k_from_cblas<double, double, blas::syr2k<double>>(order, uplo, trans, n, k, &alpha, a, lda, b, ldb, &beta, c,
                                                          ldc);
}

extern "C" KOVRA_EXPORT void cblas_csyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b, int ldb,
                                          const void* beta, void* c, int ldc) {
  rank_2k_from_cblas<c32, c32, blas::syr2k<c32>>(order, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_zsyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b, int ldb,
                                          const void* beta, void* c, int ldc) {
  rank_2k_from_cblas<c64, c64, blas::syr2k<c64>>(order, uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_cher2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b, int ldb,
                                          float beta, void* c, int ldc) {
  rank_2k_from_cblas<c32, float, blas::her2k<c32, float>>(order, uplo, trans, n, k, alpha, a, lda, b, ldb, &beta, c,
                                                          ldc);
}

extern "C" KOVRA_EXPORT void cblas_zher2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b, int ldb,
                                          double beta, void* c, int ldc) {
  rank_2k_from_cblas<c64, double, blas::her2k<c64, double>>(order, uplo, trans, n, k, alpha, a, lda, b, ldb, &beta,
                                                            c, ldc);
}
