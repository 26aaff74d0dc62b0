// A C++ program on the umbrella header kovra/kovra.h, built as C++11 as an older application would be,
// and linked against the shared library: the C declarations and the runtime's C++ calls.
#include <kovra/kovra.h>

#include <complex>
#include <cstdio>

int main() {
  int failures = 0;

  failures += vesk::worker_count() != vesk_worker_count() || vesk::worker_count() < 1;

  // std::complex is laid out as (real, imaginary), as the complex entries read it.
  // (0+1i)*(2+3i) + (1+1i) = -2+3i.
  const std::complex<double> alpha(0.0, 1.0);
  const std::complex<double> x[1] = {{2.0, 3.0}};
  std::complex<double> y[1] = {{1.0, 1.0}};
  cblas_zaxpy(1, &alpha, x, 1, y, 1);
  failures += y[0] != std::complex<double>(-2.0, 3.0);

  if (failures) std::fprintf(stderr, "%d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
