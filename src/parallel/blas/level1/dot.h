// DOT, DOTU and DOTC: the accumulation loop that every dot product of the library runs (DSDOT and
// SDSDOT too), the serial form, the records dot_object and dotc_object with their tile bodies, and the
// routine behind the SDOT, DDOT, CDOTU, ZDOTU, CDOTC and ZDOTC entries (both forms).
#pragma once

#include <cmath>
#include <cstddef>
#include <type_traits>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "parallel/blas/level1/reduction.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// acc plus the products of logical elements [begin, end) of two n-element vectors, in ascending order.
// Real elements are widened to the accumulator's type A and fused into it one by one, so the result is
// the same whether the range is a whole serial call or one tile. Complex elements take the full complex
// product (of conj(x) for DOTC) and two plain additions, one per part.
template <bool Conjugate, typename A, typename T>
A dot_range(A acc, int n, const T* x, int incx, const T* y, int incy, int begin, int end) {
  walk_pair(n, incx, incy, begin, end, [&](std::ptrdiff_t ix, std::ptrdiff_t iy) {
    if constexpr (is_complex_v<T>) acc = helper::add(acc, helper::cmul(helper::CONJG(Conjugate, x[ix]), y[iy]));
    else acc = std::fma(A(x[ix]), A(y[iy]), acc);
  });
  return acc;
}

// The serial form: the loop of one tile over the whole vector.
template <typename T, bool Conjugate = false>
T dot_serial(int n, const T* x, int incx, const T* y, int incy) {
  return dot_range<Conjugate>(T{}, n, x, incx, y, incy, 0, n);
}

// The call's arguments as given, shared read-only by the tiles; `results` has one entry per worker,
// and tile t (the task's column index) stores its partial dot, accumulated from zero in the entry's
// type P, in results[t]. dot_object, dotc_object and sdot_object (dsdot.h) are this record under their
// routine's name.
template <typename P, typename T, bool Conjugate>
struct dot_partials {
  P* results;
  int n;
  const T* x;
  int incx;
  const T* y;
  int incy;

  void run_tile(threading::scratch*, int s, int e, int tile, int) const {
    results[tile] = dot_range<Conjugate>(P{}, n, x, incx, y, incy, s, e);
  }
};

template <typename T> struct dot_object : dot_partials<T, T, false> {};
template <typename T> struct dotc_object : dot_partials<T, T, true> {};

// x^T y, or conj(x)^T y with Conjugate; zero for n < 1. Increments of any sign, zero included, follow
// the logical element rule. The parallel result folds the tiles' partials in tile order, so it depends
// on the number of tiles but not on which worker ran which tile.
template <typename T, bool Conjugate = false>
T dot(int n, const T* x, int incx, const T* y, int incy) {
  if (n < 1) return T{};
  if (n <= serial_cutoff) return dot_serial<T, Conjugate>(n, x, incx, y, incy);
  const auto kernel = kernels::get_kernel<T>();
  std::conditional_t<Conjugate, dotc_object<T>, dot_object<T>> record{{nullptr, n, x, incx, y, incy}};
  return reduce_in_tiles<T>(record, kernel->tile_m,
                            [](const T* partials, int tiles) { return sum_partials(T{}, partials, tiles); });
}

template <typename T>
T dotc(int n, const T* x, int incx, const T* y, int incy) {
  return dot<T, true>(n, x, incx, y, incy);
}

}  // namespace kovra::parallel::blas
