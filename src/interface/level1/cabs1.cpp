// SCABS1 and DCABS1 (three names each) and cblas_scabs1, cblas_dcabs1. Both forms take the address of
// the complex value.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/cabs1.h"

extern "C" KOVRA_EXPORT float scabs1_(const void* z) {
  return kovra::parallel::blas::cabs1(*static_cast<const std::complex<float>*>(z));
}
KOVRA_FORTRAN_ALIASES(scabs1, SCABS1);

extern "C" KOVRA_EXPORT double dcabs1_(const void* z) {
  return kovra::parallel::blas::cabs1(*static_cast<const std::complex<double>*>(z));
}
KOVRA_FORTRAN_ALIASES(dcabs1, DCABS1);

extern "C" KOVRA_EXPORT float cblas_scabs1(const void* z) { return scabs1_(z); }

extern "C" KOVRA_EXPORT double cblas_dcabs1(const void* z) { return dcabs1_(z); }
