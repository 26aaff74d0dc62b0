/* A program written for the usual <cblas.h>, unchanged, on an installed KOVRA: its type names and
 * enumerators, a column-major and a row-major call, and the runtime's worker count. Exits 1 on a wrong result.
 *
 * The values are small integers, so every result is exact and is compared with ==. */
#include <cblas.h>
#include <vesk/runtime.h> /* the worker count: the one call that needs the runtime linked too */

#include <stdio.h>

int main(void) {
  const enum CBLAS_LAYOUT column_major = CblasColMajor;
  const CBLAS_ORDER row_major = CblasRowMajor;
  const CBLAS_TRANSPOSE no_transpose = CblasNoTrans;
  /* A is 3 x 2 and B 2 x 2, column-major: the columns of A*B are A*(1, 0) and A*(2, 1). */
  const double a[6] = {1, 2, 3, 4, 5, 6}, b[4] = {1, 0, 2, 1}, ab[6] = {1, 2, 3, 6, 9, 12};
  /* The same six values read row-major as a 2 x 3 matrix: its rows summed are 6 and 15. */
  const double ones[3] = {1, 1, 1};
  double c[6] = {0}, y[2] = {0};
  int wrong = 0;

  cblas_dgemm(column_major, no_transpose, no_transpose, 3, 2, 2, 1.0, a, 3, b, 2, 0.0, c, 3);
  for (int i = 0; i < 6; ++i) wrong += c[i] != ab[i];
  wrong += cblas_ddot(3, c, 1, c + 3, 1) != 60.0; /* 1*6 + 2*9 + 3*12 */
  cblas_dgemv(row_major, no_transpose, 2, 3, 1.0, a, 3, ones, 1, 0.0, y, 1);
  wrong += y[0] != 6.0 || y[1] != 15.0;
  const CBLAS_INDEX largest = cblas_idamax(6, c, 1); /* 0-based: the 12 at the end */
  wrong += largest != 5;
  wrong += vesk_worker_count() < 1; /* the runtime started itself when the library was loaded */

  printf("cblas_dgemm, cblas_ddot, cblas_dgemv, cblas_idamax, vesk_worker_count: %d wrong\n", wrong);
  return wrong == 0 ? 0 : 1;
}
