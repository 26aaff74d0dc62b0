/* A C program on the umbrella header kovra/kovra.h, built as strict C99 and linked against the shared
 * library; the other two files include one public header each, so that every header compiles on its own.
 * A few calls check that the declarations match the exported entries. */
#include <kovra/kovra.h>
#include <stdio.h>
#include <string.h>

int check_cblas_header(void);
int check_fortran_header(void);

int main(void) {
  int failures = check_cblas_header() + check_fortran_header();
  /* The runtime starts itself when the library is loaded. Upper-case Fortran name, complex scalar by
   * pointer: (1+2i)*(3-1i) + (0.5+0i) = 5.5+5i. The record as C lays it out, filled by the library. */
  const int n = 1, inc = 1;
  const float alpha[2] = {1.0f, 2.0f}, x[2] = {3.0f, -1.0f};
  float y[2] = {0.5f, 0.0f};
  KOVRAVersionRecord record;
  const char* text = NULL;
  char version[128];
  CAXPY(&n, alpha, x, &inc, y, &inc);
  KOVRAVersionString(&text);
  failures += vesk_worker_count() < 1 || y[0] != 5.5f || y[1] != 5.0f || KOVRAVersionInfo(&record) != 0;
  snprintf(version, sizeof version, "%s Version %d.%d.%d", record.name, record.major, record.minor, record.patch);
  failures += text == NULL || strcmp(text, version) != 0 || record.extra != 1 || record.date == NULL;
  if (failures) fprintf(stderr, "%d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
