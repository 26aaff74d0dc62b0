// SROTG, DROTG, CROTG, ZROTG: the Fortran names (three per routine) and the cblas_ forms. All arguments
// are in and out by address in both forms, so the two forms are the same call.
#include <complex>

#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/rotg.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;
using kovra::parallel::blas::rotg;

}  // namespace

extern "C" KOVRA_EXPORT void srotg_(float* a, float* b, float* c, float* s) { rotg(a, b, c, s); }
KOVRA_FORTRAN_ALIASES(srotg, SROTG);

extern "C" KOVRA_EXPORT void drotg_(double* a, double* b, double* c, double* s) { rotg(a, b, c, s); }
KOVRA_FORTRAN_ALIASES(drotg, DROTG);

extern "C" KOVRA_EXPORT void crotg_(void* ca, void* cb, float* c, void* s) {
  rotg(static_cast<c32*>(ca), static_cast<c32*>(cb), c, static_cast<c32*>(s));
}
KOVRA_FORTRAN_ALIASES(crotg, CROTG);

extern "C" KOVRA_EXPORT void zrotg_(void* ca, void* cb, double* c, void* s) {
  rotg(static_cast<c64*>(ca), static_cast<c64*>(cb), c, static_cast<c64*>(s));
}
KOVRA_FORTRAN_ALIASES(zrotg, ZROTG);

extern "C" KOVRA_EXPORT void cblas_srotg(float* a, float* b, float* c, float* s) { rotg(a, b, c, s); }

extern "C" KOVRA_EXPORT void cblas_drotg(double* a, double* b, double* c, double* s) { rotg(a, b, c, s); }

extern "C" KOVRA_EXPORT void cblas_crotg(void* ca, void* cb, float* c, void* s) {
  rotg(static_cast<c32*>(ca), static_cast<c32*>(cb), c, static_cast<c32*>(s));
}

extern "C" KOVRA_EXPORT void cblas_zrotg(void* ca, void* cb, double* c, void* s) {
  rotg(static_cast<c64*>(ca), static_cast<c64*>(cb), c, static_cast<c64*>(s));
}
