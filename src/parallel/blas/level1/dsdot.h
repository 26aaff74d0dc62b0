// DSDOT and SDSDOT: dot products of float vectors accumulated in double. Serial forms, the records
// sdot_object and sdot_object_b with their tile bodies, and the routines behind both entry forms. The
// grain of a launch comes from the float kernel.
#pragma once

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/reduction.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

template <typename T, typename W>
W dsdot_serial(int n, const T* x, int incx, const T* y, int incy) {
  return dot_range<false>(W{0}, n, x, incx, y, incy, 0, n);
}

// sb is the accumulator's starting value, rounded to T once at the end.
template <typename T, typename W>
T sdsdot_serial(int n, T sb, const T* x, int incx, const T* y, int incy) {
  return static_cast<T>(dot_range<false>(static_cast<W>(sb), n, x, incx, y, incy, 0, n));
}

// DSDOT: each tile stores its wide partial.
template <typename T, typename W> struct sdot_object : dot_partials<W, T, false> {};

// SDSDOT: every tile starts from sb and stores its partial rounded to T, so sb enters the result once
// per tile and once more in the fold.
template <typename T, typename W>
struct sdot_object_b {
  T* results;
  int n;
  T sb;
  const T* x;
  int incx;
  const T* y;
  int incy;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    results[tile] = static_cast<T>(dot_range<false>(static_cast<W>(sb), n, x, incx, y, incy, s, e));
  }
};

// Sum of x[i]*y[i] formed in W; zero for n < 1.
template <typename T, typename W>
W dsdot(int n, const T* x, int incx, const T* y, int incy) {
  if (n < 1) return W{0};
  if (n <= serial_cutoff) return dsdot_serial<T, W>(n, x, incx, y, incy);
  const auto kernel = kernels::get_kernel<T>();
  sdot_object<T, W> record{{nullptr, n, x, incx, y, incy}};
  return reduce_in_tiles<W>(record, kernel->tile_m,
                            [](const W* partials, int tiles) { return sum_partials(W{0}, partials, tiles); });
}

// sb plus the dot product, formed in W; sb for n < 1. A parallel call returns sb*(tiles + 1) plus the
// dot product: sb starts every tile and the fold, which adds the rounded partials in T.
template <typename T, typename W>
T sdsdot(int n, T sb, const T* x, int incx, const T* y, int incy) {
  if (n < 1) return sb;
  if (n <= serial_cutoff) return sdsdot_serial<T, W>(n, sb, x, incx, y, incy);
  const auto kernel = kernels::get_kernel<T>();
  sdot_object_b<T, W> record{nullptr, n, sb, x, incx, y, incy};
  return reduce_in_tiles<T>(record, kernel->tile_m,
                            [sb](const T* partials, int tiles) { return sum_partials(sb, partials, tiles); });
}

}  // namespace kovra::parallel::blas
