// NRM2, the Euclidean norm as a scaled sum of squares: serial form, the record nrm2_object with its
// tile body, and the routine behind the SNRM2, DNRM2, SCNRM2 and DZNRM2 entries (both forms).
#pragma once

#include <cmath>
#include <cstddef>

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/reduction.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Takes a term of size a into the norm scale * sqrt(ssq); scale is the largest term so far, so no
// square overflows.
template <typename R>
inline void add_scaled_square(R a, R& scale, R& ssq) {
  if (a > scale) {
    const R r = scale / a;
    scale = a;
    ssq = std::fma(r * r, ssq, R{1});
  } else {
    const R r = a / scale;
    ssq = std::fma(r, r, ssq);
  }
}

// The serial form, also the body of a tile and the fold. A non-zero real part adds a term, and so does
// a non-zero imaginary part, but both terms take their size from the real part: the norm of (3, 4) is
// 3*sqrt(2), and (0, 5) met while scale is still 0 forms 0/0, a NaN norm. An all-zero vector gives 0
// without a division.
template <typename T>
real_t<T> nrm2_serial(int len, const T* x, int incx) {
  using R = real_t<T>;
  R scale = 0;
  R ssq = 1;
  walk_forward(len, incx, [&](std::ptrdiff_t i) {
    const R re = helper::REAL(x[i]);
    if (re != 0) add_scaled_square(helper::ABS(re), scale, ssq);
    if (helper::IMAG(x[i]) != 0) add_scaled_square(helper::ABS(re), scale, ssq);
  });
  return scale * helper::SQRT(ssq);
}

template <typename T, typename R>
struct nrm2_object {
  R* results;
  int n;
  const T* x;
  int incx;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    results[tile] = nrm2_serial(e - s, x + std::ptrdiff_t{s} * incx, incx);
  }
};

// Zero for n < 1 or incx < 1. A parallel call folds the tiles' norms by taking their norm afresh, so
// it differs from the serial result by rounding only.
template <typename T>
real_t<T> nrm2(int n, const T* x, int incx) {
  using R = real_t<T>;
  if (n < 1 || incx < 1) return R{0};
  if (n <= serial_cutoff) return nrm2_serial(n, x, incx);
  const auto kernel = kernels::get_kernel<T>();
  nrm2_object<T, R> record{nullptr, n, x, incx};
  return reduce_in_tiles<R>(record, kernel->tile_m,
                            [](const R* partials, int tiles) { return nrm2_serial(tiles, partials, 1); });
}

}  // namespace kovra::parallel::blas
