// SROTMG, DROTMG: the Fortran names (three per routine) and the cblas_ forms, which take y1 by value.
#include "interface/entry.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level1/rotmg.h"

using kovra::parallel::blas::rotmg;

extern "C" KOVRA_EXPORT void srotmg_(float* d1, float* d2, float* x1, const float* y1, float* param) {
  rotmg(d1, d2, x1, *y1, param);
}
KOVRA_FORTRAN_ALIASES(srotmg, SROTMG);

extern "C" KOVRA_EXPORT void drotmg_(double* d1, double* d2, double* x1, const double* y1, double* param) {
  rotmg(d1, d2, x1, *y1, param);
}
KOVRA_FORTRAN_ALIASES(drotmg, DROTMG);

extern "C" KOVRA_EXPORT void cblas_srotmg(float* d1, float* d2, float* x1, float y1, float* param) {
  rotmg(d1, d2, x1, y1, param);
}

extern "C" KOVRA_EXPORT void cblas_drotmg(double* d1, double* d2, double* x1, double y1, double* param) {
  rotmg(d1, d2, x1, y1, param);
}
