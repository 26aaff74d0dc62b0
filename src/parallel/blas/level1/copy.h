// COPY, y := x: serial routine, per-call record, routine. No kernel operation is involved; the kernel is
// fetched only for the grain of the launch.
#pragma once

#include <cstddef>

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Logical elements [begin, end) of an n-element copy, ascending.
template <typename T>
void copy_serial(int n, const T* x, int incx, T* y, int incy, int begin, int end) {
  walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) { y[iy] = x[ix]; });
}

template <typename T>
struct copy_object {
  int n;
  const T* x;
  int incx;
  T* y;
  int incy;

  void run_tile(threading::scratch*, int s, int e, int, int) const { copy_serial(n, x, incx, y, incy, s, e); }
};

// Overlapping x and y are the caller's concern.
template <typename T>
void copy(int n, const T* x, int incx, T* y, int incy) {
  if (n < 1) return;
  if (n <= serial_cutoff) {
    copy_serial(n, x, incx, y, incy, 0, n);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const copy_object<T> record{n, x, incx, y, incy};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
