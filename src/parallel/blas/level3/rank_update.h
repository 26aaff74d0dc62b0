// What SYRK, HERK, SYR2K and HER2K share: the argument checks, the rows of C's triangle in a column, the
// scalings of the serial forms, the runs of rows that the task path makes, and the gemm<T> call that fills
// the rectangle of a run.
//
// A run [r0, r1) of the order n owns the diagonal triangle C(r0:r1, r0:r1), done by the serial form, and
// the rectangle beside it: below the run in its columns for 'L', to its right in its rows for 'U'.
//
//        uplo 'L'                 uplo 'U'
//     r0    r1                 r0    r1        n
//   r0 +-----+                r0 +-----+--------+
//      | \   |                   |  \  | rect.  |
//   r1 +-----+                r1 +-----+--------+
//      |rect.|
//    n +-----+
#pragma once

#include <cstring>
#include <utility>

#include "error/error.h"
#include "helper/helper.h"
#include "parallel/blas/level3/gemm.h"
#include "parallel/blas/level3/small_gemm.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Run length of the task path, fixed whatever the kernel: a run has 64 rows, the last one 64 to 127.
inline constexpr int rank_update_run = 64;

// The position of the first bad argument, or 0. The one-operand forms (UPLO, TRANS, N, K, ALPHA, A, LDA,
// BETA, C, LDC) pass ldb = lda; the two-operand forms (..., LDA, B, LDB, BETA, C, LDC) check LDB at 9
// and LDC at 12. SYRK and SYR2K take 'N', 'T' and 'C'; HERK and HER2K only 'N' and 'C'.
inline int rank_update_bad_argument(bool hermitian, bool two_operands, char uplo, char trans, int n, int k, int lda,
                                    int ldb, int ldc) {
  const char u = helper::fold_letter(uplo), t = helper::fold_letter(trans);
  if (u != 'U' && u != 'L') return 1;
  if (t != 'N' && t != 'C' && (hermitian || t != 'T')) return 2;
  if (n < 0) return 3;
  if (k < 0) return 4;
  const int rows = helper::MAX(1, t == 'N' ? n : k);
  if (rows > lda) return 7;
  if (two_operands && rows > ldb) return 9;
  if (helper::MAX(1, n) > ldc) return two_operands ? 12 : 10;
  return 0;
}

// Nothing to do: an empty C, or no update (k = 0 or alpha = 0) with beta = 1.
template <typename A, typename B>
bool rank_update_is_noop(int n, int k, const A& alpha, const B& beta) {
  return n == 0 || ((k == 0 || helper::is_zero(alpha)) && helper::is_one(beta));
}

// The rows [first, second) of column j that lie in the triangle: 'U' stops above the diagonal, 'L' starts
// on it. So an upper update never touches C's diagonal.
inline std::pair<int, int> triangle_rows(bool upper, int j, int n) { return upper ? std::pair{0, j} : std::pair{j, n}; }

// The triangle of an n by n C prepared column by column: beta 0 clears by a byte fill, 1 leaves, any other
// value multiplies.
template <typename T>
void prepare_triangle(bool upper, int n, const T& beta, T* c, int ldc) {
  for (int j = 0; j < n; ++j) {
    const auto [i0, i1] = triangle_rows(upper, j, n);
    scale_column(c + i0 + std::ptrdiff_t{j} * ldc, i1 - i0, beta);
  }
}

// v * r for a complex v and a real r, each part by the real factor.
template <typename T>
T scale_parts(real_t<T> r, const T& v) {
  return T(r * v.real(), r * v.imag());
}

// Column j of a Hermitian update before its terms are added: the off-diagonal rows of the triangle prepared
// with the real beta, the diagonal reduced to beta times its real part. beta = 0 clears by a byte fill, which
// for 'U' leaves the diagonal as it was. `upper_keeps_scale` is HER2K's rule for 'U' 'N': its diagonal loses
// only the imaginary part, and only when beta is neither 0 nor 1.
template <typename T>
void prepare_hermitian_column(bool upper, bool upper_keeps_scale, int j, int n, real_t<T> beta, T* cj) {
  const auto [i0, i1] = triangle_rows(upper, j, n);
  if (beta == 0) {
    std::memset(static_cast<void*>(cj + i0), 0, sizeof(T) * (i1 - i0));
    return;
  }
  if (beta != 1)
    for (int i = upper ? i0 : j + 1; i < i1; ++i) cj[i] = scale_parts(beta, cj[i]);
  if (upper && upper_keeps_scale) {
    if (beta != 1) cj[j] = T(cj[j].real(), 0);
  } else {
    cj[j] = T(beta == 1 ? cj[j].real() : beta * cj[j].real(), 0);
  }
}

// The Hermitian forms with alpha = 0 and beta not 1: every column prepared as above, the diagonal scaled for
// 'U' too.
template <typename T>
void scale_hermitian_triangle(bool upper, int n, real_t<T> beta, T* c, int ldc) {
  for (int j = 0; j < n; ++j) prepare_hermitian_column(upper, false, j, n, beta, c + std::ptrdiff_t{j} * ldc);
}

// The path every rank update takes, given the position its checks found: the report, the quick return, then
// on the calling thread the serial form when alpha = 0 (it scales the triangle) or n and k are at most 8 (a
// run over the whole order is exactly that), else one task per run of rows, however many, the columns
// [0, k) whole and unread. With k = 0 no task is made and C stays as it is.
template <typename Record>
void rank_update_front(const char* family, int bad_position, const Record& r) {
  if (error::bad_argument(family, bad_position)) return;
  if (rank_update_is_noop(r.n, r.k, r.alpha, r.beta)) return;
  if (helper::is_zero(r.alpha) || (r.n <= serial_cutoff && r.k <= serial_cutoff))
    return r.run_tile(nullptr, 0, r.n, 0, r.k);
  threading::launch_blocks(r.n, rank_update_run, r.k, r.k, &r);
}

// Where the k entries that meet row i of C start in an operand: at (i, 0) for trans 'N', at (0, i) otherwise.
template <typename T>
auto operand_rows(bool notrans, const T* x, int ldx) {
  return [=](int i) { return notrans ? x + i : x + std::ptrdiff_t{i} * ldx; };
}

// The rectangle of the run [r0, r1) as one gemm<T> of depth k: op(first rows) times op(second rows)^X, where
// `first` and `second` give the start of the operand for a row index of C (A(i, 0) for trans 'N', A(0, i)
// otherwise). For 'L' the rows of C are those below the run, for 'U' those of the run; x is 'T' or 'C'.
template <typename T, typename First, typename Second>
void rank_rectangle(bool upper, bool notrans, char x, int n, int k, int r0, int r1, T alpha, First first, int ldf,
                    Second second, int lds, T beta, T* c, int ldc) {
  const int w = r1 - r0, rows = upper ? r0 : r1, cols = upper ? r1 : r0;
  gemm<T>(notrans ? 'N' : x, notrans ? x : 'N', upper ? w : n - r1, upper ? n - r1 : w, k, alpha, first(rows), ldf,
          second(cols), lds, beta, c + rows + std::ptrdiff_t{cols} * ldc, ldc);
}

}  // namespace kovra::parallel::blas
