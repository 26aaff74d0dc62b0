/* A plain C program on libKOVRA: y := alpha*x + y on a million elements through the CBLAS form
 * (cblas_daxpy) and the Fortran form (saxpy_), with no set-up call. Exits 1 on a wrong result.
 *
 * The values are small integers, so every result is exact in float and double and is compared with ==. */
#include <kovra/cblas.h>
#include <kovra/fortran.h>

#include <stdio.h>
#include <stdlib.h>

enum { n = 1000000 };

/* x[i] = i, y[i] = n - i: alpha*x + y is (alpha - 1)*i + n. */
static int check_daxpy(void) {
  double* x = malloc(n * sizeof *x);
  double* y = malloc(n * sizeof *y);
  int wrong = 0;
  if (x == NULL || y == NULL) {
    fputs("out of memory\n", stderr);
    exit(2);
  }
  for (int i = 0; i < n; ++i) {
    x[i] = i;
    y[i] = n - i;
  }
  cblas_daxpy(n, 3.0, x, 1, y, 1);
  for (int i = 0; i < n; ++i) {
    if (y[i] != 2.0 * i + n) {
      if (wrong++ == 0) fprintf(stderr, "cblas_daxpy: y[%d] = %.17g, expected %.17g\n", i, y[i], 2.0 * i + n);
    }
  }
  free(x);
  free(y);
  return wrong;
}

/* The same through the Fortran form, every second element of x into every element of y. */
static int check_saxpy(void) {
  const int count = n / 2, incx = 2, incy = 1;
  const float alpha = -2.0f;
  float* x = malloc(n * sizeof *x);
  float* y = malloc(count * sizeof *y);
  int wrong = 0;
  if (x == NULL || y == NULL) {
    fputs("out of memory\n", stderr);
    exit(2);
  }
  for (int i = 0; i < n; ++i) x[i] = (float)i;
  for (int i = 0; i < count; ++i) y[i] = (float)(n - i);
  saxpy_(&count, &alpha, x, &incx, y, &incy);
  for (int i = 0; i < count; ++i) {
    const float expected = (float)(n - 5 * i); /* -2*(2i) + n - i */
    if (y[i] != expected) {
      if (wrong++ == 0) fprintf(stderr, "saxpy_: y[%d] = %.9g, expected %.9g\n", i, y[i], expected);
    }
  }
  free(x);
  free(y);
  return wrong;
}

int main(void) {
  const int wrong_d = check_daxpy();
  const int wrong_s = check_saxpy();
  printf("cblas_daxpy: %d of %d elements wrong\n", wrong_d, n);
  printf("saxpy_: %d of %d elements wrong\n", wrong_s, n / 2);
  return wrong_d == 0 && wrong_s == 0 ? 0 : 1;
}
