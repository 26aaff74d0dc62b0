// What TRSM and TRMM share: the fields of a call, the argument checks, the byte clear of B for alpha = 0, and
// the walk along A's diagonal in blocks of `bs` that a task makes over its right-hand sides.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>

#include "helper/helper.h"
#include "kernels/kernel_object.h"

namespace kovra::parallel::blas {

// A call's arguments, letters kept as given, shared read-only by its tasks. The kernel is read only for its
// tiles, which set the split's grain and the diagonal block.
template <typename T>
struct triangular_call {
  char side;
  char uplo;
  char transa;
  char diag;
  int m;
  int n;
  T alpha;
  const T* a;
  int lda;
  T* b;
  int ldb;
  std::shared_ptr<kernels::kernel_object<T>> kernel;
};

// The position of the first bad argument in the Fortran list (SIDE, UPLO, TRANSA, DIAG, M, N, ALPHA, A, LDA,
// B, LDB), or 0.
inline int triangular_bad_argument(char side, char uplo, char transa, char diag, int m, int n, int lda, int ldb) {
  const char s = helper::fold_letter(side), u = helper::fold_letter(uplo), d = helper::fold_letter(diag);
  if (s != 'L' && s != 'R') return 1;
  if (u != 'U' && u != 'L') return 2;
  if (!helper::valid_trans(transa)) return 3;
  if (d != 'U' && d != 'N') return 4;
  if (m < 0) return 5;
  if (n < 0) return 6;
  if (helper::MAX(1, s == 'L' ? m : n) > lda) return 9;
  if (helper::MAX(1, m) > ldb) return 11;
  return 0;
}

// Clears the m by n matrix b column by column with a byte fill: nothing in it is read.
template <typename T>
void clear_columns(int m, int n, T* b, int ldb) {
  for (int j = 0; j < n; ++j) std::memset(static_cast<void*>(b + std::ptrdiff_t{j} * ldb), 0, sizeof(T) * m);
}

// step(p, w, q, far) for the diagonal blocks of an extent, strictly in sequence: a block of w at p, and the
// far entries from q on that are still to be solved (TRSM) or still unprocessed (TRMM). A backward walk
// takes its first block at the far end, so a short block comes last, nearest the start.
template <typename Step>
void walk_diagonal(int extent, int bs, bool forward, Step step) {
  for (int done = 0; done < extent; done += bs) {
    const int w = std::min(bs, extent - done), far = extent - done - w, p = forward ? done : far;
    step(p, w, forward ? p + w : 0, far);
  }
}

}  // namespace kovra::parallel::blas
