// The serial rank-k update of a real triangle with tiles of C held across the depth: the fast form of
// small_syrk's loops for float and double. Every element of C comes out bit for bit as the loops give it.
//
// Each element C(i, j) of the triangle is a chain of its own: prepared by beta, then for trans 'N' one fused
// multiply-add per l in order, (alpha * A(j, l)) * A(i, l), skipped where A(j, l) is exactly 0; for 'T' a
// sum from +0 of A(l, i) * A(l, j) over l in order, then alpha and beta applied. Chains of different elements
// never meet, so a tile of `rows` by `cols` elements runs its chains side by side: its rows along vectors,
// its columns by broadcasts. A tile that crosses the diagonal computes its elements outside the triangle
// too, from rows of A that exist, and neither reads nor writes them in C.
//
//      uplo 'L', one column block            uplo 'U', one column block
//        j0     j0 + cols                      j0     j0 + cols
//   j0  +-+----+  tile from the top,        0 +------+  tiles from row 0 down
//       |  \   |  masked                      |      |
//       |   \  |                              +------+  last tile, masked
//       +------+  tiles from row n up         |  \   |
//       |      |                              +------+
//    n  +------+
//
// Column blocks start at column 0 for 'L' and end at column n for 'U', so the spare columns (fewer than
// `cols`) are the short ones at the triangle's point; they and rows no whole tile reaches take the loops'
// own steps.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "helper/helper.h"
#include "helper/vector32.h"
#include "parallel/blas/level3/rank_update.h"

namespace kovra::parallel::blas {

// A vector of 32 bytes of T (helper/vector32.h), wrapped in a struct so that it crosses the small inline
// helpers below by value as an aggregate, on targets without AVX too.
template <typename T>
struct lanes {
  typename helper::vector32<T>::lanes v;
};
template <typename T>
inline constexpr int lane_count = static_cast<int>(sizeof(lanes<T>) / sizeof(T));

template <typename T>
inline lanes<T> load_lanes(const T* p) {
  lanes<T> x;
  std::memcpy(&x, p, sizeof x);
  return x;
}

// fma(x, y, acc) in every lane, with a scalar first or second factor.
template <typename T>
inline lanes<T> fma_lanes(T x, lanes<T> y, lanes<T> acc) {
  lanes<T> r;
  for (int e = 0; e < lane_count<T>; ++e) r.v[e] = std::fma(x, y.v[e], acc.v[e]);
  return r;
}
template <typename T>
inline lanes<T> fma_lanes(lanes<T> x, T y, lanes<T> acc) {
  lanes<T> r;
  for (int e = 0; e < lane_count<T>; ++e) r.v[e] = std::fma(x.v[e], y, acc.v[e]);
  return r;
}

template <typename T>
struct rank_update_tile {
  // Two vectors of rows (a top and a bottom half, named apart: GCC keeps them in registers only so) by six
  // columns: twelve accumulators, two rows of A and a broadcast in the sixteen vector registers of AVX2.
  static constexpr int rows = 2 * lane_count<T>;
  static constexpr int cols = 6;
  // Steps of l per pass over the triangle: a pass's slice of A (at most 127 rows of a task) stays in L2, its
  // factors in L1, and reloading a tile costs one load and store per `depth` multiply-adds of an element.
  static constexpr int depth = 128;
  static constexpr unsigned all_taken = (1u << cols) - 1;
  using sums = lanes<T>[cols][2];
};

// Whether C(i, j) lies in the triangle: 'U' stops above the diagonal, 'L' starts on it.
inline bool in_triangle(bool upper, int i, int j) { return upper ? i < j : i >= j; }

// The factors alpha * A(j0 + c, l) of one column block over one slice of the depth ('N'), and which of them
// the loops take: bit c of taken[l] is set where A(j0 + c, l) is not 0.
template <typename T>
struct column_factors {
  T factor[rank_update_tile<T>::depth][rank_update_tile<T>::cols];
  unsigned taken[rank_update_tile<T>::depth];

  void gather(int depth, T alpha, const T* a, int lda, int j0) {
    for (int l = 0; l < depth; ++l) {
      const T* al = a + j0 + std::ptrdiff_t{l} * lda;
      taken[l] = 0;
      for (int c = 0; c < rank_update_tile<T>::cols; ++c) {
        factor[l][c] = alpha * al[c];
        if (al[c] != 0) taken[l] |= 1u << c;
      }
    }
  }
};

// The tile's elements of C in the triangle into `sum`, the others set to 0, and back.
template <typename T>
void load_tile(bool upper, int i0, int j0, const T* c, int ldc, typename rank_update_tile<T>::sums& sum) {
  for (int q = 0; q < rank_update_tile<T>::cols; ++q)
    for (int r = 0; r < rank_update_tile<T>::rows; ++r)
      sum[q][r / lane_count<T>].v[r % lane_count<T>] =
          in_triangle(upper, i0 + r, j0 + q) ? c[i0 + r + std::ptrdiff_t{j0 + q} * ldc] : T(0);
}

template <typename T>
void store_tile(bool upper, int i0, int j0, const typename rank_update_tile<T>::sums& sum, T* c, int ldc) {
  for (int q = 0; q < rank_update_tile<T>::cols; ++q)
    for (int r = 0; r < rank_update_tile<T>::rows; ++r)
      if (in_triangle(upper, i0 + r, j0 + q))
        c[i0 + r + std::ptrdiff_t{j0 + q} * ldc] = sum[q][r / lane_count<T>].v[r % lane_count<T>];
}

// 'N', the steps of one slice of the depth on a tile held in registers: `ai` is A(i0, l0). The whole-tile step
// runs when every factor of the step is taken, the others skip column by column.
template <typename T>
void tile_steps(int depth, const T* ai, int lda, const column_factors<T>& f, typename rank_update_tile<T>::sums& held) {
  using tile = rank_update_tile<T>;
  typename tile::sums sum;
  for (int q = 0; q < tile::cols; ++q) sum[q][0] = held[q][0], sum[q][1] = held[q][1];
  for (int l = 0; l < depth; ++l, ai += lda) {
    const lanes<T> top = load_lanes(ai), bottom = load_lanes(ai + lane_count<T>);
    const T* t = f.factor[l];
    const unsigned taken = f.taken[l];
    if (taken == tile::all_taken) {
#pragma GCC unroll 8
      for (int q = 0; q < tile::cols; ++q) {
        sum[q][0] = fma_lanes(t[q], top, sum[q][0]);
        sum[q][1] = fma_lanes(t[q], bottom, sum[q][1]);
      }
    } else {
#pragma GCC unroll 8
      for (int q = 0; q < tile::cols; ++q)
        if (taken >> q & 1u) {
          sum[q][0] = fma_lanes(t[q], top, sum[q][0]);
          sum[q][1] = fma_lanes(t[q], bottom, sum[q][1]);
        }
    }
  }
  for (int q = 0; q < tile::cols; ++q) held[q][0] = sum[q][0], held[q][1] = sum[q][1];
}

// 'N', one tile, rows [i0, i0 + rows) by the factors' column block, over one slice of the depth: `a` is
// A(0, l0).
template <typename T>
void accumulate_tile(bool upper, int i0, int j0, int depth, const T* a, int lda, const column_factors<T>& f, T* c,
                     int ldc) {
  typename rank_update_tile<T>::sums sum;
  load_tile(upper, i0, j0, c, ldc, sum);
  tile_steps(depth, a + i0, lda, f, sum);
  store_tile(upper, i0, j0, sum, c, ldc);
}

// 'N', the loops' own steps on the part of C(i0:i1, j0:j1) in the triangle, over the depth [l0, l1).
template <typename T>
void accumulate_block(bool upper, int i0, int i1, int j0, int j1, int l0, int l1, T alpha, const T* a, int lda, T* c,
                      int ldc) {
  for (int j = j0; j < j1; ++j) {
    const int first = upper ? i0 : std::max(i0, j), last = upper ? std::min(i1, j) : i1;
    T* cj = c + std::ptrdiff_t{j} * ldc;
    for (int l = l0; l < l1; ++l) {
      const T* al = a + std::ptrdiff_t{l} * lda;
      if (al[j] == 0) continue;
      const T temp = alpha * al[j];
      for (int i = first; i < last; ++i) cj[i] = std::fma(temp, al[i], cj[i]);
    }
  }
}

// The triangle cut into whole tiles and the rest: column_block(j0) opens each block of `cols` columns, tile(i0,
// j0) takes rows [i0, i0 + rows) of it, rest(i0, i1, j0, j1) the triangle's part of C(i0:i1, j0:j1) no tile
// covers.
template <typename T, typename Block, typename Tile, typename Rest>
void walk_triangle(bool upper, int n, Block&& column_block, Tile&& tile, Rest&& rest) {
  using shape = rank_update_tile<T>;
  const int blocks = n / shape::cols, spare = n - blocks * shape::cols, first_column = upper ? spare : 0;
  for (int b = 0; b < blocks; ++b) {
    const int j0 = first_column + b * shape::cols, j1 = j0 + shape::cols;
    column_block(j0);
    if (upper) {  // rows [0, j1 - 1) from the top
      int i0 = 0;
      for (; i0 < j1 - 1 && i0 + shape::rows <= n; i0 += shape::rows) tile(i0, j0);
      if (i0 < j1 - 1) rest(i0, j1 - 1, j0, j1);
    } else {  // rows [j0, n) from the bottom
      int i1 = n;
      for (; i1 > j0 && i1 >= shape::rows; i1 -= shape::rows) tile(i1 - shape::rows, j0);
      if (i1 > j0) rest(j0, i1, j0, j1);
    }
  }
  if (upper)
    rest(0, spare, 0, spare);
  else
    rest(n - spare, n, n - spare, n);
}

// 'N' on a prepared triangle, slice by slice of the depth.
template <typename T>
void accumulate_triangle(bool upper, int n, int k, T alpha, const T* a, int lda, T* c, int ldc) {
  column_factors<T> f;
  for (int l0 = 0; l0 < k; l0 += rank_update_tile<T>::depth) {
    const int depth = std::min(rank_update_tile<T>::depth, k - l0);
    const T* al = a + std::ptrdiff_t{l0} * lda;
    walk_triangle<T>(
        upper, n, [&](int j0) { f.gather(depth, alpha, al, lda, j0); },
        [&](int i0, int j0) { accumulate_tile(upper, i0, j0, depth, al, lda, f, c, ldc); },
        [&](int i0, int i1, int j0, int j1) {
          accumulate_block(upper, i0, i1, j0, j1, l0, l0 + depth, alpha, a, lda, c, ldc);
        });
  }
}

// C(i, j) from its sum over l: alpha * sum with beta 0, else alpha * sum + beta * C(i, j).
template <typename T>
T finish_dot(T alpha, T sum, T beta, T cij) {
  return beta == 0 ? alpha * sum : std::fma(alpha, sum, beta * cij);
}

// 'T', one tile: its sums run over the whole depth, the tile's columns of A (rows of C) copied slice by slice
// into a panel so that a step reads them as vectors.
template <typename T>
void dot_tile(bool upper, int i0, int j0, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
  using tile = rank_update_tile<T>;
  typename tile::sums sum = {};
  lanes<T> panel[tile::depth][2];
  const T* aj[tile::cols];
  for (int q = 0; q < tile::cols; ++q) aj[q] = a + std::ptrdiff_t{j0 + q} * lda;
  for (int l0 = 0; l0 < k; l0 += tile::depth) {
    const int depth = std::min(tile::depth, k - l0);
    for (int r = 0; r < tile::rows; ++r) {
      const T* ai = a + l0 + std::ptrdiff_t{i0 + r} * lda;
      for (int l = 0; l < depth; ++l) panel[l][r / lane_count<T>].v[r % lane_count<T>] = ai[l];
    }
    for (int l = 0; l < depth; ++l) {
      const lanes<T> top = panel[l][0], bottom = panel[l][1];
#pragma GCC unroll 8
      for (int q = 0; q < tile::cols; ++q) {
        sum[q][0] = fma_lanes(top, aj[q][l0 + l], sum[q][0]);
        sum[q][1] = fma_lanes(bottom, aj[q][l0 + l], sum[q][1]);
      }
    }
  }
  for (int q = 0; q < tile::cols; ++q)
    for (int r = 0; r < tile::rows; ++r)
      if (in_triangle(upper, i0 + r, j0 + q)) {
        T& cij = c[i0 + r + std::ptrdiff_t{j0 + q} * ldc];
        cij = finish_dot(alpha, sum[q][r / lane_count<T>].v[r % lane_count<T>], beta, cij);
      }
}

// 'T', the loops' own steps on the part of C(i0:i1, j0:j1) in the triangle.
template <typename T>
void dot_block(bool upper, int i0, int i1, int j0, int j1, int k, T alpha, const T* a, int lda, T beta, T* c,
               int ldc) {
  for (int j = j0; j < j1; ++j) {
    const int first = upper ? i0 : std::max(i0, j), last = upper ? std::min(i1, j) : i1;
    const T* aj = a + std::ptrdiff_t{j} * lda;
    for (int i = first; i < last; ++i) {
      const T* ai = a + std::ptrdiff_t{i} * lda;
      T sum = T(0);
      for (int l = 0; l < k; ++l) sum = std::fma(ai[l], aj[l], sum);
      T& cij = c[i + std::ptrdiff_t{j} * ldc];
      cij = finish_dot(alpha, sum, beta, cij);
    }
  }
}

// small_syrk for float and double once its quick returns are behind: alpha is not 0 and there is work.
template <typename T>
void syrk_columns(char uplo, char trans, int n, int k, T alpha, const T* a, int lda, T beta, T* c, int ldc) {
  const bool upper = helper::fold_letter(uplo) == 'U';
  if (helper::fold_letter(trans) == 'N') {
    prepare_triangle(upper, n, beta, c, ldc);
    return accumulate_triangle(upper, n, k, alpha, a, lda, c, ldc);
  }
  walk_triangle<T>(
      upper, n, [](int) {}, [&](int i0, int j0) { dot_tile(upper, i0, j0, k, alpha, a, lda, beta, c, ldc); },
      [&](int i0, int i1, int j0, int j1) { dot_block(upper, i0, i1, j0, j1, k, alpha, a, lda, beta, c, ldc); });
}

}  // namespace kovra::parallel::blas
