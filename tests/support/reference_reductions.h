// Reference loops for the Level 1 reductions on vectors of logical elements: the tiles a parallel call
// is cut into, the accumulation of one range, the sum of absolute parts and the plain index scan.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "helper/helper.h"
#include "reference_level1.h"
#include "values.h"

namespace kovra_test {

struct tile_bounds {
  int begin, end;
};

// Equal shares of whole grains, the remainder handed out a grain at a time from the first tile, at most
// one tile per worker.
inline std::vector<tile_bounds> reduction_tiles(int n, int grain, int workers) {
  const int share = grain * (n / (grain * workers));
  int rest = n - share * workers;
  std::vector<tile_bounds> tiles;
  for (int t = 0, begin = 0; t < workers && begin < n; ++t) {
    const int extra = std::min(rest, grain);
    rest -= extra;
    tiles.push_back({begin, begin + share + extra});
    begin += share + extra;
  }
  return tiles;
}

template <typename T>
std::vector<T> slice(const std::vector<T>& v, tile_bounds t) {
  return std::vector<T>(v.begin() + t.begin, v.begin() + t.end);
}

// tile(bounds) for every tile of an n-element call, in tile order.
template <typename Tile>
auto tile_partials(int n, int grain, int workers, Tile tile) {
  std::vector<decltype(tile(tile_bounds{}))> partials;
  for (tile_bounds t : reduction_tiles(n, grain, workers)) partials.push_back(tile(t));
  return partials;
}

// acc + x[i]*y[i] (conj(x[i])*y[i] with `conjugate`) in order: a real product fused into the
// accumulator of type A, a complex one rounded and added part by part.
template <typename A, typename T>
A reference_dot(A acc, const std::vector<T>& x, const std::vector<T>& y, bool conjugate = false) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    if constexpr (is_complex_v<T>) acc = reference_add(acc, reference_mul(helper::CONJG(conjugate, x[i]), y[i]));
    else acc = std::fma(A(x[i]), A(y[i]), acc);
  }
  return acc;
}

template <typename T>
real_t<T> reference_asum(const std::vector<T>& x) {
  real_t<T> sum = 0;
  for (const T& v : x) sum += std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v));
  return sum;
}

// The first position whose |Re| + |Im| is strictly larger (smaller) than all before it; 0 for n < 2.
template <typename T>
int reference_index(const std::vector<T>& x, bool largest) {
  auto measure = [](const T& v) { return std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v)); };
  int pos = 0;
  for (std::size_t i = 1; i < x.size(); ++i) {
    const real_t<T> m = measure(x[i]), best = measure(x[pos]);
    if (largest ? best < m : best > m) pos = static_cast<int>(i);
  }
  return pos;
}

}  // namespace kovra_test
