// ASUM, the sum of |Re v| + |Im v| over a vector: serial form, the record asum_object with its tile
// body, and the routine behind the SASUM, DASUM, SCASUM and DZASUM entries (both forms).
#pragma once

#include <cstddef>

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/cabs1.h"
#include "parallel/blas/level1/reduction.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// The serial form, also the body of a tile and the fold: one running sum from 0 in ascending order;
// each element adds its |Re| + |Im|, summed first, so a complex element adds one rounded value.
template <typename T>
real_t<T> asum_serial(int len, const T* x, int incx) {
  real_t<T> sum = 0;
  walk_forward(len, incx, [&](std::ptrdiff_t i) { sum += cabs1(x[i]); });
  return sum;
}

template <typename T, typename R>
struct asum_object {
  R* results;
  int n;
  const T* x;
  int incx;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    results[tile] = asum_serial(e - s, x + std::ptrdiff_t{s} * incx, incx);
  }
};

// Zero for n < 1 or incx < 1. The partials are folded by the same sum, as a real vector.
template <typename T>
real_t<T> asum(int n, const T* x, int incx) {
  using R = real_t<T>;
  if (n < 1 || incx < 1) return R{0};
  if (n <= serial_cutoff) return asum_serial(n, x, incx);
  const auto kernel = kernels::get_kernel<T>();
  asum_object<T, R> record{nullptr, n, x, incx};
  return reduce_in_tiles<R>(record, kernel->tile_m,
                            [](const R* partials, int tiles) { return asum_serial(tiles, partials, 1); });
}

}  // namespace kovra::parallel::blas
