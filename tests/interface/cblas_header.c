/* kovra/cblas.h on its own, in C: by-value counts and scalars, complex scalars through const void*. */
#include <kovra/cblas.h>

#include <stdio.h>

int check_cblas_header(void);

int check_cblas_header(void) {
  int failures = 0;
  const double x[3] = {1.0, 2.0, 3.0};
  double y[3] = {10.0, 20.0, 30.0};
  const double z[2] = {-1.5, 2.0};

  cblas_daxpy(3, 2.0, x, 1, y, 1);
  if (y[0] != 12.0 || y[1] != 24.0 || y[2] != 36.0) {
    fprintf(stderr, "cblas_daxpy: %g %g %g, expected 12 24 36\n", y[0], y[1], y[2]);
    ++failures;
  }
  if (cblas_dcabs1(z) != 3.5) {
    fprintf(stderr, "cblas_dcabs1: %g, expected 3.5\n", cblas_dcabs1(z));
    ++failures;
  }
  return failures;
}
