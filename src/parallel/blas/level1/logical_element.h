// Where the logical elements of a Level 1 vector lie in memory, and a walk over a range of them that
// every Level 1 loop (serial or inside a tile) goes through.
//
// Logical element i of an n-element vector with increment inc stands at i*inc for inc > 0 and at
// (i + 1 - n)*inc for inc <= 0, so a negative increment walks the array backwards from its far end and
// an increment of 0 reads the first array element n times. A tile over logical elements [begin, end)
// takes its start from the whole call's n, never from its own length, so that tiles of one call meet
// exactly. Offsets are computed in std::ptrdiff_t: n*inc overflows int long before memory runs out.
#pragma once

#include <cstddef>

namespace kovra::parallel::blas {

inline std::ptrdiff_t logical_offset(int i, int n, int inc) {
  const std::ptrdiff_t step = inc;
  return inc > 0 ? std::ptrdiff_t{i} * step : (std::ptrdiff_t{i} + 1 - n) * step;
}

// Calls visit(ix, iy) with the array offsets of logical elements begin, begin + 1, ..., end - 1 of two
// n-element vectors. Unit increments get a plain indexed loop that the compiler can vectorise.
template <typename Visit>
inline void walk_pair(int n, int incx, int incy, int begin, int end, Visit&& visit) {
  if (incx == 1 && incy == 1) {
    for (std::ptrdiff_t i = begin; i < end; ++i) visit(i, i);
    return;
  }
  std::ptrdiff_t ix = logical_offset(begin, n, incx);
  std::ptrdiff_t iy = logical_offset(begin, n, incy);
  for (int i = begin; i < end; ++i, ix += incx, iy += incy) visit(ix, iy);
}

}  // namespace kovra::parallel::blas
