// SNRM2, DNRM2, SCNRM2, DZNRM2: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/nrm2.h"

namespace {

using kovra::parallel::blas::nrm2;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The count and the increment are read before anything is tested.
template <typename T>
kovra::real_t<T> nrm2_by_reference(const int* n, const void* x, const int* incx) {
  const int count = *n;
  const int step = *incx;
  return nrm2(count, static_cast<const T*>(x), step);
}

}  // namespace

extern "C" KOVRA_EXPORT float snrm2_(const int* n, const float* x, const int* incx) {
  return nrm2_by_reference<float>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(snrm2, SNRM2);

extern "C" KOVRA_EXPORT double dnrm2_(const int* n, const double* x, const int* incx) {
  return nrm2_by_reference<double>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(dnrm2, DNRM2);

extern "C" KOVRA_EXPORT float scnrm2_(const int* n, const void* x, const int* incx) {
  return nrm2_by_reference<c32>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(scnrm2, SCNRM2);

extern "C" KOVRA_EXPORT double dznrm2_(const int* n, const void* x, const int* incx) {
  return nrm2_by_reference<c64>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(dznrm2, DZNRM2);

extern "C" KOVRA_EXPORT float cblas_snrm2(int n, const float* x, int incx) { return nrm2(n, x, incx); }

extern "C" KOVRA_EXPORT double cblas_dnrm2(int n, const double* x, int incx) { return nrm2(n, x, incx); }

extern "C" KOVRA_EXPORT float cblas_scnrm2(int n, const void* x, int incx) {
  return nrm2(n, static_cast<const c32*>(x), incx);
}

extern "C" KOVRA_EXPORT double cblas_dznrm2(int n, const void* x, int incx) {
  return nrm2(n, static_cast<const c64*>(x), incx);
}
