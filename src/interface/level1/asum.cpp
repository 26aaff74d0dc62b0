// SASUM, DASUM, SCASUM, DZASUM: the Fortran names (three per routine) and the cblas_ forms.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/asum.h"

namespace {

using kovra::parallel::blas::asum;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The count and the increment are read before anything is tested.
template <typename T>
kovra::real_t<T> asum_by_reference(const int* n, const void* x, const int* incx) {
  const int count = *n;
  const int step = *incx;
  return asum(count, static_cast<const T*>(x), step);
}

}  // namespace

extern "C" KOVRA_EXPORT float sasum_(const int* n, const float* x, const int* incx) {
  return asum_by_reference<float>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(sasum, SASUM);

extern "C" KOVRA_EXPORT double dasum_(const int* n, const double* x, const int* incx) {
  return asum_by_reference<double>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(dasum, DASUM);

extern "C" KOVRA_EXPORT float scasum_(const int* n, const void* x, const int* incx) {
  return asum_by_reference<c32>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(scasum, SCASUM);

extern "C" KOVRA_EXPORT double dzasum_(const int* n, const void* x, const int* incx) {
  return asum_by_reference<c64>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(dzasum, DZASUM);

extern "C" KOVRA_EXPORT float cblas_sasum(int n, const float* x, int incx) { return asum(n, x, incx); }

extern "C" KOVRA_EXPORT double cblas_dasum(int n, const double* x, int incx) { return asum(n, x, incx); }

extern "C" KOVRA_EXPORT float cblas_scasum(int n, const void* x, int incx) {
  return asum(n, static_cast<const c32*>(x), incx);
}

extern "C" KOVRA_EXPORT double cblas_dzasum(int n, const void* x, int incx) {
  return asum(n, static_cast<const c64*>(x), incx);
}
