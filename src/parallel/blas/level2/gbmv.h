// GBMV, y := alpha*op(A)*x + beta*y with A in band storage: the per-call record with its tile body and
// gbmv_front<T>, the routine behind SGBMV, DGBMV, CGBMV, ZGBMV in both forms. Tiles own disjoint slices
// of y as in GEMV; they work in place and never use the scratch.
#pragma once

#include <cstddef>

#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level2/gbmv_serial.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// A band of at most this many stored diagonals takes the 'N' tile by diagonals: its column pieces are too
// short for the kernel's axpy to pay for its call (17 diagonals: pieces of 8), while the block's columns
// (diagonal_block_rows + kl + ku of them) stay in the first-level cache across all its diagonals.
inline constexpr int narrow_band_diagonals = 32;
// Rows per block of the diagonal walk: 64 rows of a 32-diagonal double band read about 25 KB of A.
inline constexpr int diagonal_block_rows = 64;

template <typename T>
struct gbmv_object {
  char trans;
  int m;
  int n;
  int kl;
  int ku;
  T alpha;
  const T* a;
  int lda;
  const T* x;
  int incx;
  T beta;
  T* y;
  int incy;

  // Rows [m_begin, m_end) of y for 'N', columns [n_begin, n_end) otherwise.
  void run_tile(threading::scratch*, int m_begin, int m_end, int n_begin, int n_end) const {
    const char t = helper::fold_letter(trans);
    const int ylen = t == 'N' ? m : n;
    const int first = t == 'N' ? m_begin : n_begin, last = t == 'N' ? m_end : n_end;
    beta_pass(last - first, beta, sub_vector(y, first, last - first, ylen, incy), incy);
    if (helper::is_zero(alpha)) return;
    if (t == 'N') {
      if constexpr (kernel_steps_are_fused<T>) {
        if (incx == 1 && incy == 1 && kl + ku < narrow_band_diagonals) return add_rows_by_diagonals(m_begin, m_end);
      }
      add_rows(m_begin, m_end);
      return;
    }
    for (int j = n_begin; j < n_end; ++j) gbmv_dot_column(t == 'C', m, n, kl, ku, alpha, a, lda, x, incx, y, incy, j);
  }

 private:
  T scaled_x(int j) const { return helper::mul(alpha, logical_at(x, j, n, incx)); }
  const T* column(int j) const { return a + std::ptrdiff_t{lda} * j; }

  // y[i] += t*A(i, j) for i in [from, from + count), with `stored` the address of A(from, j).
  void add_piece(T t, int from, int count, const T* stored) const {
    if (count > 0) vec_axpy(count, t, stored, sub_vector(y, from, count, m, incy), incy);
  }

 public:
  // The 'N' update of rows [f, l). A band column may cross the tile's edges, so the columns that touch
  // these rows are walked in three stretches, each piece clipped to the tile: the parts strictly above
  // the diagonal, the columns left of the tile that reach down into it, then the tile's own diagonal
  // columns (below-diagonal part, then the diagonal element). A zero alpha*x_j skips the column.
  // Row i thus takes its columns i + 1 .. i + ku, then i - kl .. i - 1, then i, each clipped to [0, n).
  void add_rows(int f, int l) const {
    const int s = l - f;
    const int above = helper::MIN(n - f, ku + s);
    for (int c = 0; c < above; ++c) {
      const T t = scaled_x(f + c);
      if (helper::is_zero(t)) continue;
      const int p = helper::MAX(0, c - ku);
      add_piece(t, f + p, helper::MIN(c - p, s - p), column(f + c) + (ku - c + p));
    }
    const int left_begin = helper::MIN(helper::MAX(0, f - kl), n), left_end = helper::MIN(f, n);
    const int q = helper::MAX(1, kl - f + 1);
    for (int j = left_begin; j < left_end; ++j) {
      const T t = scaled_x(j);
      if (helper::is_zero(t)) continue;
      const int d = j - left_begin;
      add_piece(t, f, helper::MIN(q + d, s), column(j) + (ku + kl - d - q + 1));
    }
    for (int j = helper::MIN(f, n); j < helper::MIN(n, l); ++j) {
      const T t = scaled_x(j);
      if (helper::is_zero(t)) continue;
      add_piece(t, j + 1, helper::MIN(helper::MIN(m, j + kl + 1) - (j + 1), l - j - 1), column(j) + ku + 1);
      T& yj = logical_at(y, j, m, incy);
      yj = helper::multiply_add(t, column(j)[ku], yj);
    }
  }

  // add_rows for a real type whose kernel steps are fused, unit increments: the same steps of each row in
  // the same order, taken a diagonal at a time over a block of rows, so that the rows' chains of fused
  // multiply-adds run side by side instead of one short kernel call per column piece.
  void add_rows_by_diagonals(int f, int l) const {
    for (int b = f; b < l; b += diagonal_block_rows) {
      const int e = helper::MIN(l, b + diagonal_block_rows);
      prefetch_columns(e + ku + diagonal_block_rows, e + ku + 2 * diagonal_block_rows);
      for (int d = 1; d <= ku; ++d) add_diagonal(d, b, e);
      for (int d = -kl; d <= 0; ++d) add_diagonal(d, b, e);
    }
  }

 private:
  // y[i] += alpha*x[i + d] * A(i, i + d) over the rows i in [b, e) that have a column i + d, except where
  // alpha*x[i + d] is zero. A(i, i + d) is stored lda apart from one row to the next.
  void add_diagonal(int d, int b, int e) const {
    const int from = helper::MAX(b, -d), to = helper::MIN(e, n - d);
    const std::ptrdiff_t ld = lda, band_row = ku - d;
    const T al = alpha;
    const T* const xs = x;
    T* const ys = y;
    const T* const as = a;
    for (int i = from; i < to; ++i) {
      const T t = al * xs[i + d];
      const T sum = helper::multiply_add(t, as[band_row + ld * (i + d)], ys[i]);
      ys[i] = t == T(0) ? ys[i] : sum;
    }
  }

  // Asks for the storage of columns [from, to) of A a block before its use: the diagonals read A one
  // element per column, lda apart, which leaves too few misses in flight for the hardware alone.
  void prefetch_columns(int from, int to) const {
    constexpr int line = 64 / sizeof(T);
    const std::ptrdiff_t end = std::ptrdiff_t{lda} * helper::MIN(to, n);
    for (std::ptrdiff_t k = std::ptrdiff_t{lda} * from; k < end; k += line) __builtin_prefetch(a + k);
  }
};

// Checks, quick returns, the serial cut-off (m and n both at most 8), otherwise one tile per share of y.
template <typename T>
void gbmv_front(char trans, int m, int n, int kl, int ku, T alpha, const T* a, int lda, const T* x, int incx, T beta,
                T* y, int incy) {
  if (error::bad_argument(gbmv_name, gbmv_bad_argument(trans, m, n, kl, ku, lda, incx, incy))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha) && helper::is_one(beta)) return;
  if (m <= serial_cutoff && n <= serial_cutoff) {
    gbmv_serial(trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy);
    return;
  }
  const auto kernel = kernels::get_kernel<T>();
  const gbmv_object<T> record{trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy};
  if (helper::fold_letter(trans) == 'N') threading::launch_grid(m, kernel->tile_m, n, n, &record);
  else threading::launch_grid(m, m, n, kernel->tile_n, &record);
}

}  // namespace kovra::parallel::blas
