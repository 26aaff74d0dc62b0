/* kovra/cblas.h on its own, in C: counts and real scalars by value, complex values through void*. */
#include <kovra/cblas.h>

int check_cblas_header(void);

int check_cblas_header(void) {
  const double x[3] = {1.0, 2.0, 3.0}, z[2] = {-1.5, 2.0};
  double y[3] = {10.0, 20.0, 30.0};
  cblas_daxpy(3, 2.0, x, 1, y, 1);
  return (y[0] != 12.0 || y[1] != 24.0 || y[2] != 36.0) + (cblas_dcabs1(z) != 3.5);
}
