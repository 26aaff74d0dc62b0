// AXPY, y := alpha*x + y: the serial routine, the per-call record with its tile body, and the routine
// that the SAXPY, DAXPY, CAXPY and ZAXPY entries (both forms) call.
#pragma once

#include <cmath>
#include <cstddef>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Logical elements [begin, end) of an n-element update, ascending. A real element is one fused
// multiply-add, so its value does not depend on whether it ran serially or in which tile; a complex
// element is the full complex product followed by one addition per part.
template <typename T>
void axpy_strided(int n, T alpha, const T* x, int incx, T* y, int incy, int begin, int end) {
  walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) {
    y[iy] = helper::multiply_add(alpha, x[ix], y[iy]);
  });
}

// The serial routine. Other routines call it directly, so it repeats the quick returns.
template <typename T>
void axpy_serial(int n, T alpha, const T* x, int incx, T* y, int incy) {
  if (n < 1 || helper::is_zero(alpha)) return;
  if (incx == 1 && incy == 1) kernels::get_kernel<T>()->axpy_kernel(n, &alpha, x, y);
  else axpy_strided(n, alpha, x, incx, y, incy, 0, n);
}

// The call's arguments as given (increments too), shared read-only by all tiles. The record holds no
// kernel: each tile fetches its own reference.
template <typename T>
struct axpy_object {
  T alpha;
  int n;
  const T* x;
  int incx;
  T* y;
  int incy;

  // Logical elements [s, e); the column range is the whole (0, 1) and unused. With unit increments
  // logical element s is array element s, so the kernel gets the slice directly.
  void run_tile(threading::scratch*, int s, int e, int, int) const {
    if (e - s < 1 || helper::is_zero(alpha)) return;
    if (incx == 1 && incy == 1) kernels::get_kernel<T>()->axpy_kernel(e - s, &alpha, x + s, y + s);
    else axpy_strided(n, alpha, x, incx, y, incy, s, e);
  }
};

// A zero alpha (both parts, -0 included; NaN is not zero) returns before x is read.
template <typename T>
void axpy(int n, T alpha, const T* x, int incx, T* y, int incy) {
  if (n < 1 || helper::is_zero(alpha)) return;
  if (n <= serial_cutoff) {
    axpy_serial(n, alpha, x, incx, y, incy);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const axpy_object<T> record{alpha, n, x, incx, y, incy};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
