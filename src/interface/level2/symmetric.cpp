// The symmetric and Hermitian matrix-vector products SSYMV, DSYMV, CHEMV, ZHEMV, SSBMV to ZHBMV and SSPMV to
// ZHPMV: the Fortran names (three per routine) and the cblas_ forms. A row-major call works on A^T, stored as
// A is: the other triangle of the same symmetric matrix, or of conj(A) when A is Hermitian.
#include <complex>
#include <cstdlib>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/symv.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

// The routines by storage of A: full (A, lda), band (k, A, lda) and packed (AP).
template <typename T>
using full_routine = void (*)(char, int, T, const T*, int, const T*, int, T, T*, int);
template <typename T>
using band_routine = void (*)(char, int, int, T, const T*, int, const T*, int, T, T*, int);
template <typename T>
using packed_routine = void (*)(char, int, T, const T*, const T*, int, T, T*, int);

// Calls run(uplo, alpha, x, incx, beta) with the arguments of a cblas_ call as the column-major routine takes
// them. Row-major, the symmetric A^T is A with the other triangle stored. The Hermitian A^T is conj(A), and
// conj(A) x = conj(A conj(x)), so y := conj(conj(alpha) A conj(x) + conj(beta) conj(y)): y is conjugated in
// place around the call, which reads a contiguous conjugated copy of x with increment 1 (so an increment of 0
// is not refused here). The two conjugations cancel, so y is as given when the routine refuses the call; the
// copy is released in either case.
template <typename T, typename Run>
void from_cblas(int order, int uplo, int n, T alpha, const T* x, int incx, T beta, T* y, int incy, Run run) {
  using namespace kovra::interface;
  const char u = uplo_char(uplo);
  if (is_col_major(order)) return run(u, alpha, x, incx, beta);
  if constexpr (kovra::is_complex_v<T>) {
    using kovra::helper::CONJG;
    T* const copy = blas::conjugated_copy(n, x, incx);
    blas::conjugate_in_place(n, y, incy);
    run(blas::flip_uplo(u), CONJG(true, alpha), static_cast<const T*>(copy), 1, CONJG(true, beta));
    blas::conjugate_in_place(n, y, incy);
    std::free(copy);
  } else {
    run(blas::flip_uplo(u), alpha, x, incx, beta);
  }
}

template <typename T, full_routine<T> routine>
void full_by_reference(const char* uplo, const int* n, const void* alpha, const void* a, const int* lda, const void* x,
                       const int* incx, const void* beta, void* y, const int* incy) {
  routine(*uplo, *n, load_scalar<T>(alpha), static_cast<const T*>(a), *lda, static_cast<const T*>(x), *incx,
          load_scalar<T>(beta), static_cast<T*>(y), *incy);
}

template <typename T, full_routine<T> routine>
void full_from_cblas(int order, int uplo, int n, const void* alpha, const void* a, int lda, const void* x, int incx,
                     const void* beta, void* y, int incy) {
  T* const v = static_cast<T*>(y);
  from_cblas(order, uplo, n, load_scalar<T>(alpha), static_cast<const T*>(x), incx, load_scalar<T>(beta), v, incy,
             [&](char u, T scale, const T* xs, int x_step, T y_scale) {
               routine(u, n, scale, static_cast<const T*>(a), lda, xs, x_step, y_scale, v, incy);
             });
}

template <typename T, band_routine<T> routine>
void band_by_reference(const char* uplo, const int* n, const int* k, const void* alpha, const void* a, const int* lda,
                       const void* x, const int* incx, const void* beta, void* y, const int* incy) {
  routine(*uplo, *n, *k, load_scalar<T>(alpha), static_cast<const T*>(a), *lda, static_cast<const T*>(x), *incx,
          load_scalar<T>(beta), static_cast<T*>(y), *incy);
}

template <typename T, band_routine<T> routine>
void band_from_cblas(int order, int uplo, int n, int k, const void* alpha, const void* a, int lda, const void* x,
                     int incx, const void* beta, void* y, int incy) {
  T* const v = static_cast<T*>(y);
  from_cblas(order, uplo, n, load_scalar<T>(alpha), static_cast<const T*>(x), incx, load_scalar<T>(beta), v, incy,
             [&](char u, T scale, const T* xs, int x_step, T y_scale) {
               routine(u, n, k, scale, static_cast<const T*>(a), lda, xs, x_step, y_scale, v, incy);
             });
}

template <typename T, packed_routine<T> routine>
void packed_by_reference(const char* uplo, const int* n, const void* alpha, const void* ap, const void* x,
                         const int* incx, const void* beta, void* y, const int* incy) {
  routine(*uplo, *n, load_scalar<T>(alpha), static_cast<const T*>(ap), static_cast<const T*>(x), *incx,
          load_scalar<T>(beta), static_cast<T*>(y), *incy);
}

template <typename T, packed_routine<T> routine>
void packed_from_cblas(int order, int uplo, int n, const void* alpha, const void* ap, const void* x, int incx,
                       const void* beta, void* y, int incy) {
  T* const v = static_cast<T*>(y);
  from_cblas(order, uplo, n, load_scalar<T>(alpha), static_cast<const T*>(x), incx, load_scalar<T>(beta), v, incy,
             [&](char u, T scale, const T* xs, int x_step, T y_scale) {
               routine(u, n, scale, static_cast<const T*>(ap), xs, x_step, y_scale, v, incy);
             });
}

}  // namespace

extern "C" KOVRA_EXPORT void ssymv_(const char* uplo, const int* n, const float* alpha, const float* a, const int* lda,
                                    const float* x, const int* incx, const float* beta, float* y, const int* incy) {
  full_by_reference<float, blas::symv_front<float>>(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(ssymv, SSYMV);

extern "C" KOVRA_EXPORT void dsymv_(const char* uplo, const int* n, const double* alpha, const double* a,
                                    const int* lda, const double* x, const int* incx, const double* beta, double* y,
                                    const int* incy) {
  full_by_reference<double, blas::symv_front<double>>(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(dsymv, DSYMV);

extern "C" KOVRA_EXPORT void chemv_(const char* uplo, const int* n, const void* alpha, const void* a, const int* lda,
                                    const void* x, const int* incx, const void* beta, void* y, const int* incy) {
  full_by_reference<c32, blas::hemv_front<c32>>(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(chemv, CHEMV);

extern "C" KOVRA_EXPORT void zhemv_(const char* uplo, const int* n, const void* alpha, const void* a, const int* lda,
                                    const void* x, const int* incx, const void* beta, void* y, const int* incy) {
  full_by_reference<c64, blas::hemv_front<c64>>(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zhemv, ZHEMV);

extern "C" KOVRA_EXPORT void cblas_ssymv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* a,
                                         int lda, const float* x, int incx, float beta, float* y, int incy) {
  full_from_cblas<float, blas::symv_front<float>>(order, uplo, n, &alpha, a, lda, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dsymv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* a,
                                         int lda, const double* x, int incx, double beta, double* y, int incy) {
  full_from_cblas<double, blas::symv_front<double>>(order, uplo, n, &alpha, a, lda, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_chemv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* a,
                                         int lda, const void* x, int incx, const void* beta, void* y, int incy) {
  full_from_cblas<c32, blas::hemv_front<c32>>(order, uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_zhemv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* a,
                                         int lda, const void* x, int incx, const void* beta, void* y, int incy) {
  full_from_cblas<c64, blas::hemv_front<c64>>(order, uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void ssbmv_(const char* uplo, const int* n, const int* k, const float* alpha, const float* a,
                                    const int* lda, const float* x, const int* incx, const float* beta, float* y,
                                    const int* incy) {
  band_by_reference<float, blas::sbmv_front<float>>(uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(ssbmv, SSBMV);

extern "C" KOVRA_EXPORT void dsbmv_(const char* uplo, const int* n, const int* k, const double* alpha, const double* a,
                                    const int* lda, const double* x, const int* incx, const double* beta, double* y,
                                    const int* incy) {
  band_by_reference<double, blas::sbmv_front<double>>(uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(dsbmv, DSBMV);

extern "C" KOVRA_EXPORT void chbmv_(const char* uplo, const int* n, const int* k, const void* alpha, const void* a,
                                    const int* lda, const void* x, const int* incx, const void* beta, void* y,
                                    const int* incy) {
  band_by_reference<c32, blas::hbmv_front<c32>>(uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(chbmv, CHBMV);

extern "C" KOVRA_EXPORT void zhbmv_(const char* uplo, const int* n, const int* k, const void* alpha, const void* a,
                                    const int* lda, const void* x, const int* incx, const void* beta, void* y,
                                    const int* incy) {
  band_by_reference<c64, blas::hbmv_front<c64>>(uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zhbmv, ZHBMV);

extern "C" KOVRA_EXPORT void cblas_ssbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, float alpha, const float* a,
                                         int lda, const float* x, int incx, float beta, float* y, int incy) {
  band_from_cblas<float, blas::sbmv_front<float>>(order, uplo, n, k, &alpha, a, lda, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dsbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, double alpha,
                                         const double* a, int lda, const double* x, int incx, double beta, double* y,
                                         int incy) {
  band_from_cblas<double, blas::sbmv_front<double>>(order, uplo, n, k, &alpha, a, lda, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_chbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, const void* alpha,
                                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                                         int incy) {
  band_from_cblas<c32, blas::hbmv_front<c32>>(order, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_zhbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, const void* alpha,
                                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                                         int incy) {
  band_from_cblas<c64, blas::hbmv_front<c64>>(order, uplo, n, k, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void sspmv_(const char* uplo, const int* n, const float* alpha, const float* ap, const float* x,
                                    const int* incx, const float* beta, float* y, const int* incy) {
  packed_by_reference<float, blas::spmv_front<float>>(uplo, n, alpha, ap, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(sspmv, SSPMV);

extern "C" KOVRA_EXPORT void dspmv_(const char* uplo, const int* n, const double* alpha, const double* ap,
                                    const double* x, const int* incx, const double* beta, double* y, const int* incy) {
  packed_by_reference<double, blas::spmv_front<double>>(uplo, n, alpha, ap, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(dspmv, DSPMV);

extern "C" KOVRA_EXPORT void chpmv_(const char* uplo, const int* n, const void* alpha, const void* ap, const void* x,
                                    const int* incx, const void* beta, void* y, const int* incy) {
  packed_by_reference<c32, blas::hpmv_front<c32>>(uplo, n, alpha, ap, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(chpmv, CHPMV);

extern "C" KOVRA_EXPORT void zhpmv_(const char* uplo, const int* n, const void* alpha, const void* ap, const void* x,
                                    const int* incx, const void* beta, void* y, const int* incy) {
  packed_by_reference<c64, blas::hpmv_front<c64>>(uplo, n, alpha, ap, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zhpmv, ZHPMV);

extern "C" KOVRA_EXPORT void cblas_sspmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* ap,
                                         const float* x, int incx, float beta, float* y, int incy) {
  packed_from_cblas<float, blas::spmv_front<float>>(order, uplo, n, &alpha, ap, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dspmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* ap,
                                         const double* x, int incx, double beta, double* y, int incy) {
  packed_from_cblas<double, blas::spmv_front<double>>(order, uplo, n, &alpha, ap, x, incx, &beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_chpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* ap,
                                         const void* x, int incx, const void* beta, void* y, int incy) {
  packed_from_cblas<c32, blas::hpmv_front<c32>>(order, uplo, n, alpha, ap, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_zhpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* ap,
                                         const void* x, int incx, const void* beta, void* y, int incy) {
  packed_from_cblas<c64, blas::hpmv_front<c64>>(order, uplo, n, alpha, ap, x, incx, beta, y, incy);
}
