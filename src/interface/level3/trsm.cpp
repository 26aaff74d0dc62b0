// STRSM, DTRSM, CTRSM, ZTRSM: the Fortran names (three per routine) and the cblas_ forms. A row-major call
// solves the transposed system on the same storage: Side and Uplo flip, M and N swap, TransA and Diag stay.
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/trsm.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <typename T>
void trsm_by_reference(const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                       const int* n, const void* alpha, const void* a, const int* lda, void* b, const int* ldb) {
  kovra::parallel::blas::trsm(*side, *uplo, *transa, *diag, *m, *n, load_scalar<T>(alpha), static_cast<const T*>(a),
                              *lda, static_cast<T*>(b), *ldb);
}

template <typename T>
void trsm_cblas(int order, int side, int uplo, int transa, int diag, int m, int n, const void* alpha, const void* a,
                int lda, void* b, int ldb) {
  using namespace kovra::interface;
  using kovra::parallel::blas::flip_side, kovra::parallel::blas::flip_uplo;
  const bool col = is_col_major(order);
  const char s = side_char(side), u = uplo_char(uplo);
  kovra::parallel::blas::trsm(col ? s : flip_side(s), col ? u : flip_uplo(u), trans_char(transa), diag_char(diag),
                              col ? m : n, col ? n : m, load_scalar<T>(alpha), static_cast<const T*>(a), lda,
                              static_cast<T*>(b), ldb);
}

}  // namespace

extern "C" KOVRA_EXPORT void strsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const float* alpha, const float* a, const int* lda,
                                    float* b, const int* ldb) {
  trsm_by_reference<float>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(strsm, STRSM);

extern "C" KOVRA_EXPORT void dtrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const double* alpha, const double* a, const int* lda,
                                    double* b, const int* ldb) {
  trsm_by_reference<double>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(dtrsm, DTRSM);

extern "C" KOVRA_EXPORT void ctrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  trsm_by_reference<c32>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ctrsm, CTRSM);

extern "C" KOVRA_EXPORT void ztrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  trsm_by_reference<c64>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ztrsm, ZTRSM);

extern "C" KOVRA_EXPORT void cblas_strsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, float alpha, const float* a, int lda, float* b,
                                         int ldb) {
  trsm_cblas<float>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_dtrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, double alpha, const double* a, int lda,
                                         double* b, int ldb) {
  trsm_cblas<double>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ctrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  trsm_cblas<c32>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ztrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  trsm_cblas<c64>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
