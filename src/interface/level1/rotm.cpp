// SROTM, DROTM: the Fortran names (three per routine) and the cblas_ forms. param is an array in both.
#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/rotm.h"

namespace {

template <typename T>
void rotm_by_reference(const int* n, T* x, const int* incx, T* y, const int* incy, const T* param) {
  const int count = *n;
  const int x_step = *incx;
  const int y_step = *incy;
  kovra::parallel::blas::rotm(count, x, x_step, y, y_step, param);
}

}  // namespace

extern "C" KOVRA_EXPORT void srotm_(const int* n, float* x, const int* incx, float* y, const int* incy,
                                    const float* param) {
  rotm_by_reference(n, x, incx, y, incy, param);
}
KOVRA_FORTRAN_ALIASES(srotm, SROTM);

extern "C" KOVRA_EXPORT void drotm_(const int* n, double* x, const int* incx, double* y, const int* incy,
                                    const double* param) {
  rotm_by_reference(n, x, incx, y, incy, param);
}
KOVRA_FORTRAN_ALIASES(drotm, DROTM);

extern "C" KOVRA_EXPORT void cblas_srotm(int n, float* x, int incx, float* y, int incy, const float* param) {
  kovra::parallel::blas::rotm(n, x, incx, y, incy, param);
}

extern "C" KOVRA_EXPORT void cblas_drotm(int n, double* x, int incx, double* y, int incy, const double* param) {
  kovra::parallel::blas::rotm(n, x, incx, y, incy, param);
}
