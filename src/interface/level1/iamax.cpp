// ISAMAX, IDAMAX, ICAMAX, IZAMAX and ISAMIN, IDAMIN, ICAMIN, IZAMIN: the Fortran names (three per
// routine) and the cblas_ forms. Both forms return the same 0-based position.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/iamax.h"

namespace {

using kovra::parallel::blas::index_search;
using kovra::parallel::blas::largest_first;
using kovra::parallel::blas::smallest_first;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The count and the increment are read before anything is tested.
template <typename Order, typename T>
int search_by_reference(const int* n, const void* x, const int* incx) {
  const int count = *n;
  const int step = *incx;
  return index_search<Order>(count, static_cast<const T*>(x), step);
}

}  // namespace

extern "C" KOVRA_EXPORT int isamax_(const int* n, const float* x, const int* incx) {
  return search_by_reference<largest_first, float>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(isamax, ISAMAX);

extern "C" KOVRA_EXPORT int idamax_(const int* n, const double* x, const int* incx) {
  return search_by_reference<largest_first, double>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(idamax, IDAMAX);

extern "C" KOVRA_EXPORT int icamax_(const int* n, const void* x, const int* incx) {
  return search_by_reference<largest_first, c32>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(icamax, ICAMAX);

extern "C" KOVRA_EXPORT int izamax_(const int* n, const void* x, const int* incx) {
  return search_by_reference<largest_first, c64>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(izamax, IZAMAX);

extern "C" KOVRA_EXPORT int isamin_(const int* n, const float* x, const int* incx) {
  return search_by_reference<smallest_first, float>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(isamin, ISAMIN);

extern "C" KOVRA_EXPORT int idamin_(const int* n, const double* x, const int* incx) {
  return search_by_reference<smallest_first, double>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(idamin, IDAMIN);

extern "C" KOVRA_EXPORT int icamin_(const int* n, const void* x, const int* incx) {
  return search_by_reference<smallest_first, c32>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(icamin, ICAMIN);

extern "C" KOVRA_EXPORT int izamin_(const int* n, const void* x, const int* incx) {
  return search_by_reference<smallest_first, c64>(n, x, incx);
}
KOVRA_FORTRAN_ALIASES(izamin, IZAMIN);

extern "C" KOVRA_EXPORT int cblas_isamax(int n, const float* x, int incx) {
  return index_search<largest_first>(n, x, incx);
}

extern "C" KOVRA_EXPORT int cblas_idamax(int n, const double* x, int incx) {
  return index_search<largest_first>(n, x, incx);
}

extern "C" KOVRA_EXPORT int cblas_icamax(int n, const void* x, int incx) {
  return index_search<largest_first>(n, static_cast<const c32*>(x), incx);
}

extern "C" KOVRA_EXPORT int cblas_izamax(int n, const void* x, int incx) {
  return index_search<largest_first>(n, static_cast<const c64*>(x), incx);
}

extern "C" KOVRA_EXPORT int cblas_isamin(int n, const float* x, int incx) {
  return index_search<smallest_first>(n, x, incx);
}

extern "C" KOVRA_EXPORT int cblas_idamin(int n, const double* x, int incx) {
  return index_search<smallest_first>(n, x, incx);
}

extern "C" KOVRA_EXPORT int cblas_icamin(int n, const void* x, int incx) {
  return index_search<smallest_first>(n, static_cast<const c32*>(x), incx);
}

extern "C" KOVRA_EXPORT int cblas_izamin(int n, const void* x, int incx) {
  return index_search<smallest_first>(n, static_cast<const c64*>(x), incx);
}
