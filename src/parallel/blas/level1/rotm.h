// ROTM, (x, y) := H (x, y) with the modified rotation H of ROTMG: the element step, the per-call record
// with its tile body, and the routine behind SROTM and DROTM (both forms). No kernel operation is
// involved; the kernel is fetched only for the grain of the launch.
#pragma once

#include <cmath>
#include <cstddef>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// param is (flag, h11, h21, h12, h22). The sign of the flag picks the form of H, and only the entries
// that form uses are read: flag > 0 reads h11, h22 (H = [h11 1; -1 h22]); flag == 0 reads h21, h12
// (H = [1 h12; h21 1]); flag < 0 reads all four. Each side is one fused multiply-add on the values
// before the step.
template <typename T>
inline void rotm_step(T& x, T& y, const T* param) {
  const T x0 = x, y0 = y;
  const T flag = param[0];
  if (flag < 0) {
    x = std::fma(x0, param[1], y0 * param[3]);
    y = std::fma(x0, param[2], y0 * param[4]);
  } else if (flag == 0) {
    x = std::fma(y0, param[3], x0);
    y = std::fma(x0, param[2], y0);
  } else {
    x = std::fma(x0, param[1], y0);
    y = std::fma(param[4], y0, -x0);
  }
}

// Logical elements [begin, end) of the n-element call, ascending; the serial routine runs [0, n) and
// every tile its own range, so the two agree bit for bit.
template <typename T>
void rotm_range(int n, T* x, int incx, T* y, int incy, const T* param, int begin, int end) {
  walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) { rotm_step(x[ix], y[iy], param); });
}

// The call's arguments as given, shared read-only by all tiles; param points at the caller's array.
template <typename T>
struct rotm_object {
  int n;
  T* x;
  int incx;
  T* y;
  int incy;
  const T* param;

  // Logical elements [s, e); the column range is the whole (0, 1) and unused.
  void run_tile(threading::scratch*, int s, int e, int, int) const { rotm_range(n, x, incx, y, incy, param, s, e); }
};

// The flag is read first, before n is tested; a flag of -2 (H the identity) returns before anything
// else of param is read.
template <typename T>
void rotm(int n, T* x, int incx, T* y, int incy, const T* param) {
  const T flag = param[0];
  if (n < 1 || flag + 2 == 0) return;
  if (n <= serial_cutoff) {
    rotm_range(n, x, incx, y, incy, param, 0, n);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const rotm_object<T> record{n, x, incx, y, incy, param};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
