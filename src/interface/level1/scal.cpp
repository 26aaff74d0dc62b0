// SSCAL, DSCAL, CSCAL, ZSCAL and the real-scale forms CSSCAL, ZDSCAL: the Fortran names (three per
// routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/scal.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// T is the element type, A the type of the scale (real for CSSCAL and ZDSCAL). Every scalar is read
// before anything is tested.
template <typename T, typename A>
void scal_by_reference(const int* n, const void* alpha, void* x, const int* incx) {
  const int count = *n;
  const A scale = load_scalar<A>(alpha);
  const int step = *incx;
  kovra::parallel::blas::scal(count, scale, static_cast<T*>(x), step);
}

}  // namespace

extern "C" KOVRA_EXPORT void sscal_(const int* n, const float* alpha, float* x, const int* incx) {
  scal_by_reference<float, float>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(sscal, SSCAL);

extern "C" KOVRA_EXPORT void dscal_(const int* n, const double* alpha, double* x, const int* incx) {
  scal_by_reference<double, double>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(dscal, DSCAL);

extern "C" KOVRA_EXPORT void cscal_(const int* n, const void* alpha, void* x, const int* incx) {
  scal_by_reference<c32, c32>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(cscal, CSCAL);

extern "C" KOVRA_EXPORT void zscal_(const int* n, const void* alpha, void* x, const int* incx) {
  scal_by_reference<c64, c64>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(zscal, ZSCAL);

extern "C" KOVRA_EXPORT void csscal_(const int* n, const float* alpha, void* x, const int* incx) {
  scal_by_reference<c32, float>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(csscal, CSSCAL);

extern "C" KOVRA_EXPORT void zdscal_(const int* n, const double* alpha, void* x, const int* incx) {
  scal_by_reference<c64, double>(n, alpha, x, incx);
}
KOVRA_FORTRAN_ALIASES(zdscal, ZDSCAL);

extern "C" KOVRA_EXPORT void cblas_sscal(int n, float alpha, float* x, int incx) {
  kovra::parallel::blas::scal(n, alpha, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_dscal(int n, double alpha, double* x, int incx) {
  kovra::parallel::blas::scal(n, alpha, x, incx);
}

extern "C" KOVRA_EXPORT void cblas_cscal(int n, const void* alpha, void* x, int incx) {
  kovra::parallel::blas::scal(n, load_scalar<c32>(alpha), static_cast<c32*>(x), incx);
}

extern "C" KOVRA_EXPORT void cblas_zscal(int n, const void* alpha, void* x, int incx) {
  kovra::parallel::blas::scal(n, load_scalar<c64>(alpha), static_cast<c64*>(x), incx);
}

extern "C" KOVRA_EXPORT void cblas_csscal(int n, float alpha, void* x, int incx) {
  kovra::parallel::blas::scal(n, alpha, static_cast<c32*>(x), incx);
}

extern "C" KOVRA_EXPORT void cblas_zdscal(int n, double alpha, void* x, int incx) {
  kovra::parallel::blas::scal(n, alpha, static_cast<c64*>(x), incx);
}
