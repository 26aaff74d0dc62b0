// SSWAP, DSWAP, CSWAP, ZSWAP: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/swap.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <typename T>
void swap_by_reference(const int* n, void* x, const int* incx, void* y, const int* incy) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  kovra::parallel::blas::swap(count, static_cast<T*>(x), x_step, static_cast<T*>(y), y_step);
}

}  // namespace

extern "C" KOVRA_EXPORT void sswap_(const int* n, float* x, const int* incx, float* y, const int* incy) {
  swap_by_reference<float>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(sswap, SSWAP);

extern "C" KOVRA_EXPORT void dswap_(const int* n, double* x, const int* incx, double* y, const int* incy) {
  swap_by_reference<double>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(dswap, DSWAP);

extern "C" KOVRA_EXPORT void cswap_(const int* n, void* x, const int* incx, void* y, const int* incy) {
  swap_by_reference<c32>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(cswap, CSWAP);

extern "C" KOVRA_EXPORT void zswap_(const int* n, void* x, const int* incx, void* y, const int* incy) {
  swap_by_reference<c64>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(zswap, ZSWAP);

extern "C" KOVRA_EXPORT void cblas_sswap(int n, float* x, int incx, float* y, int incy) {
  kovra::parallel::blas::swap(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_dswap(int n, double* x, int incx, double* y, int incy) {
  kovra::parallel::blas::swap(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_cswap(int n, void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::swap(n, static_cast<c32*>(x), incx, static_cast<c32*>(y), incy);
}

extern "C" KOVRA_EXPORT void cblas_zswap(int n, void* x, int incx, void* y, int incy) {
  kovra::parallel::blas::swap(n, static_cast<c64*>(x), incx, static_cast<c64*>(y), incy);
}
