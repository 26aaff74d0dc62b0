// The scan of the index searches IAMAX and IAMIN: the 0-based position of the first element whose
// measure |Re v| + |Im v| is the largest (or smallest) of the vector, the order chosen by a type.
//
// Its meaning is the plain loop: best = measure(0), pos = 0; for i = 1, 2, ...: if measure(i) is
// strictly better than best, it becomes best and i becomes pos. So the first of equal measures wins,
// a NaN never wins, and a NaN in first place is never displaced. The scan below gives exactly that
// position while reading the vector once, in blocks: a block's best measure is found over several
// independent lanes, so that no comparison waits on the one before (picking the better of two values
// is exact, so any grouping gives the same block best), and only a block whose best beats the running
// best is walked again, from cache, for the first position that holds it.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>

#include "helper/helper.h"
#include "parallel/blas/level1/cabs1.h"

namespace kovra::parallel::blas {

// IAMAX: a measure is better when it is larger. `worst` loses to every measure and to itself.
struct largest_first {
  template <typename R> static bool better(R candidate, R best) { return best < candidate; }
  template <typename R> static constexpr R worst = -std::numeric_limits<R>::infinity();
};

// IAMIN: a measure is better when it is smaller.
struct smallest_first {
  template <typename R> static bool better(R candidate, R best) { return best > candidate; }
  template <typename R> static constexpr R worst = std::numeric_limits<R>::infinity();
};

namespace detail {

// Elements per block: a block is walked a second time only when it holds a new best, and then it is
// still in the first-level cache (512 complex<double> take 8 KiB).
inline constexpr int scan_block = 512;

// Independent lanes of the block scan: 64 bytes of measures, enough to hide the latency of a compare.
template <typename R> inline constexpr int scan_lanes = 64 / sizeof(R);

// The better of kept and candidate; a NaN candidate never replaces what is kept.
template <typename Order, typename R>
inline R pick(R kept, R candidate) {
  return Order::template better<R>(candidate, kept) ? candidate : kept;
}

// The best measure of the elements at at(b), ..., at(end - 1), ignoring NaNs; Order::worst if all are NaN.
template <typename Order, typename T, typename At>
real_t<T> block_best(int b, int end, At at) {
  using R = real_t<T>;
  constexpr int lanes = scan_lanes<R>;
  R lane[lanes];
  for (R& l : lane) l = Order::template worst<R>;
  int i = b;
  for (; i + lanes <= end; i += lanes)
    for (int j = 0; j < lanes; ++j) lane[j] = pick<Order>(lane[j], cabs1(at(i + j)));
  for (; i < end; ++i) lane[0] = pick<Order>(lane[0], cabs1(at(i)));
  R best = lane[0];
  for (int j = 1; j < lanes; ++j) best = pick<Order>(best, lane[j]);
  return best;
}

template <typename Order, typename T, typename At>
int scan_blocks(int len, At at) {
  using R = real_t<T>;
  R best = cabs1(at(0));
  if (std::isnan(best)) return 0;
  int pos = 0;
  for (int b = 1; b < len; b += scan_block) {
    const int end = len - b > scan_block ? b + scan_block : len;
    const R candidate = block_best<Order, T>(b, end, at);
    if (!Order::template better<R>(candidate, best)) continue;
    best = candidate;
    pos = b;
    while (!(cabs1(at(pos)) == best)) ++pos;
  }
  return pos;
}

}  // namespace detail

// The 0-based position of the first best element of x[0], x[inc], ..., x[(len - 1)*inc]; 0 for
// len < 2 or inc < 1.
template <typename Order, typename T>
int index_scan(int len, const T* x, int inc) {
  if (len < 2 || inc < 1) return 0;
  if (inc == 1) return detail::scan_blocks<Order, T>(len, [x](int i) { return x[i]; });
  return detail::scan_blocks<Order, T>(len, [x, inc](int i) { return x[std::ptrdiff_t{i} * inc]; });
}

}  // namespace kovra::parallel::blas
