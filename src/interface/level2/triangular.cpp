// The triangular Level 2 routines, the solves STRSV to ZTRSV, STBSV to ZTBSV, STPSV to ZTPSV and the products
// STRMV to ZTRMV, STBMV to ZTBMV, STPMV to ZTPMV: the Fortran names (three per routine) and the cblas_ forms.
// A row-major call works on A^T, stored as A is: Uplo flips and Trans flips ('N' to 'T', 'T' and 'C' to 'N').
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/trmv.h"
#include "parallel/blas/level2/trsv.h"
#include "parallel/blas/row_major.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

// The routines by storage of A: full (A, lda), band (k, A, lda) and packed (AP).
template <typename T>
using full_routine = void (*)(char, char, char, int, const T*, int, T*, int);
template <typename T>
using band_routine = void (*)(char, char, char, int, int, const T*, int, T*, int);
template <typename T>
using packed_routine = void (*)(char, char, char, int, const T*, T*, int);

// Calls run(uplo, trans, diag) with the letters of a cblas_ call as the column-major routine takes them. A
// row-major ConjTrans of complex T asks for the conjugate of the stored triangle, which no column-major form
// has; conj(A) x = conj(A conj(x)), and the same holds for the solve, so the n logical elements of x are
// conjugated in place before the 'N' call and again after it. The two passes undo each other, so x is as given
// when the routine refuses the call, even with an increment of 0 (one element, conjugated n times in each).
template <typename T, typename Run>
void from_cblas(int order, int uplo, int trans, int diag, int n, T* x, int incx, Run run) {
  using namespace kovra::interface;
  const char u = uplo_char(uplo), t = trans_char(trans), d = diag_char(diag);
  if (is_col_major(order)) return run(u, t, d);
  const bool conjugate = kovra::is_complex_v<T> && t == 'C';
  if (conjugate) blas::conjugate_in_place(n, x, incx);
  run(blas::flip_uplo(u), blas::flip_trans_rank(t, false), d);
  if (conjugate) blas::conjugate_in_place(n, x, incx);
}

template <typename T, full_routine<T> routine>
void full_by_reference(const char* uplo, const char* trans, const char* diag, const int* n, const void* a,
                       const int* lda, void* x, const int* incx) {
  routine(*uplo, *trans, *diag, *n, static_cast<const T*>(a), *lda, static_cast<T*>(x), *incx);
}

template <typename T, full_routine<T> routine>
void full_from_cblas(int order, int uplo, int trans, int diag, int n, const void* a, int lda, void* x, int incx) {
  T* const v = static_cast<T*>(x);
  from_cblas(order, uplo, trans, diag, n, v, incx,
             [&](char u, char t, char d) { routine(u, t, d, n, static_cast<const T*>(a), lda, v, incx); });
}

template <typename T, band_routine<T> routine>
void band_by_reference(const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const void* a,
                       const int* lda, void* x, const int* incx) {
  routine(*uplo, *trans, *diag, *n, *k, static_cast<const T*>(a), *lda, static_cast<T*>(x), *incx);
}

template <typename T, band_routine<T> routine>
void band_from_cblas(int order, int uplo, int trans, int diag, int n, int k, const void* a, int lda, void* x,
                     int incx) {
  T* const v = static_cast<T*>(x);
  from_cblas(order, uplo, trans, diag, n, v, incx,
             [&](char u, char t, char d) { routine(u, t, d, n, k, static_cast<const T*>(a), lda, v, incx); });
}

template <typename T, packed_routine<T> routine>
void packed_by_reference(const char* uplo, const char* trans, const char* diag, const int* n, const void* ap, void* x,
                         const int* incx) {
  routine(*uplo, *trans, *diag, *n, static_cast<const T*>(ap), static_cast<T*>(x), *incx);
}

template <typename T, packed_routine<T> routine>
void packed_from_cblas(int order, int uplo, int trans, int diag, int n, const void* ap, void* x, int incx) {
  T* const v = static_cast<T*>(x);
  from_cblas(order, uplo, trans, diag, n, v, incx,
             [&](char u, char t, char d) { routine(u, t, d, n, static_cast<const T*>(ap), v, incx); });
}

}  // namespace

extern "C" KOVRA_EXPORT void strsv_(const char* uplo, const char* trans, const char* diag, const int* n, const float* a,
                                    const int* lda, float* x, const int* incx) {
  full_by_reference<float, blas::trsv_front<float>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(strsv, STRSV);

extern "C" KOVRA_EXPORT void dtrsv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const double* a, const int* lda, double* x, const int* incx) {
  full_by_reference<double, blas::trsv_front<double>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtrsv, DTRSV);

extern "C" KOVRA_EXPORT void ctrsv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* a,
                                    const int* lda, void* x, const int* incx) {
  full_by_reference<c32, blas::trsv_front<c32>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctrsv, CTRSV);

extern "C" KOVRA_EXPORT void ztrsv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* a,
                                    const int* lda, void* x, const int* incx) {
  full_by_reference<c64, blas::trsv_front<c64>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztrsv, ZTRSV);

extern "C" KOVRA_EXPORT void cblas_strsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const float* a, int lda, float* x, int incx) {
  full_from_cblas<float, blas::trsv_front<float>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const double* a, int lda, double* x, int incx) {
  full_from_cblas<double, blas::trsv_front<double>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* a, int lda, void* x, int incx) {
  full_from_cblas<c32, blas::trsv_front<c32>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* a, int lda, void* x, int incx) {
  full_from_cblas<c64, blas::trsv_front<c64>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void stbsv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const float* a, const int* lda, float* x, const int* incx) {
  band_by_reference<float, blas::tbsv_front<float>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(stbsv, STBSV);

extern "C" KOVRA_EXPORT void dtbsv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const double* a, const int* lda, double* x, const int* incx) {
  band_by_reference<double, blas::tbsv_front<double>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtbsv, DTBSV);

extern "C" KOVRA_EXPORT void ctbsv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const void* a, const int* lda, void* x, const int* incx) {
  band_by_reference<c32, blas::tbsv_front<c32>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctbsv, CTBSV);

extern "C" KOVRA_EXPORT void ztbsv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const void* a, const int* lda, void* x, const int* incx) {
  band_by_reference<c64, blas::tbsv_front<c64>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztbsv, ZTBSV);

extern "C" KOVRA_EXPORT void cblas_stbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const float* a, int lda, float* x, int incx) {
  band_from_cblas<float, blas::tbsv_front<float>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const double* a, int lda, double* x, int incx) {
  band_from_cblas<double, blas::tbsv_front<double>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const void* a, int lda, void* x, int incx) {
  band_from_cblas<c32, blas::tbsv_front<c32>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const void* a, int lda, void* x, int incx) {
  band_from_cblas<c64, blas::tbsv_front<c64>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void stpsv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const float* ap, float* x, const int* incx) {
  packed_by_reference<float, blas::tpsv_front<float>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(stpsv, STPSV);

extern "C" KOVRA_EXPORT void dtpsv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const double* ap, double* x, const int* incx) {
  packed_by_reference<double, blas::tpsv_front<double>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtpsv, DTPSV);

extern "C" KOVRA_EXPORT void ctpsv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* ap,
                                    void* x, const int* incx) {
  packed_by_reference<c32, blas::tpsv_front<c32>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctpsv, CTPSV);

extern "C" KOVRA_EXPORT void ztpsv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* ap,
                                    void* x, const int* incx) {
  packed_by_reference<c64, blas::tpsv_front<c64>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztpsv, ZTPSV);

extern "C" KOVRA_EXPORT void cblas_stpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const float* ap, float* x, int incx) {
  packed_from_cblas<float, blas::tpsv_front<float>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const double* ap, double* x, int incx) {
  packed_from_cblas<double, blas::tpsv_front<double>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* ap, void* x, int incx) {
  packed_from_cblas<c32, blas::tpsv_front<c32>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* ap, void* x, int incx) {
  packed_from_cblas<c64, blas::tpsv_front<c64>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void strmv_(const char* uplo, const char* trans, const char* diag, const int* n, const float* a,
                                    const int* lda, float* x, const int* incx) {
  full_by_reference<float, blas::trmv_front<float>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(strmv, STRMV);

extern "C" KOVRA_EXPORT void dtrmv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const double* a, const int* lda, double* x, const int* incx) {
  full_by_reference<double, blas::trmv_front<double>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtrmv, DTRMV);

extern "C" KOVRA_EXPORT void ctrmv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* a,
                                    const int* lda, void* x, const int* incx) {
  full_by_reference<c32, blas::trmv_front<c32>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctrmv, CTRMV);

extern "C" KOVRA_EXPORT void ztrmv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* a,
                                    const int* lda, void* x, const int* incx) {
  full_by_reference<c64, blas::trmv_front<c64>>(uplo, trans, diag, n, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztrmv, ZTRMV);

extern "C" KOVRA_EXPORT void cblas_strmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const float* a, int lda, float* x, int incx) {
  full_from_cblas<float, blas::trmv_front<float>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const double* a, int lda, double* x, int incx) {
  full_from_cblas<double, blas::trmv_front<double>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* a, int lda, void* x, int incx) {
  full_from_cblas<c32, blas::trmv_front<c32>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* a, int lda, void* x, int incx) {
  full_from_cblas<c64, blas::trmv_front<c64>>(order, uplo, trans, diag, n, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void stbmv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const float* a, const int* lda, float* x, const int* incx) {
  band_by_reference<float, blas::tbmv_front<float>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(stbmv, STBMV);

extern "C" KOVRA_EXPORT void dtbmv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const double* a, const int* lda, double* x, const int* incx) {
  band_by_reference<double, blas::tbmv_front<double>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtbmv, DTBMV);

extern "C" KOVRA_EXPORT void ctbmv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const void* a, const int* lda, void* x, const int* incx) {
  band_by_reference<c32, blas::tbmv_front<c32>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctbmv, CTBMV);

extern "C" KOVRA_EXPORT void ztbmv_(const char* uplo, const char* trans, const char* diag, const int* n, const int* k,
                                    const void* a, const int* lda, void* x, const int* incx) {
  band_by_reference<c64, blas::tbmv_front<c64>>(uplo, trans, diag, n, k, a, lda, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztbmv, ZTBMV);

extern "C" KOVRA_EXPORT void cblas_stbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const float* a, int lda, float* x, int incx) {
  band_from_cblas<float, blas::tbmv_front<float>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const double* a, int lda, double* x, int incx) {
  band_from_cblas<double, blas::tbmv_front<double>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const void* a, int lda, void* x, int incx) {
  band_from_cblas<c32, blas::tbmv_front<c32>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, int k, const void* a, int lda, void* x, int incx) {
  band_from_cblas<c64, blas::tbmv_front<c64>>(order, uplo, trans, diag, n, k, a, lda, x, incx);
}

extern "C" KOVRA_EXPORT void stpmv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const float* ap, float* x, const int* incx) {
  packed_by_reference<float, blas::tpmv_front<float>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(stpmv, STPMV);

extern "C" KOVRA_EXPORT void dtpmv_(const char* uplo, const char* trans, const char* diag, const int* n,
                                    const double* ap, double* x, const int* incx) {
  packed_by_reference<double, blas::tpmv_front<double>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(dtpmv, DTPMV);

extern "C" KOVRA_EXPORT void ctpmv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* ap,
                                    void* x, const int* incx) {
  packed_by_reference<c32, blas::tpmv_front<c32>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(ctpmv, CTPMV);

extern "C" KOVRA_EXPORT void ztpmv_(const char* uplo, const char* trans, const char* diag, const int* n, const void* ap,
                                    void* x, const int* incx) {
  packed_by_reference<c64, blas::tpmv_front<c64>>(uplo, trans, diag, n, ap, x, incx);
}
KOVRA_FORTRAN_ALIASES(ztpmv, ZTPMV);

extern "C" KOVRA_EXPORT void cblas_stpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const float* ap, float* x, int incx) {
  packed_from_cblas<float, blas::tpmv_front<float>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dtpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const double* ap, double* x, int incx) {
  packed_from_cblas<double, blas::tpmv_front<double>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ctpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* ap, void* x, int incx) {
  packed_from_cblas<c32, blas::tpmv_front<c32>>(order, uplo, trans, diag, n, ap, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_ztpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag,
                                         int n, const void* ap, void* x, int incx) {
  packed_from_cblas<c64, blas::tpmv_front<c64>>(order, uplo, trans, diag, n, ap, x, incx);
}
