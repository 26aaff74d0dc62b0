// AXPBY, y := alpha*x + beta*y (an extension of the usual set): serial routine, per-call record,
// routine. No kernel operation is involved; the kernel is fetched only for the grain of the launch.
#pragma once

#include <cmath>
#include <cstddef>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Logical elements [begin, end) of an n-element update, ascending. The scalars choose the formula once
// for the whole range (a complex scalar is zero only if both parts are):
//   alpha != 0              real: fma(alpha, x, beta*y) with beta*y rounded on its own, so a NaN or
//                           infinity in y survives beta == 0; complex: two full products, one addition
//   alpha == 0, beta != 0   y *= beta, x unread
//   alpha == 0, beta == 0   y = 0, neither vector read
template <typename T>
void axpby_serial(int n, T alpha, const T* x, int incx, T beta, T* y, int incy, int begin, int end) {
  if (!helper::is_zero(alpha)) {
    walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) {
      y[iy] = helper::multiply_add(alpha, x[ix], helper::mul(beta, y[iy]));
    });
  } else if (!helper::is_zero(beta)) {
    walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t, std::ptrdiff_t iy) { y[iy] = helper::mul(y[iy], beta); });
  } else {
    walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t, std::ptrdiff_t iy) { y[iy] = T{}; });
  }
}

template <typename T>
struct axpby_object {
  T alpha;
  int n;
  const T* x;
  int incx;
  T beta;
  T* y;
  int incy;

  void run_tile(threading::scratch*, int s, int e, int, int) const {
    axpby_serial(n, alpha, x, incx, beta, y, incy, s, e);
  }
};

// No quick return on the scalars: even alpha == beta == 0 writes y.
template <typename T>
void axpby(int n, T alpha, const T* x, int incx, T beta, T* y, int incy) {
  if (n < 1) return;
  if (n <= serial_cutoff) {
    axpby_serial(n, alpha, x, incx, beta, y, incy, 0, n);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const axpby_object<T> record{alpha, n, x, incx, beta, y, incy};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
