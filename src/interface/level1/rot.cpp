// SROT, DROT, CSROT, ZDROT: the Fortran names (three per routine) and the cblas_ forms. c and s are real
// in all four.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/rot.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// Every scalar is read before anything is tested, so a null count, c or s faults even on a quick return.
template <typename T>
void rot_by_reference(const int* n, void* x, const int* incx, void* y, const int* incy, const kovra::real_t<T>* c,
                      const kovra::real_t<T>* s) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  const kovra::real_t<T> cosine = *c;
  const kovra::real_t<T> sine = *s;
  kovra::parallel::blas::rot(count, static_cast<T*>(x), x_step, static_cast<T*>(y), y_step, cosine, sine);
}

}  // namespace

extern "C" KOVRA_EXPORT void srot_(const int* n, float* x, const int* incx, float* y, const int* incy,
                                   const float* c, const float* s) {
  rot_by_reference<float>(n, x, incx, y, incy, c, s);
}
KOVRA_FORTRAN_ALIASES(srot, SROT);

extern "C" KOVRA_EXPORT void drot_(const int* n, double* x, const int* incx, double* y, const int* incy,
                                   const double* c, const double* s) {
  rot_by_reference<double>(n, x, incx, y, incy, c, s);
}
KOVRA_FORTRAN_ALIASES(drot, DROT);

extern "C" KOVRA_EXPORT void csrot_(const int* n, void* x, const int* incx, void* y, const int* incy,
                                    const float* c, const float* s) {
  rot_by_reference<c32>(n, x, incx, y, incy, c, s);
}
KOVRA_FORTRAN_ALIASES(csrot, CSROT);

extern "C" KOVRA_EXPORT void zdrot_(const int* n, void* x, const int* incx, void* y, const int* incy,
                                    const double* c, const double* s) {
  rot_by_reference<c64>(n, x, incx, y, incy, c, s);
}
KOVRA_FORTRAN_ALIASES(zdrot, ZDROT);

extern "C" KOVRA_EXPORT void cblas_srot(int n, float* x, int incx, float* y, int incy, float c, float s) {
  kovra::parallel::blas::rot(n, x, incx, y, incy, c, s);
}

extern "C" KOVRA_EXPORT void cblas_drot(int n, double* x, int incx, double* y, int incy, double c, double s) {
  kovra::parallel::blas::rot(n, x, incx, y, incy, c, s);
}

extern "C" KOVRA_EXPORT void cblas_csrot(int n, void* x, int incx, void* y, int incy, float c, float s) {
  kovra::parallel::blas::rot(n, static_cast<c32*>(x), incx, static_cast<c32*>(y), incy, c, s);
}

extern "C" KOVRA_EXPORT void cblas_zdrot(int n, void* x, int incx, void* y, int incy, double c, double s) {
  kovra::parallel::blas::rot(n, static_cast<c64*>(x), incx, static_cast<c64*>(y), incy, c, s);
}
