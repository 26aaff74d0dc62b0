// DSDOT and SDSDOT: the Fortran names (three per routine) and cblas_dsdot, cblas_sdsdot.
#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/dsdot.h"

using kovra::parallel::blas::dsdot;
using kovra::parallel::blas::sdsdot;

// Every argument passed by address is read before anything is tested.
extern "C" KOVRA_EXPORT double dsdot_(const int* n, const float* x, const int* incx, const float* y,
                                      const int* incy) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  return dsdot<float, double>(count, x, x_step, y, y_step);
}
KOVRA_FORTRAN_ALIASES(dsdot, DSDOT);

extern "C" KOVRA_EXPORT float sdsdot_(const int* n, const float* sb, const float* x, const int* incx, const float* y,
                                      const int* incy) {
  const int count = *n;
  const float start = *sb;
  const int x_step = *incx;
  const int y_step = *incy;
  return sdsdot<float, double>(count, start, x, x_step, y, y_step);
}
KOVRA_FORTRAN_ALIASES(sdsdot, SDSDOT);

extern "C" KOVRA_EXPORT double cblas_dsdot(int n, const float* x, int incx, const float* y, int incy) {
  return dsdot<float, double>(n, x, incx, y, incy);
}

extern "C" KOVRA_EXPORT float cblas_sdsdot(int n, float sb, const float* x, int incx, const float* y, int incy) {
  return sdsdot<float, double>(n, sb, x, incx, y, incy);
}
