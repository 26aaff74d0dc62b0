/* A C program on the umbrella header kovra/kovra.h, built as strict C99 and linked against the shared
 * library. The other two files of the program include one public header each, so that every header
 * compiles on its own. A few small calls check that the declarations match the exported entries. */
#include <kovra/kovra.h>

#include <stdio.h>

int check_cblas_header(void);
int check_fortran_header(void);

int main(void) {
  int failures = check_cblas_header() + check_fortran_header();

  /* The runtime starts itself when the library is loaded. */
  if (vesk_worker_count() < 1) {
    fprintf(stderr, "vesk_worker_count() = %d with no set-up call\n", vesk_worker_count());
    ++failures;
  }

  /* Upper-case Fortran name, complex by-pointer scalar: (1+2i)*(3-1i) + (0.5+0i) = 5.5+5i. */
  {
    const int n = 1, inc = 1;
    const float alpha[2] = {1.0f, 2.0f};
    const float x[2] = {3.0f, -1.0f};
    float y[2] = {0.5f, 0.0f};
    CAXPY(&n, alpha, x, &inc, y, &inc);
    if (y[0] != 5.5f || y[1] != 5.0f) {
      fprintf(stderr, "CAXPY: (%g, %g), expected (5.5, 5)\n", y[0], y[1]);
      ++failures;
    }
  }
  /* The record as a C program lays it out, filled by the library's C++. */
  {
    KOVRAVersionRecord record;
    const char* text = NULL;
    KOVRAVersionString(&text);
    if (KOVRAVersionInfo(&record) != 0 || record.major != 0 || record.minor != 11 || record.patch != 38 ||
        record.extra != 1 || text == NULL || record.date == NULL || record.date[3] != ' ' || record.date[4] != ' ') {
      fprintf(stderr, "KOVRAVersionInfo: %d.%d.%d extra %d\n", record.major, record.minor, record.patch, record.extra);
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
