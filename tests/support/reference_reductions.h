// Reference loops for the Level 1 reductions on plain arrays of logical elements, written from the
// arithmetic the library promises: the accumulation of one range, the tiles a parallel call is cut
// into, and the fold of the tiles' partials in tile order.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "helper/helper.h"
#include "reference_level1.h"
#include "values.h"

namespace kovra::testing {

struct tile_bounds {
  int begin, end;
};

// The tiles of an n-element launch with the given grain on `workers` workers: equal shares of whole
// grains, the remainder handed out a grain at a time from the first tile, at most one tile per worker.
inline std::vector<tile_bounds> reduction_tiles(int n, int grain, int workers) {
  const int share = grain * (n / (grain * workers));
  int rest = n - share * workers;
  std::vector<tile_bounds> tiles;
  int begin = 0;
  for (int t = 0; t < workers && begin < n; ++t) {
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

// acc + sum of x[i]*y[i] (conj(x[i])*y[i] with `conjugate`), in order: a real product is fused into
// the accumulator of type A, a complex one rounded and added part by part.
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

// The scaled sum of squares with the library's term rule: a non-zero real part and a non-zero
// imaginary part each add a term of size |Re v|.
template <typename T>
real_t<T> reference_nrm2(const std::vector<T>& x) {
  using R = real_t<T>;
  R scale = 0, ssq = 1;
  auto add = [&](R a) {
    if (a > scale) {
      ssq = std::fma((scale / a) * (scale / a), ssq, R{1});
      scale = a;
    } else {
      ssq = std::fma(a / scale, a / scale, ssq);
    }
  };
  for (const T& v : x) {
    if (helper::REAL(v) != 0) add(std::fabs(helper::REAL(v)));
    if (helper::IMAG(v) != 0) add(std::fabs(helper::REAL(v)));
  }
  return scale * std::sqrt(ssq);
}

// The plain index scan: the first position whose |Re| + |Im| is strictly larger (smaller) than all
// before it; position 0 for fewer than two elements.
template <typename T>
int reference_index(const std::vector<T>& x, bool largest) {
  if (x.size() < 2) return 0;
  auto measure = [](const T& v) { return std::fabs(helper::REAL(v)) + std::fabs(helper::IMAG(v)); };
  real_t<T> best = measure(x[0]);
  int pos = 0;
  for (std::size_t i = 1; i < x.size(); ++i) {
    const real_t<T> m = measure(x[i]);
    if (largest ? best < m : best > m) {
      best = m;
      pos = static_cast<int>(i);
    }
  }
  return pos;
}

// A reduction run in tiles: `tile` gives the partial of one slice of logical elements, `fold` folds
// the partials in tile order.
template <typename Partial, typename Tile, typename Fold>
auto reference_in_tiles(int n, int grain, int workers, Tile tile, Fold fold) {
  std::vector<Partial> partials;
  for (tile_bounds t : reduction_tiles(n, grain, workers)) partials.push_back(tile(t));
  return fold(partials);
}

}  // namespace kovra::testing
