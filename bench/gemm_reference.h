// What a right GEMM leaves in C, found without an O(n^3) loop: every entry of a set of whole rows and
// columns by plain dot products, and a weighted sum over all of C by matrix-vector products. A call's C
// gives the same checksums in the same order, so the runner compares them pair by pair.
#pragma once

#include <vector>

#include "checksum.h"

namespace kovra::bench {

// The product C = alpha op(A) B + beta C with column-major operands, op(A) being A or its transpose.
// op(A) is m by k, B is k by n and C is m by n.
template <typename T>
struct gemm_view {
  bool transpose_a;
  int m, n, k;
  T alpha;
  const T* a;
  int lda;
  const T* b;
  int ldb;
  T beta;
  const T* c;
  int ldc;
};

// From the operands before the call (`before.c` holds C on entry): the weighted sum over C first, named
// "C", then the checked entries, named "C(i,j)" from 1 (complex entries as "Re C(i,j)" and "Im C(i,j)").
// Each magnitude bounds the absolute values of the terms that make the value.
template <typename T>
std::vector<operand_checksum> expected_gemm_sums(const gemm_view<T>& before);

// The same checksums, of an m by n C as a call left it.
template <typename T>
std::vector<operand_checksum> gemm_result_sums(int m, int n, const T* c, int ldc);

// Relative difference, against those magnitudes, that rounding alone can explain in a sum of k products.
template <typename T>
double gemm_rounding(int k);

}  // namespace kovra::bench
