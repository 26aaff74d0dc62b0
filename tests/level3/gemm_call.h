// Test helpers for GEMM: one call of the routine on padded matrices, and a test-only kernel with an odd
// tile shape that makes the packing walkers and edge tiles run on any host.
#pragma once

#include <memory>

#include "kernels/kernel_object.h"
#include "parallel/blas/level3/gemm.h"
#include "support/padded_matrix.h"

namespace kovra_test {

// The operands of C := alpha*op(A)*op(B) + beta*C, with A and B shaped for their transposes and every
// leading dimension `pad` larger than needed.
template <typename T>
struct gemm_case {
  char transa, transb;
  int m, n, k;
  padded_matrix<T> a, b, c;

  gemm_case(char ta, char tb, int m_, int n_, int k_, int pad = 0, unsigned seed = 1)
      : transa(ta), transb(tb), m(m_), n(n_), k(k_),
        a(rows_of(ta, m_, k_), cols_of(ta, m_, k_), rows_of(ta, m_, k_) + pad),
        b(rows_of(tb, k_, n_), cols_of(tb, k_, n_), rows_of(tb, k_, n_) + pad),
        c(m_, n_, m_ + pad) {
    a.random(seed);
    b.random(seed + 1);
    c.random(seed + 2);
  }

  static int rows_of(char t, int r, int s) { return (t & 0xDF) == 'N' ? (r > 0 ? r : 1) : (s > 0 ? s : 1); }
  static int cols_of(char t, int r, int s) { return (t & 0xDF) == 'N' ? s : r; }

  void run(T alpha, T beta) {
    parallel::blas::gemm(transa, transb, m, n, k, alpha, a.data(), a.ld(), b.data(), b.ld(), beta, c.data(), c.ld());
  }
  void run_on(std::shared_ptr<kernels::kernel_object<T>> kernel, T alpha, T beta) {
    parallel::blas::gemm_tasks(std::move(kernel), transa, transb, m, n, k, alpha, a.data(), a.ld(), b.data(), b.ld(),
                               beta, c.data(), c.ld());
  }
};

// 3 by 5 tiles and small blocks, so that a modest matrix crosses several blocks in every dimension and
// the depth block (7) is no multiple of either tile. Blocks of A and B hold whole panels.
inline constexpr kernels::kernel_blocking odd_blocking{9, 15, 7, 3, 5, 0, 0};

template <typename T>
std::shared_ptr<kernels::kernel_object<T>> odd_kernel() {
  static_assert(kernels::sound_blocking<T>(odd_blocking));
  return std::make_shared<kernels::kernel_object<T>>(odd_blocking);
}

}  // namespace kovra_test
