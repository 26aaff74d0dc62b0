// SCAL, x := alpha*x, in its six forms: scal<T, T> for the four element types and scal<T, R> for a real
// scale on a complex vector (CSSCAL, ZDSCAL). Serial routine, per-call record, routine.
//
// Unlike every other Level 1 routine, a zero or negative increment is a quick return here, and a
// vector of at most serial_cutoff elements is scaled twice (see scal below).
#pragma once

#include <cstddef>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// x holds n elements at increment incx > 0. The kernel is fetched whatever path runs.
template <typename T, typename A>
void scal_serial(int n, A alpha, T* x, int incx) {
  if (n < 1 || incx < 1) return;
  const auto kernel = kernels::get_kernel<T>();
  const std::ptrdiff_t end = std::ptrdiff_t{n} * incx;
  // A zero scale stores zeros without reading x, so NaN and infinity in x do not survive it.
  if (helper::is_zero(alpha)) {
    const T zero{};
    if (incx == 1) kernel->scal_kernel(n, &zero, x);
    else for (std::ptrdiff_t i = 0; i < end; i += incx) x[i] = zero;
    return;
  }
  // A real scale on a complex vector acts as the complex value (alpha, 0), in the kernel and as the left
  // factor of the full complex product, so a non-finite part of x may spread to the other part.
  const T scale = T(alpha);
  if (incx == 1) kernel->scal_kernel(n, &scale, x);
  else for (std::ptrdiff_t i = 0; i < end; i += incx) x[i] = helper::mul(scale, x[i]);
}

template <typename T, typename A>
struct scal_object {
  int n;
  A alpha;
  T* x;
  int incx;

  // incx is positive here (the routine returned otherwise), so logical element s is at s*incx.
  void run_tile(threading::scratch*, int s, int e, int, int) const {
    scal_serial(e - s, alpha, x + std::ptrdiff_t{s} * incx, incx);
  }
};

template <typename T, typename A>
void scal(int n, A alpha, T* x, int incx) {
  if (n < 1 || incx < 1) return;
  // Deliberately no return after the serial pass: a vector of at most serial_cutoff elements is scaled
  // here and again by the launch below, and ends as alpha*alpha*x. Callers of this library depend on
  // that result, so it is kept; it also makes this the one small Level 1 call that needs a running
  // runtime, and without one the launch throws after x has been scaled once.
  if (n <= serial_cutoff) scal_serial(n, alpha, x, incx);
  const auto kernel = kernels::get_kernel<T>();
  const scal_object<T, A> record{n, alpha, x, incx};
  threading::launch_grid(n, kernel->tile_m, 1, 1, &record);
}

}  // namespace kovra::parallel::blas
