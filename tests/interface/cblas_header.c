/* kovra/cblas.h on its own, in C: counts and real scalars by value, complex values through void*. */
#include <kovra/cblas.h>

int check_cblas_header(void);

int check_cblas_header(void) {
  const double x[3] = {1.0, 2.0, 3.0}, z[2] = {-1.5, 2.0};
  double y[3] = {10.0, 20.0, 30.0};
  int failures = 0;
  cblas_daxpy(3, 2.0, x, 1, y, 1);
  failures += (y[0] != 12.0 || y[1] != 24.0 || y[2] != 36.0) + (cblas_dcabs1(z) != 3.5);
  {
    /* A C caller may pass any int as an enumeration: each is reported as a bad argument, with y kept, and is not
     * undefined behaviour in the library (values past the enumerators' bit range once were). */
    const double a[4] = {1.0, 0.0, 0.0, 1.0}, v[2] = {1.0, 1.0};
    double w[2] = {5.0, 6.0};
    cblas_dsymv(CblasColMajor, (CBLAS_UPLO)143, 2, 1.0, a, 2, v, 1, 0.0, w, 1);
    cblas_dgemv(CblasColMajor, (CBLAS_TRANSPOSE)300, 2, 2, 1.0, a, 2, v, 1, 0.0, w, 1);
    cblas_dtrsv((CBLAS_ORDER)1000, CblasUpper, CblasNoTrans, (CBLAS_DIAG)-7, 2, a, 2, w, 1);
    failures += w[0] != 5.0 || w[1] != 6.0;
  }
  return failures;
}
