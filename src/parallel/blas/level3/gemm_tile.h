// The tile body of gemm_object<T>: beta applied to the task's share of C, then the block loop
// (block_driver.h) with the packers of op(A) and op(B) and a column-major store. alpha enters only in
// the micro kernel; beta only in the pass before the block loop, or as `clear` on the first depth block.
#pragma once

#include <cstddef>

#include "parallel/blas/level3/block_driver.h"
#include "parallel/blas/level3/gemm.h"
#include "parallel/blas/level3/packing.h"
#include "parallel/blas/level3/small_gemm.h"

namespace kovra::parallel::blas {

// beta applied to the tile before any block: 0 clears (only when alpha is 0; otherwise the first depth
// block stores), 1 leaves, anything else multiplies.
template <typename T>
bool beta_scales(const T& beta) {
  if constexpr (is_complex_v<T>) return !(beta.imag() == 0 && (beta.real() == 1 || beta.real() == 0));
  else return beta != 1 && beta != 0;
}

template <typename T>
void gemm_object<T>::run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const {
  if (helper::is_zero(alpha) || beta_scales(beta))
    for (int j = j0; j < j1; ++j) scale_column(c + i0 + std::ptrdiff_t{ldc} * j, i1 - i0, beta);
  if (helper::is_zero(alpha)) return;

  const kernels::kernel_object<T>& kern = *kernel;
  const block_packer<T> pack_a = nota ? pack_a_block<T> : conja ? pack_a_conj_trans_block<T> : pack_a_trans_block<T>;
  const block_packer<T> pack_b = notb ? pack_b_block<T> : conjb ? pack_b_conj_trans_block<T> : pack_b_trans_block<T>;
  // op(A) rows [i, i+mb) at depth [l, l+kb): a block of A as it lies, or of A^T read by columns.
  const auto pack_op_a = [&](T* packed, int i, int l, int mb, int kb) {
    if (nota) pack_a(kern, a + i + std::ptrdiff_t{lda} * l, lda, packed, mb, kb);
    else pack_a(kern, a + l + std::ptrdiff_t{lda} * i, lda, packed, kb, mb);
  };
  const auto pack_op_b = [&](T* packed, int l, int j, int kb, int nb) {
    if (notb) pack_b(kern, b + l + std::ptrdiff_t{ldb} * j, ldb, packed, kb, nb);
    else pack_b(kern, b + j + std::ptrdiff_t{ldb} * l, ldb, packed, nb, kb);
  };
  run_blocks(kern, block_buffers<T>(kern, s), i0, i1, j0, j1, k, helper::is_zero(beta), pack_op_a, pack_op_b,
             column_major_store<T>{c, ldc, alpha});
}

}  // namespace kovra::parallel::blas
