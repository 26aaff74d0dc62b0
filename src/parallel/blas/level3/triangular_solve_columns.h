// The left triangular solve of small_trsm for float and double, many right-hand sides at once: the same
// operations on every element as the plain loop nest, in the same order, with the columns of B side by side
// in the lanes of vectors (GNU vector types, so every target builds it; each lane's fused multiply-add is
// written out as std::fma).
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "helper/helper.h"
#include "helper/vector32.h"

namespace kovra::parallel::blas {

// The vectors of a row of right-hand sides (helper/vector32.h).
template <typename T>
using solve_vectors = helper::vector32<T>;

template <typename T>
inline constexpr int vector_lanes = 32 / static_cast<int>(sizeof(T));

// Right-hand sides solved together: four vectors of them. A row's division waits for the row before it, so
// the wider the row, the more columns share each wait; four vectors by two rows are eight accumulators.
inline constexpr int row_vectors = 4;
template <typename T>
inline constexpr int solve_lanes = row_vectors * vector_lanes<T>;

// The longest triangle solved this way: its rows of lanes, 16 KiB, stay on the stack and in L1. The task
// path's diagonal blocks are four tiles long, far below it.
inline constexpr int solve_max_rows = 128;

// A's triangle seen in the order the rows are solved: row o of the solve takes from the solved row p the
// coefficient at base[o * step_row + p * step_solved]. A row's chain of updates runs over the solved rows in
// ascending p, except for the transposed lower form, whose chain starts at the row solved just before it and
// goes back to the first.
template <typename T>
struct solve_order {
  const T* base;
  std::ptrdiff_t step_row, step_solved;
  bool nounit;

  T coefficient(int o, int p) const { return base[o * step_row + p * step_solved]; }
};

// One step of a row's chain on every lane: t - x*a in the 'N' forms, t - a*x in the transposed ones, each a
// fused multiply-add with the operands in the order of the plain loops.
template <bool nota, typename T>
inline void update_lanes(typename solve_vectors<T>::lanes& t, const typename solve_vectors<T>::lanes& x, T a) {
  for (int l = 0; l < vector_lanes<T>; ++l) t[l] = nota ? std::fma(-x[l], a, t[l]) : std::fma(-a, x[l], t[l]);
}

// The solved row p with some of its lanes skipped, applied to the block's R rows t. Rare, so kept out of the
// block's loop: its masks would take the registers of the accumulators there.
template <typename T, int R, bool nota>
[[gnu::noinline]] void apply_part_of_row(const solve_order<T>& A, int o0, int p,
                                         const typename solve_vectors<T>::lanes (&xp)[row_vectors], std::uint32_t live,
                                         typename solve_vectors<T>::lanes (&t)[R][row_vectors]) {
  using V = solve_vectors<T>;
  constexpr int N = vector_lanes<T>;
  for (int h = 0; h < row_vectors; ++h) {
    const typename V::mask m = (typename V::mask)((((typename V::bits{} + live) >> (V::lane_index + h * N)) & 1) != 0);
    for (int r = 0; r < R; ++r) {
      typename V::lanes u = t[r][h];
      update_lanes<nota>(u, xp[h], A.coefficient(o0 + r, p));
      t[r][h] = m != 0 ? u : t[r][h];
    }
  }
}

// Rows [o0, o0 + R) of the solve on the rows of lanes x: first what the rows solved before the block
// contribute, then the block's own triangle row by row, each row finished (its zero lanes flagged in `live`,
// then divided by the diagonal) before it reaches the rows after it. In the 'N' forms a lane whose value was
// an exact zero before its division is skipped in every later row, so nothing of their coefficients reaches
// it; the transposed forms skip nothing.
template <typename T, int R, bool nota, bool reversed_chain>
void solve_row_block(const solve_order<T>& A, int o0, typename solve_vectors<T>::lanes (*x)[row_vectors],
                     std::uint32_t* live) {
  using V = solve_vectors<T>;
  using lanes = typename V::lanes;
  using mask = typename V::mask;
  using bits = typename V::bits;
  constexpr int W = row_vectors, N = vector_lanes<T>;
  static_assert(solve_lanes<T> <= 32, "the live lanes of a row are the bits of one 32-bit word");
  static_assert(R == 1 || !reversed_chain, "a reversed chain starts inside the block");
  constexpr std::uint32_t all = solve_lanes<T> == 32 ? ~std::uint32_t{0} : (std::uint32_t{1} << solve_lanes<T>) - 1;
  const bits one = V::lane_index * 0 + 1;
  lanes t[R][W];  // the loops over its rows and vectors are unrolled so that it lives in registers
#pragma GCC unroll 8
  for (int r = 0; r < R; ++r)
#pragma GCC unroll 8
    for (int h = 0; h < W; ++h) t[r][h] = x[o0 + r][h];
  for (int s = 0; s < o0; ++s) {
    const int p = reversed_chain ? o0 - 1 - s : s;
    if (!nota || live[p] == all) {
#pragma GCC unroll 8
      for (int r = 0; r < R; ++r)
#pragma GCC unroll 8
        for (int h = 0; h < W; ++h) {
          lanes u = t[r][h];
          update_lanes<nota>(u, x[p][h], A.coefficient(o0 + r, p));
          t[r][h] = u;
        }
    } else {
      lanes u[R][W];
#pragma GCC unroll 8
      for (int r = 0; r < R; ++r)
#pragma GCC unroll 8
        for (int h = 0; h < W; ++h) u[r][h] = t[r][h];
      apply_part_of_row<T, R, nota>(A, o0, p, x[p], live[p], u);
#pragma GCC unroll 8
      for (int r = 0; r < R; ++r)
#pragma GCC unroll 8
        for (int h = 0; h < W; ++h) t[r][h] = u[r][h];
    }
  }
#pragma GCC unroll 8
  for (int r = 0; r < R; ++r) {
    mask m[W];
    std::uint32_t word = all;
    if constexpr (nota) {
      bits flags{};
#pragma GCC unroll 8
      for (int h = 0; h < W; ++h) {
        m[h] = t[r][h] != 0;
        flags |= (bits)m[h] & (one << (V::lane_index + h * N));
      }
      word = 0;
#pragma GCC unroll 8
      for (int l = 0; l < N; ++l) word |= static_cast<std::uint32_t>(flags[l]);
    }
    if (A.nounit) {
      const T d = A.coefficient(o0 + r, o0 + r);
#pragma GCC unroll 8
      for (int h = 0; h < W; ++h) {
        if constexpr (nota) t[r][h] = m[h] != 0 ? t[r][h] / d : t[r][h];
        else t[r][h] = t[r][h] / d;
      }
    }
#pragma GCC unroll 8
    for (int h = 0; h < W; ++h) x[o0 + r][h] = t[r][h];
    live[o0 + r] = word;
#pragma GCC unroll 8
    for (int r2 = r + 1; r2 < R; ++r2)
#pragma GCC unroll 8
      for (int h = 0; h < W; ++h) {
        lanes u = t[r2][h];
        update_lanes<nota>(u, t[r][h], A.coefficient(o0 + r2, o0 + r));
        if constexpr (nota) t[r2][h] = m[h] != 0 ? u : t[r2][h];
        else t[r2][h] = u;
      }
  }
}

// All m rows in the solve order: blocks of rows where a row's chain takes the rows solved before its block
// first, single rows for the reversed chain and for the rows left over.
template <typename T, bool nota, bool reversed_chain>
void solve_rows(const solve_order<T>& A, int m, typename solve_vectors<T>::lanes (*x)[row_vectors],
                std::uint32_t* live) {
  constexpr int R = reversed_chain ? 1 : 2;
  int o = 0;
  for (; o + R <= m; o += R) solve_row_block<T, R, nota, reversed_chain>(A, o, x, live);
  for (; o < m; ++o) solve_row_block<T, 1, nota, reversed_chain>(A, o, x, live);
}

// op(A) X = alpha B from the left for m <= solve_max_rows; every element of X comes out as small_trsm's loop
// nest gives it. Each group of columns is copied into rows of lanes in the order of the solve, alpha applied
// on the way in as the loops apply it, solved, and copied back. The lanes beyond n hold 1, which no zero skip
// singles out.
template <typename T>
void solve_left_columns(char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b,
                        int ldb) {
  using lanes = typename solve_vectors<T>::lanes;
  constexpr int L = solve_lanes<T>, N = vector_lanes<T>;
  const bool upper = helper::fold_letter(uplo) == 'U', nota = helper::fold_letter(transa) == 'N';
  const bool from_bottom = upper == nota;  // the 'N' upper and transposed lower forms solve the last row first
  const std::ptrdiff_t ld = lda, last = m - 1;
  solve_order<T> A{a, nota ? 1 : ld, nota ? ld : 1, helper::fold_letter(diag) == 'N'};
  if (from_bottom) A = {a + last * (1 + ld), -A.step_row, -A.step_solved, A.nounit};
  const bool scale = !nota || alpha != T(1);  // the transposed forms always start from alpha * B
  lanes x[solve_max_rows][row_vectors];
  std::uint32_t live[solve_max_rows];
  for (int j0 = 0; j0 < n; j0 += L) {
    const int cols = n - j0 < L ? n - j0 : L;
    T* bj = b + std::ptrdiff_t{j0} * ldb;
    for (int o = 0; o < m; ++o) {
      const T* bi = bj + (from_bottom ? last - o : o);
#pragma GCC unroll 8
      for (int h = 0; h < row_vectors; ++h) {
        lanes v{};
#pragma GCC unroll 8
        for (int l = 0; l < N; ++l) v[l] = h * N + l < cols ? bi[std::ptrdiff_t{h * N + l} * ldb] : T(1);
        x[o][h] = scale ? v * alpha : v;
      }
    }
    if (nota) solve_rows<T, true, false>(A, m, x, live);
    else if (upper) solve_rows<T, false, false>(A, m, x, live);
    else solve_rows<T, false, true>(A, m, x, live);
    for (int o = 0; o < m; ++o) {
      T* bi = bj + (from_bottom ? last - o : o);
      for (int c = 0; c < cols; ++c) bi[std::ptrdiff_t{c} * ldb] = x[o][c / N][c % N];
    }
  }
}

}  // namespace kovra::parallel::blas
