// The triangular Level 3 routines, STRSM to ZTRSM and STRMM to ZTRMM: the Fortran names (three per routine)
// and the cblas_ forms. A row-major call works on the transpose with the same storage: Side and Uplo flip,
// M and N swap, TransA and Diag stay.
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level3/trmm.h"
#include "parallel/blas/level3/trsm.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

template <typename T>
using triangular_routine = void (*)(char, char, char, char, int, int, T, const T*, int, T*, int);

template <typename T, triangular_routine<T> routine>
void by_reference(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,
                  const void* alpha, const void* a, const int* lda, void* b, const int* ldb) {
  routine(*side, *uplo, *transa, *diag, *m, *n, load_scalar<T>(alpha), static_cast<const T*>(a), *lda,
          static_cast<T*>(b), *ldb);
}

template <typename T, triangular_routine<T> routine>
void from_cblas(int order, int side, int uplo, int transa, int diag, int m, int n, const void* alpha, const void* a,
                int lda, void* b, int ldb) {
  using namespace kovra::interface;
  const bool col = is_col_major(order);
  const char s = side_char(side), u = uplo_char(uplo);
  routine(col ? s : blas::flip_side(s), col ? u : blas::flip_uplo(u), trans_char(transa), diag_char(diag), col ? m : n,
          col ? n : m, load_scalar<T>(alpha), static_cast<const T*>(a), lda, static_cast<T*>(b), ldb);
}

}  // namespace

extern "C" KOVRA_EXPORT void strsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const float* alpha, const float* a, const int* lda,
                                    float* b, const int* ldb) {
  by_reference<float, blas::trsm<float>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(strsm, STRSM);

extern "C" KOVRA_EXPORT void dtrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const double* alpha, const double* a, const int* lda,
                                    double* b, const int* ldb) {
  by_reference<double, blas::trsm<double>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(dtrsm, DTRSM);

extern "C" KOVRA_EXPORT void ctrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  by_reference<c32, blas::trsm<c32>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ctrsm, CTRSM);

extern "C" KOVRA_EXPORT void ztrsm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  by_reference<c64, blas::trsm<c64>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ztrsm, ZTRSM);

extern "C" KOVRA_EXPORT void cblas_strsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, float alpha, const float* a, int lda, float* b,
                                         int ldb) {
  from_cblas<float, blas::trsm<float>>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_dtrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, double alpha, const double* a, int lda,
                                         double* b, int ldb) {
  from_cblas<double, blas::trsm<double>>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ctrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  from_cblas<c32, blas::trsm<c32>>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ztrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  from_cblas<c64, blas::trsm<c64>>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void strmm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const float* alpha, const float* a, const int* lda,
                                    float* b, const int* ldb) {
  by_reference<float, blas::trmm<float>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(strmm, STRMM);

extern "C" KOVRA_EXPORT void dtrmm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const double* alpha, const double* a, const int* lda,
                                    double* b, const int* ldb) {
  by_reference<double, blas::trmm<double>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(dtrmm, DTRMM);

extern "C" KOVRA_EXPORT void ctrmm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  by_reference<c32, blas::trmm<c32>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ctrmm, CTRMM);

extern "C" KOVRA_EXPORT void ztrmm_(const char* side, const char* uplo, const char* transa, const char* diag,
                                    const int* m, const int* n, const void* alpha, const void* a, const int* lda,
                                    void* b, const int* ldb) {
  by_reference<c64, blas::trmm<c64>>(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
KOVRA_FORTRAN_ALIASES(ztrmm, ZTRMM);

extern "C" KOVRA_EXPORT void cblas_strmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, float alpha, const float* a, int lda, float* b,
                                         int ldb) {
  from_cblas<float, blas::trmm<float>>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_dtrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, double alpha, const double* a, int lda,
                                         double* b, int ldb) {
  from_cblas<double, blas::trmm<double>>(order, side, uplo, transa, diag, m, n, &alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ctrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  from_cblas<c32, blas::trmm<c32>>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

extern "C" KOVRA_EXPORT void cblas_ztrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,
                                         CBLAS_DIAG diag, int m, int n, const void* alpha, const void* a, int lda,
                                         void* b, int ldb) {
  from_cblas<c64, blas::trmm<c64>>(order, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
