/* kovra/fortran.h on its own, in C: every argument by reference; a negative increment walks x backwards. */
#include <kovra/fortran.h>

int check_fortran_header(void);

int check_fortran_header(void) {
  const int n = 2, incx = -1, incy = 1;
  const float x[2] = {1.0f, 2.0f}, z[2] = {3.0f, -4.0f};
  float y[2] = {0.0f, 0.0f};
  scopy_(&n, x, &incx, y, &incy);
  return (y[0] != 2.0f || y[1] != 1.0f) + (scabs1(z) != 7.0f);
}
