// SAXPBY, DAXPBY, CAXPBY, ZAXPBY: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/axpby.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Every scalar is read before anything is tested.
template <typename T>
void axpby_by_reference(const int* n, const void* alpha, const void* x, const int* incx, const void* beta, void* y,
                        const int* incy) {
  const int count = *n;
  const T x_scale = load_scalar<T>(alpha);
  const int x_step = *incx;
  const T y_scale = load_scalar<T>(beta);
  const int y_step = *incy;
  kovra::parallel::blas::axpby(count, x_scale, static_cast<const T*>(x), x_step, y_scale, static_cast<T*>(y), y_step);
}

}  // namespace

extern "C" KOVRA_EXPORT void saxpby_(const int* n, const float* alpha, const float* x, const int* incx,
                                     const float* beta, float* y, const int* incy) {
  axpby_by_reference<float>(n, alpha, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(saxpby, SAXPBY);

extern "C" KOVRA_EXPORT void daxpby_(const int* n, const double* alpha, const double* x, const int* incx,
                                     const double* beta, double* y, const int* incy) {
  axpby_by_reference<double>(n, alpha, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(daxpby, DAXPBY);

extern "C" KOVRA_EXPORT void caxpby_(const int* n, const void* alpha, const void* x, const int* incx,
                                     const void* beta, void* y, const int* incy) {
  axpby_by_reference<c32>(n, alpha, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(caxpby, CAXPBY);

extern "C" KOVRA_EXPORT void zaxpby_(const int* n, const void* alpha, const void* x, const int* incx,
                                     const void* beta, void* y, const int* incy) {
  axpby_by_reference<c64>(n, alpha, x, incx, beta, y, incy);
}
KOVRA_FORTRAN_ALIASES(zaxpby, ZAXPBY);

extern "C" KOVRA_EXPORT void cblas_saxpby(int n, float alpha, const float* x, int incx, float beta, float* y,
                                          int incy) {
  kovra::parallel::blas::axpby(n, alpha, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_daxpby(int n, double alpha, const double* x, int incx, double beta, double* y,
                                          int incy) {
  kovra::parallel::blas::axpby(n, alpha, x, incx, beta, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_caxpby(int n, const void* alpha, const void* x, int incx, const void* beta,
                                          void* y, int incy) {
  kovra::parallel::blas::axpby(n, load_scalar<c32>(alpha), static_cast<const c32*>(x), incx, load_scalar<c32>(beta),
                               static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zaxpby(int n, const void* alpha, const void* x, int incx, const void* beta,
                                          void* y, int incy) {
  kovra::parallel::blas::axpby(n, load_scalar<c64>(alpha), static_cast<const c64*>(x), incx, load_scalar<c64>(beta),
                               static_cast<c64*>(y), incy);
}
