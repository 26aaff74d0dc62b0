/* kovra/fortran.h on its own, in C: every argument by reference. */
#include <kovra/fortran.h>

#include <stdio.h>

int check_fortran_header(void);

int check_fortran_header(void) {
  int failures = 0;
  const int n = 2, incx = -1, incy = 1;
  const float x[2] = {1.0f, 2.0f};
  float y[2] = {0.0f, 0.0f};
  const float z[2] = {3.0f, -4.0f};

  /* A negative increment walks x backwards. */
  scopy_(&n, x, &incx, y, &incy);
  if (y[0] != 2.0f || y[1] != 1.0f) {
    fprintf(stderr, "scopy_: %g %g, expected 2 1\n", y[0], y[1]);
    ++failures;
  }
  if (scabs1(z) != 7.0f) {
    fprintf(stderr, "scabs1: %g, expected 7\n", scabs1(z));
    ++failures;
  }
  return failures;
}
