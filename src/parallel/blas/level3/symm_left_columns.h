// The left-side serial symmetric product for float and double, several columns at a time, with exactly the
// operations of the plain loop nest of small_symm.
//
// In the plain form, row i of column j takes two things from the stored column i of A: the dot temp2 of A(k, i)
// with B(k, j) over the rows k on the stored side of the diagonal, one fma per k in ascending k, and the feed
// C(k, j) += alpha B(i, j) A(k, i) into those same rows, after which C(i, j) is set from beta, the diagonal and
// temp2. The dots read only A and B, so the dots of different rows and columns are independent chains; each
// C element sees its own set and feeds in the order the rows are walked, whatever happens to other elements.
// This form keeps every element's chain and runs many chains at once:
// - J columns of B are copied side by side into a small local block, so that one k step of a dot is a few
//   packed fmas across the columns, for four rows of A at once (4 x J chains);
// - the feeds of the same four rows go down two C columns at a time in one pass, four fmas per element in
//   walk order;
// - the elements inside the four rows' own triangle get their set and feeds one row after the other, as the
//   plain walk gives them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "helper/vector32.h"

namespace kovra::parallel::blas {

// The most rows the column block holds; the task path's diagonal blocks have at most 255.
inline constexpr int symm_left_max_rows = 256;

template <typename T>
class symm_left_columns {
 public:
  static constexpr int width = 64 / sizeof(T);  // columns per pass: two 256-bit registers' worth
  static constexpr int rows_per_step = 4;
  // A dot's chains across the pass's columns live in vectors of 32 bytes (helper/vector32.h).
  using vec = typename helper::vector32<T>::lanes;
  static constexpr int lanes = int(32 / sizeof(T));
  static constexpr int vecs = width / lanes;

  symm_left_columns(bool upper, int m, T alpha, const T* a, int lda, T beta)
      : m_upper(upper), m_m(m), m_alpha(alpha), m_a(a), m_lda(lda), m_beta(beta) {}

  // Columns [0, n) of B into C, `width` at a time; m is at most symm_left_max_rows.
  void run(int n, const T* b, int ldb, T* c, int ldc) {
    for (int j0 = 0; j0 < n; j0 += width) {
      const int cols = std::min(width, n - j0);
      copy_columns(cols, b + std::ptrdiff_t{j0} * ldb, ldb);
      T* cj[width];
      for (int jj = 0; jj < cols; ++jj) cj[jj] = c + std::ptrdiff_t{j0 + jj} * ldc;
      // Upper walks the rows upwards from 0, lower downwards from m - 1; a step takes the next four in walk
      // order, the last step what is left.
      for (int s = 0; s < m_m; s += rows_per_step) {
        const int count = std::min(rows_per_step, m_m - s);
        const int first = m_upper ? s : m_m - 1 - s;
        switch (count) {
          case 4: step<4>(first, cols, cj); break;
          case 3: step<3>(first, cols, cj); break;
          case 2: step<2>(first, cols, cj); break;
          default: step<1>(first, cols, cj); break;
        }
      }
    }
  }

 private:
  const T& A(int i, int k) const { return m_a[i + std::ptrdiff_t{k} * m_lda]; }

  // B's columns side by side, row k at m_b[k]; the lanes past `cols` hold zeros that only feed unused dots.
  void copy_columns(int cols, const T* b, int ldb) {
    for (int k = 0; k < m_m; ++k)
      for (int jj = 0; jj < width; ++jj)
        m_b[k][jj / lanes][jj % lanes] = jj < cols ? b[k + std::ptrdiff_t{jj} * ldb] : T(0);
  }

  // Rows row(0), ..., row(R - 1) in walk order. The stored side of row i is k < i (upper) or k > i (lower); the
  // rows k outside the step's own span are common to all R rows.
  template <int R>
  void step(int first, int cols, T* const* cj) {
    const int dir = m_upper ? 1 : -1;
    const auto row = [&](int r) { return first + dir * r; };
    // Common rows: [0, first) for upper, (first, m) for lower; first is the step's lowest row in upper and
    // highest in lower, so the span of the step lies just past the common rows in walk order.
    const int lo = m_upper ? 0 : first + 1, hi = m_upper ? first : m_m;

    // The heads and tails of the chains work on memory; the common rows, nearly all of the work, on R x vecs
    // accumulators that the compiler keeps in registers.
    vec dot[R][vecs] = {};
    // Lower: the rows k between row r and the common ones come first in ascending k.
    if (!m_upper)
      for (int r = 1; r < R; ++r)
        for (int k = row(r) + 1; k <= first; ++k) add_row(dot[r], k, A(k, row(r)));
    vec acc[R][vecs];
    for (int r = 0; r < R; ++r)
      for (int v = 0; v < vecs; ++v) acc[r][v] = dot[r][v];
    for (int k = lo; k < hi; ++k) {
#pragma GCC unroll 4
      for (int r = 0; r < R; ++r) {
        vec ak;
        splat(ak, A(k, row(r)));
#pragma GCC unroll 4
        for (int v = 0; v < vecs; ++v) lane_fma(acc[r][v], m_b[k][v], ak);
      }
    }
    for (int r = 0; r < R; ++r)
      for (int v = 0; v < vecs; ++v) dot[r][v] = acc[r][v];
    // Upper: the rows k from the step's first row up to row r come last.
    if (m_upper)
      for (int r = 1; r < R; ++r)
        for (int k = first; k < row(r); ++k) add_row(dot[r], k, A(k, row(r)));

    const T* ar[R];
    for (int r = 0; r < R; ++r) ar[r] = &A(0, row(r));
    T t[R][width];
    for (int r = 0; r < R; ++r)
      for (int jj = 0; jj < cols; ++jj) t[r][jj] = m_alpha * m_b[row(r)][jj / lanes][jj % lanes];
    // The common rows take the R feeds in walk order, two columns of C per sweep so that they share the
    // loads of A.
    int jj = 0;
    for (; jj + 2 <= cols; jj += 2) {
      T* const x0 = cj[jj];
      T* const x1 = cj[jj + 1];
      for (int k = lo; k < hi; ++k) {
        T v0 = x0[k], v1 = x1[k];
        for (int r = 0; r < R; ++r) {
          v0 = std::fma(t[r][jj], ar[r][k], v0);
          v1 = std::fma(t[r][jj + 1], ar[r][k], v1);
        }
        x0[k] = v0;
        x1[k] = v1;
      }
    }
    for (; jj < cols; ++jj) {
      T* const x = cj[jj];
      for (int k = lo; k < hi; ++k) {
        T v = x[k];
        for (int r = 0; r < R; ++r) v = std::fma(t[r][jj], ar[r][k], v);
        x[k] = v;
      }
    }
    // Inside the step: row r's feeds reach the rows walked before it in this step, then row r is set.
    for (jj = 0; jj < cols; ++jj) {
      T* const x = cj[jj];
      for (int r = 0; r < R; ++r) {
        for (int q = 0; q < r; ++q) x[row(q)] = std::fma(t[r][jj], ar[r][row(q)], x[row(q)]);
        const int i = row(r);
        const T kept = m_beta == T(0) ? t[r][jj] * ar[r][i] : std::fma(t[r][jj], ar[r][i], m_beta * x[i]);
        x[i] = std::fma(m_alpha, dot[r][jj / lanes][jj % lanes], kept);
      }
    }
  }

  // acc := fma(x, y, acc) lane by lane, which the compiler makes one vector fma where the target has it. The
  // vectors go by reference, which keeps their passing out of any calling convention.
  static void lane_fma(vec& acc, const vec& x, const vec& y) {
    for (int l = 0; l < lanes; ++l) acc[l] = std::fma(x[l], y[l], acc[l]);
  }
  static void splat(vec& v, T x) {
    for (int l = 0; l < lanes; ++l) v[l] = x;
  }
  void add_row(vec* dot, int k, T ak) const {
    vec a;
    splat(a, ak);
    for (int v = 0; v < vecs; ++v) lane_fma(dot[v], m_b[k][v], a);
  }

  bool m_upper;
  int m_m;
  T m_alpha;
  const T* m_a;
  int m_lda;
  T m_beta;
  vec m_b[symm_left_max_rows][vecs];
};

}  // namespace kovra::parallel::blas
