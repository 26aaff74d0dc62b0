// SCOPY, DCOPY, CCOPY, ZCOPY: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/copy.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <typename T>
void copy_by_reference(const int* n, const void* x, const int* incx, void* y, const int* incy) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  kovra::parallel::blas::copy(count, static_cast<const T*>(x), x_step, static_cast<T*>(y), y_step);
}

}  // namespace

extern "C" KOVRA_EXPORT void scopy_(const int* n, const float* x, const int* incx, float* y, const int* incy) {
  copy_by_reference<float>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(scopy, SCOPY);

extern "C" KOVRA_EXPORT void dcopy_(const int* n, const double* x, const int* incx, double* y, const int* incy) {
  copy_by_reference<double>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(dcopy, DCOPY);

extern "C" KOVRA_EXPORT void ccopy_(const int* n, const void* x, const int* incx, void* y, const int* incy) {
  copy_by_reference<c32>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(ccopy, CCOPY);

extern "C" KOVRA_EXPORT void zcopy_(const int* n, const void* x, const int* incx, void* y, const int* incy) {
  copy_by_reference<c64>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(zcopy, ZCOPY);

extern "C" KOVRA_EXPORT void cblas_scopy(int n, const float* x, int incx, float* y, int incy) {
  kovra::parallel::blas::copy(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dcopy(int n, const double* x, int incx, double* y, int incy) {
  kovra::parallel::blas::copy(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_ccopy(int n, const void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::copy(n, static_cast<const c32*>(x), incx, static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zcopy(int n, const void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::copy(n, static_cast<const c64*>(x), incx, static_cast<c64*>(y), incy);
}
