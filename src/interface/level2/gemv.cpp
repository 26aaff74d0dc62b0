// SGEMV, DGEMV, CGEMV, ZGEMV: the Fortran names (three per routine) and the cblas_ forms, mapped by
// parallel/blas/row_major.h (a row-major call swaps M and N).
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/gemv.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using kovra::parallel::blas::gemv_front;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Every scalar is read before anything is tested.
template <typename T>
void gemv_by_reference(const char* trans, const int* m, const int* n, const void* alpha, const void* a,
                       const int* lda, const void* x, const int* incx, const void* beta, void* y, const int* incy) {
  const char t = *trans;
  const int rows = *m, cols = *n;
  const T scale = load_scalar<T>(alpha);
  const int ld = *lda, x_step = *incx;
  const T y_scale = load_scalar<T>(beta);
  const int y_step = *incy;
  gemv_front(t, rows, cols, scale, static_cast<const T*>(a), ld, static_cast<const T*>(x), x_step, y_scale,
             static_cast<T*>(y), y_step);
}

template <typename T>
void gemv_cblas(int order, int trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,
                int incy) {
  using kovra::interface::trans_char;
  if (kovra::interface::is_col_major(order))
    gemv_front(trans_char(trans), m, n, alpha, a, lda, x, incx, beta, y, incy);
  else
    kovra::parallel::blas::row_major_matvec(
        trans_char(trans), m, n, alpha, x, incx, beta, y, incy,
        [&](char t, T al, const T* xs, int xinc, T be) { gemv_front(t, n, m, al, a, lda, xs, xinc, be, y, incy); });
}

}  // namespace

extern "C" KOVRA_EXPORT void sgemv_(const char* trans, const int* m, const int* n, const float* alpha, const float* a,
                                    const int* lda, const float* x, const int* incx, const float* beta, float* y,
                                    const int* incy) {
  gemv_by_reference<float>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(sgemv, SGEMV);

extern "C" KOVRA_EXPORT void dgemv_(const char* trans, const int* m, const int* n, const double* alpha,
                                    const double* a, const int* lda, const double* x, const int* incx,
                                    const double* beta, double* y, const int* incy) {
  gemv_by_reference<double>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(dgemv, DGEMV);

extern "C" KOVRA_EXPORT void cgemv_(const char* trans, const int* m, const int* n, const void* alpha, const void* a,
                                    const int* lda, const void* x, const int* incx, const void* beta, void* y,
                                    const int* incy) {
  gemv_by_reference<c32>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(cgemv, CGEMV);

extern "C" KOVRA_EXPORT void zgemv_(const char* trans, const int* m, const int* n, const void* alpha, const void* a,
                                    const int* lda, const void* x, const int* incx, const void* beta, void* y,
                                    const int* incy) {
  gemv_by_reference<c64>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zgemv, ZGEMV);

extern "C" KOVRA_EXPORT void cblas_sgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, float alpha,
                                         const float* a, int lda, const float* x, int incx, float beta, float* y,
                                         int incy) {
  gemv_cblas<float>(order, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, double alpha,
                                         const double* a, int lda, const double* x, int incx, double beta, double* y,
                                         int incy) {
  gemv_cblas<double>(order, trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_cgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, const void* alpha,
                                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                                         int incy) {
  gemv_cblas<c32>(order, trans, m, n, load_scalar<c32>(alpha), static_cast<const c32*>(a), lda,
                  static_cast<const c32*>(x), incx, load_scalar<c32>(beta), static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, const void* alpha,
                                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                                         int incy) {
  gemv_cblas<c64>(order, trans, m, n, load_scalar<c64>(alpha), static_cast<const c64*>(a), lda,
                  static_cast<const c64*>(x), incx, load_scalar<c64>(beta), static_cast<c64*>(y), incy);
}
