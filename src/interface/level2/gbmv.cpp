// SGBMV, DGBMV, CGBMV, ZGBMV: the Fortran names (three per routine) and the cblas_ forms, mapped by
// parallel/blas/row_major.h (a row-major call swaps M and N, and KL and KU).
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/gbmv.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using kovra::parallel::blas::gbmv_front;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Every scalar is read before anything is tested.
template <typename T>
void gbmv_by_reference(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                       const void* alpha, const void* a, const int* lda, const void* x, const int* incx,
                       const void* beta, void* y, const int* incy) {
  const char t = *trans;
  const int rows = *m, cols = *n, sub = *kl, super = *ku;
  const T scale = load_scalar<T>(alpha);
  const int ld = *lda, x_step = *incx;
  const T y_scale = load_scalar<T>(beta);
  const int y_step = *incy;
  gbmv_front(t, rows, cols, sub, super, scale, static_cast<const T*>(a), ld, static_cast<const T*>(x), x_step,
             y_scale, static_cast<T*>(y), y_step);
}

template <typename T>
void gbmv_cblas(int order, int trans, int m, int n, int kl, int ku, T alpha, const T* a, int lda, const T* x,
                int incx, T beta, T* y, int incy) {
  using kovra::interface::trans_char;
  if (kovra::interface::is_col_major(order))
    gbmv_front(trans_char(trans), m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
  else
    kovra::parallel::blas::row_major_matvec(trans_char(trans), m, n, alpha, x, incx, beta, y, incy,
                                            [&](char t, T al, const T* xs, int xinc, T be) {
                                              gbmv_front(t, n, m, ku, kl, al, a, lda, xs, xinc, be, y, incy);
                                            });
}

}  // namespace

extern "C" KOVRA_EXPORT void sgbmv_(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                                    const float* alpha, const float* a, const int* lda, const float* x,
                                    const int* incx, const float* beta, float* y, const int* incy) {
  gbmv_by_reference<float>(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(sgbmv, SGBMV);

extern "C" KOVRA_EXPORT void dgbmv_(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                                    const double* alpha, const double* a, const int* lda, const double* x,
                                    const int* incx, const double* beta, double* y, const int* incy) {
  gbmv_by_reference<double>(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(dgbmv, DGBMV);

extern "C" KOVRA_EXPORT void cgbmv_(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                                    const void* alpha, const void* a, const int* lda, const void* x, const int* incx,
                                    const void* beta, void* y, const int* incy) {
  gbmv_by_reference<c32>(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(cgbmv, CGBMV);

extern "C" KOVRA_EXPORT void zgbmv_(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                                    const void* alpha, const void* a, const int* lda, const void* x, const int* incx,
                                    const void* beta, void* y, const int* incy) {
  gbmv_by_reference<c64>(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zgbmv, ZGBMV);

extern "C" KOVRA_EXPORT void cblas_sgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku,
                                         float alpha, const float* a, int lda, const float* x, int incx, float beta,
                                         float* y, int incy) {
  gbmv_cblas<float>(order, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku,
                                         double alpha, const double* a, int lda, const double* x, int incx,
                                         double beta, double* y, int incy) {
  gbmv_cblas<double>(order, trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_cgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku,
                                         const void* alpha, const void* a, int lda, const void* x, int incx,
                                         const void* beta, void* y, int incy) {
  gbmv_cblas<c32>(order, trans, m, n, kl, ku, load_scalar<c32>(alpha), static_cast<const c32*>(a), lda,
                  static_cast<const c32*>(x), incx, load_scalar<c32>(beta), static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku,
                                         const void* alpha, const void* a, int lda, const void* x, int incx,
                                         const void* beta, void* y, int incy) {
  gbmv_cblas<c64>(order, trans, m, n, kl, ku, load_scalar<c64>(alpha), static_cast<const c64*>(a), lda,
                  static_cast<const c64*>(x), incx, load_scalar<c64>(beta), static_cast<c64*>(y), incy);
}
