// ROT, (x, y) := (c*x + s*y, c*y - s*x) with real c and s: the element step, the per-call record with
// its tile body, and the routine behind SROT, DROT, CSROT and ZDROT (both forms). No kernel operation is
// involved; the kernel is fetched only for the grain of the launch.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// One pair of elements, both sides computed from the values before the step. The inner products are
// rounded and the outer step is one fused multiply-add; a complex element is rotated part by part.
template <typename R>
inline void rot_step(R& x, R& y, R c, R s) {
  const R x0 = x, y0 = y;
  x = std::fma(c, x0, s * y0);
  y = std::fma(c, y0, -(s * x0));
}

template <typename R>
inline void rot_step(std::complex<R>& x, std::complex<R>& y, R c, R s) {
  const std::complex<R> x0 = x, y0 = y;
  y = {std::fma(-s, x0.real(), c * y0.real()), std::fma(-s, x0.imag(), c * y0.imag())};
  x = {std::fma(s, y0.real(), c * x0.real()), std::fma(s, y0.imag(), c * x0.imag())};
}

// Logical elements [begin, end) of the n-element call, ascending: the serial routine runs it over
// [0, n) and every tile over its own range, so the two agree bit for bit.
template <typename T, typename R>
void rot_range(int n, T* x, int incx, T* y, int incy, R c, R s, int begin, int end) {
  walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) { rot_step(x[ix], y[iy], c, s); });
}

// The call's arguments as given, shared read-only by all tiles.
template <typename T, typename R>
struct rot_object {
  int n;
  T* x;
  int incx;
  T* y;
  int incy;
  R c;
  R s;

  // Logical elements [s, e); the column range is the whole (0, 1) and unused.
  void run_tile(threading::scratch*, int s_begin, int e, int, int) const {
    rot_range(n, x, incx, y, incy, c, s, s_begin, e);
  }
};

// There is no quick return on c or s: c = 1, s = 0 still rewrites both vectors.
template <typename T>
void rot(int n, T* x, int incx, T* y, int incy, real_t<T> c, real_t<T> s) {
  if (n < 1) return;
  if (n <= serial_cutoff) {
    rot_range(n, x, incx, y, incy, c, s, 0, n);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const rot_object<T, real_t<T>> record{n, x, incx, y, incy, c, s};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
