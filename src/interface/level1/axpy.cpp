// SAXPY, DAXPY, CAXPY, ZAXPY: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/axpy.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Every scalar is read before anything is tested, so a null count or alpha faults even on a quick return.
template <typename T>
void axpy_by_reference(const int* n, const void* alpha, const void* x, const int* incx, void* y, const int* incy) {
  const int count = *n;
  const T scale = load_scalar<T>(alpha);
  const int x_step = *incx;
  const int y_step = *incy;
  kovra::parallel::blas::axpy(count, scale, static_cast<const T*>(x), x_step, static_cast<T*>(y), y_step);
}

}  // namespace

extern "C" KOVRA_EXPORT void saxpy_(const int* n, const float* alpha, const float* x, const int* incx, float* y,
                                    const int* incy) {
  axpy_by_reference<float>(n, alpha, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(saxpy, SAXPY);

extern "C" KOVRA_EXPORT void daxpy_(const int* n, const double* alpha, const double* x, const int* incx, double* y,
                                    const int* incy) {
  axpy_by_reference<double>(n, alpha, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(daxpy, DAXPY);

extern "C" KOVRA_EXPORT void caxpy_(const int* n, const void* alpha, const void* x, const int* incx, void* y,
                                    const int* incy) {
  axpy_by_reference<c32>(n, alpha, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(caxpy, CAXPY);

extern "C" KOVRA_EXPORT void zaxpy_(const int* n, const void* alpha, const void* x, const int* incx, void* y,
                                    const int* incy) {
  axpy_by_reference<c64>(n, alpha, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(zaxpy, ZAXPY);

extern "C" KOVRA_EXPORT void cblas_saxpy(int n, float alpha, const float* x, int incx, float* y, int incy) {
  kovra::parallel::blas::axpy(n, alpha, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_daxpy(int n, double alpha, const double* x, int incx, double* y, int incy) {
  kovra::parallel::blas::axpy(n, alpha, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_caxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::axpy(n, load_scalar<c32>(alpha), static_cast<const c32*>(x), incx, static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::axpy(n, load_scalar<c64>(alpha), static_cast<const c64*>(x), incx, static_cast<c64*>(y), incy);
}
