// SDOT, DDOT, CDOTU, ZDOTU, CDOTC, ZDOTC: the Fortran names (three per routine) and the cblas_ forms.
// The complex dots have no function value in either form: the Fortran names take the address of the
// result first, the cblas_..._sub names last.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/dot.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The count and both increments are read before anything is tested.
template <typename T, bool Conjugate>
T dot_by_reference(const int* n, const void* x, const int* incx, const void* y, const int* incy) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  return kovra::parallel::blas::dot<T, Conjugate>(count, static_cast<const T*>(x), x_step, static_cast<const T*>(y),
                                                  y_step);
}

template <typename T, bool Conjugate>
void complex_dot_by_value(int n, const void* x, int incx, const void* y, int incy, void* result) {
  *static_cast<T*>(result) =
      kovra::parallel::blas::dot<T, Conjugate>(n, static_cast<const T*>(x), incx, static_cast<const T*>(y), incy);
}

}  // namespace

extern "C" KOVRA_EXPORT float sdot_(const int* n, const float* x, const int* incx, const float* y, const int* incy) {
  return dot_by_reference<float, false>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(sdot, SDOT);

extern "C" KOVRA_EXPORT double ddot_(const int* n, const double* x, const int* incx, const double* y,
                                     const int* incy) {
  return dot_by_reference<double, false>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(ddot, DDOT);

extern "C" KOVRA_EXPORT void cdotu_(void* result, const int* n, const void* x, const int* incx, const void* y,
                                    const int* incy) {
  *static_cast<c32*>(result) = dot_by_reference<c32, false>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(cdotu, CDOTU);

extern "C" KOVRA_EXPORT void zdotu_(void* result, const int* n, const void* x, const int* incx, const void* y,
                                    const int* incy) {
  *static_cast<c64*>(result) = dot_by_reference<c64, false>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(zdotu, ZDOTU);

extern "C" KOVRA_EXPORT void cdotc_(void* result, const int* n, const void* x, const int* incx, const void* y,
                                    const int* incy) {
  *static_cast<c32*>(result) = dot_by_reference<c32, true>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(cdotc, CDOTC);

extern "C" KOVRA_EXPORT void zdotc_(void* result, const int* n, const void* x, const int* incx, const void* y,
                                    const int* incy) {
  *static_cast<c64*>(result) = dot_by_reference<c64, true>(n, x, incx, y, incy);
}
KOVRA_FORTRAN_ALIASES(zdotc, ZDOTC);

extern "C" KOVRA_EXPORT float cblas_sdot(int n, const float* x, int incx, const float* y, int incy) {
  return kovra::parallel::blas::dot(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT double cblas_ddot(int n, const double* x, int incx, const double* y, int incy) {
  return kovra::parallel::blas::dot(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT void cblas_cdotu_sub(int n, const void* x, int incx, const void* y, int incy, void* result) {
  complex_dot_by_value<c32, false>(n, x, incx, y, incy, result);
}

extern "C" KOVRA_EXPORT void cblas_zdotu_sub(int n, const void* x, int incx, const void* y, int incy, void* result) {
  complex_dot_by_value<c64, false>(n, x, incx, y, incy, result);
}

extern "C" KOVRA_EXPORT void cblas_cdotc_sub(int n, const void* x, int incx, const void* y, int incy, void* result) {
  complex_dot_by_value<c32, true>(n, x, incx, y, incy, result);
}

extern "C" KOVRA_EXPORT void cblas_zdotc_sub(int n, const void* x, int incx, const void* y, int incy, void* result) {
  complex_dot_by_value<c64, true>(n, x, incx, y, incy, result);
}
