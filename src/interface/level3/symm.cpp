// SSYMM to ZSYMM, CHEMM and ZHEMM: the Fortran names (three per routine) and the cblas_ forms. A row-major
// call is the column-major product of the transposes, (A B)^T = B^T A^T: Side and Uplo flip, M and N swap.
// The transpose of a Hermitian A is Hermitian too, so HEMM needs no conjugation either.
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/symm.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

template <typename T>
using symmetric_routine = void (*)(char, char, int, int, T, const T*, int, const T*, int, T, T*, int);

template <typename T, symmetric_routine<T> routine>
void by_reference(const char* side, const char* uplo, const int* m, const int* n, const void* alpha, const void* a,
                  const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc) {
  routine(*side, *uplo, *m, *n, load_scalar<T>(alpha), static_cast<const T*>(a), *lda, static_cast<const T*>(b), *ldb,
          load_scalar<T>(beta), static_cast<T*>(c), *ldc);
}

template <typename T, symmetric_routine<T> routine>
void from_cblas(int order, int side, int uplo, int m, int n, const void* alpha, const void* a, int lda, const void* b,
                int ldb, const void* beta, void* c, int ldc) {
  using namespace kovra::interface;
  const bool col = is_col_major(order);
  const char s = side_char(side), u = uplo_char(uplo);
  routine(col ? s : blas::flip_side(s), col ? u : blas::flip_uplo(u), col ? m : n, col ? n : m, load_scalar<T>(alpha),
          static_cast<const T*>(a), lda, static_cast<const T*>(b), ldb, load_scalar<T>(beta), static_cast<T*>(c), ldc);
}

}  // namespace

extern "C" KOVRA_EXPORT void ssymm_(const char* side, const char* uplo, const int* m, const int* n, const float* alpha,
                                    const float* a, const int* lda, const float* b, const int* ldb, const float* beta,
                                    float* c, const int* ldc) {
  by_reference<float, blas::symm<float>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(ssymm, SSYMM);

extern "C" KOVRA_EXPORT void dsymm_(const char* side, const char* uplo, const int* m, const int* n,
                                    const double* alpha, const double* a, const int* lda, const double* b,
                                    const int* ldb, const double* beta, double* c, const int* ldc) {
  by_reference<double, blas::symm<double>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(dsymm, DSYMM);

extern "C" KOVRA_EXPORT void csymm_(const char* side, const char* uplo, const int* m, const int* n, const void* alpha,
                                    const void* a, const int* lda, const void* b, const int* ldb, const void* beta,
                                    void* c, const int* ldc) {
  by_reference<c32, blas::symm<c32>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(csymm, CSYMM);

extern "C" KOVRA_EXPORT void zsymm_(const char* side, const char* uplo, const int* m, const int* n, const void* alpha,
                                    const void* a, const int* lda, const void* b, const int* ldb, const void* beta,
                                    void* c, const int* ldc) {
  by_reference<c64, blas::symm<c64>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zsymm, ZSYMM);

extern "C" KOVRA_EXPORT void chemm_(const char* side, const char* uplo, const int* m, const int* n, const void* alpha,
                                    const void* a, const int* lda, const void* b, const int* ldb, const void* beta,
                                    void* c, const int* ldc) {
  by_reference<c32, blas::hemm<c32>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(chemm, CHEMM);

extern "C" KOVRA_EXPORT void zhemm_(const char* side, const char* uplo, const int* m, const int* n, const void* alpha,
                                    const void* a, const int* lda, const void* b, const int* ldb, const void* beta,
                                    void* c, const int* ldc) {
  by_reference<c64, blas::hemm<c64>>(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zhemm, ZHEMM);

extern "C" KOVRA_EXPORT void cblas_ssymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         float alpha, const float* a, int lda, const float* b, int ldb, float beta,
                                         float* c, int ldc) {
  from_cblas<float, blas::symm<float>>(order, side, uplo, m, n, &alpha, a, lda, b, ldb, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_dsymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         double alpha, const double* a, int lda, const double* b, int ldb,
                                         double beta, double* c, int ldc) {
  from_cblas<double, blas::symm<double>>(order, side, uplo, m, n, &alpha, a, lda, b, ldb, &beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_csymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         const void* alpha, const void* a, int lda, const void* b, int ldb,
                                         const void* beta, void* c, int ldc) {
  from_cblas<c32, blas::symm<c32>>(order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_zsymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         const void* alpha, const void* a, int lda, const void* b, int ldb,
                                         const void* beta, void* c, int ldc) {
  from_cblas<c64, blas::symm<c64>>(order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_chemm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         const void* alpha, const void* a, int lda, const void* b, int ldb,
                                         const void* beta, void* c, int ldc) {
  from_cblas<c32, blas::hemm<c32>>(order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_zhemm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n,
                                         const void* alpha, const void* a, int lda, const void* b, int ldb,
                                         const void* beta, void* c, int ldc) {
  from_cblas<c64, blas::hemm<c64>>(order, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
