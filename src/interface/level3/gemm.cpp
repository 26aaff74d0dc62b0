// SGEMM, DGEMM, CGEMM, ZGEMM: the Fortran names (three per routine) and the cblas_ forms. A row-major
// call is the column-major product of the transposes: swap A and B, their transposes and M and N.
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/gemm.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <typename T>
void gemm_by_reference(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                       const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                       const void* beta, void* c, const int* ldc) {
  kovra::parallel::blas::gemm(*transa, *transb, *m, *n, *k, load_scalar<T>(alpha), static_cast<const T*>(a), *lda,
                              static_cast<const T*>(b), *ldb, load_scalar<T>(beta), static_cast<T*>(c), *ldc);
}

template <typename T>
void gemm_cblas(int order, int transa, int transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b,
                int ldb, T beta, T* c, int ldc) {
  using kovra::interface::trans_char;
  if (kovra::interface::is_col_major(order))
    kovra::parallel::blas::gemm(trans_char(transa), trans_char(transb), m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  else
    kovra::parallel::blas::gemm(trans_char(transb), trans_char(transa), n, m, k, alpha, b, ldb, a, lda, beta, c, ldc);
}

}  // namespace

extern "C" KOVRA_EXPORT void sgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                                    const float* alpha, const float* a, const int* lda, const float* b,
                                    const int* ldb, const float* beta, float* c, const int* ldc) {
  gemm_by_reference<float>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(sgemm, SGEMM);

extern "C" KOVRA_EXPORT void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                                    const double* alpha, const double* a, const int* lda, const double* b,
                                    const int* ldb, const double* beta, double* c, const int* ldc) {
  gemm_by_reference<double>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(dgemm, DGEMM);

extern "C" KOVRA_EXPORT void cgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                                    const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                    const void* beta, void* c, const int* ldc) {
  gemm_by_reference<c32>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(cgemm, CGEMM);

extern "C" KOVRA_EXPORT void zgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                                    const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                                    const void* beta, void* c, const int* ldc) {
  gemm_by_reference<c64>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
KOVRA_FORTRAN_ALIASES(zgemm, ZGEMM);

extern "C" KOVRA_EXPORT void cblas_sgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m,
                                         int n, int k, float alpha, const float* a, int lda, const float* b, int ldb,
                                         float beta, float* c, int ldc) {
  gemm_cblas<float>(order, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_dgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m,
                                         int n, int k, double alpha, const double* a, int lda, const double* b,
                                         int ldb, double beta, double* c, int ldc) {
  gemm_cblas<double>(order, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

extern "C" KOVRA_EXPORT void cblas_cgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m,
                                         int n, int k, const void* alpha, const void* a, int lda, const void* b,
                                         int ldb, const void* beta, void* c, int ldc) {
  gemm_cblas<c32>(order, transa, transb, m, n, k, load_scalar<c32>(alpha), static_cast<const c32*>(a), lda,
                  static_cast<const c32*>(b), ldb, load_scalar<c32>(beta), static_cast<c32*>(c), ldc);
}

extern "C" KOVRA_EXPORT void cblas_zgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m,
                                         int n, int k, const void* alpha, const void* a, int lda, const void* b,
                                         int ldb, const void* beta, void* c, int ldc) {
  gemm_cblas<c64>(order, transa, transb, m, n, k, load_scalar<c64>(alpha), static_cast<const c64*>(a), lda,
                  static_cast<const c64*>(b), ldb, load_scalar<c64>(beta), static_cast<c64*>(c), ldc);
}
