// The tile body of gemm_object<T>: block loops over one task's share of C.
//
// Loop order: i (rows, block_m) / l (depth, block_k) / j (columns, block_n) / micro-tile rows /
// micro-tile columns. A block of op(A) is packed once per (i, l), a block of op(B) once per (i, l, j).
// Whole micro tiles are computed in place in C; a tile that crosses C's edge is computed whole into the
// scratch's edge tile (with clear set, over the zero padding of the last panels) and only its valid
// corner is transferred: stored where this block clears C, added otherwise. alpha enters only in the
// micro kernel; beta only in the pass before the block loops, or as `clear` on the first depth block.
#pragma once

#include <cstring>

#include "kernels/blocking.h"
#include "parallel/blas/level3/gemm.h"
#include "parallel/blas/level3/packing.h"
#include "parallel/blas/level3/small_gemm.h"

namespace kovra::parallel::blas {

// rows [0, rows) by columns [0, cols) of the edge tile (leading dimension tile_m) into C.
template <typename T>
void transfer_edge_tile(const T* edge, int tile_m, T* c, int ldc, int rows, int cols, bool clear) {
  for (int s = 0; s < cols; ++s) {
    T* cs = c + static_cast<long>(s) * ldc;
    const T* es = edge + static_cast<long>(s) * tile_m;
    for (int r = 0; r < rows; ++r) cs[r] = clear ? es[r] : helper::add(cs[r], es[r]);
  }
}

// beta applied to the tile before any block: 0 clears (only when alpha is 0; otherwise the first depth
// block stores), 1 leaves, anything else multiplies.
template <typename T>
bool beta_scales(const T& beta) {
  if constexpr (is_complex_v<T>) return !(beta.imag() == 0 && (beta.real() == 1 || beta.real() == 0));
  else return beta != 1 && beta != 0;
}

template <typename T>
void gemm_object<T>::run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const {
  const kernels::kernel_object<T>& kern = *kernel;
  const block_packer<T> pack_a = nota ? pack_a_block<T> : conja ? pack_a_conj_trans_block<T> : pack_a_trans_block<T>;
  const block_packer<T> pack_b = notb ? pack_b_block<T> : conjb ? pack_b_conj_trans_block<T> : pack_b_trans_block<T>;

  const kernels::scratch_layout layout = kernels::split_scratch(kern);
  auto* base = reinterpret_cast<unsigned char*>(s->storage);
  T* packed_a = reinterpret_cast<T*>(base + layout.a_offset);
  T* packed_b = reinterpret_cast<T*>(base + layout.b_offset);
  T* edge_tile = reinterpret_cast<T*>(base + layout.edge_offset);

  if (helper::is_zero(alpha)) {
    for (int j = j0; j < j1; ++j) scale_column(c + i0 + static_cast<long>(j) * ldc, i1 - i0, beta);
    return;
  }
  if (beta_scales(beta))
    for (int j = j0; j < j1; ++j) scale_column(c + i0 + static_cast<long>(j) * ldc, i1 - i0, beta);

  const int tm = kern.tile_m, tn = kern.tile_n;
  for (int i = i0; i < i1; i += kern.block_m) {
    const int mb = helper::MIN(kern.block_m, i1 - i);
    for (int l = 0; l < k; l += kern.block_k) {
      const int kb = helper::MIN(kern.block_k, k - l);
      if (nota) pack_a(kern, a + i + static_cast<long>(l) * lda, lda, packed_a, mb, kb);
      else pack_a(kern, a + l + static_cast<long>(i) * lda, lda, packed_a, kb, mb);
      const bool clear = l == 0 && helper::is_zero(beta);

      for (int j = j0; j < j1; j += kern.block_n) {
        const int nb = helper::MIN(kern.block_n, j1 - j);
        if (notb) pack_b(kern, b + l + static_cast<long>(j) * ldb, ldb, packed_b, kb, nb);
        else pack_b(kern, b + j + static_cast<long>(l) * ldb, ldb, packed_b, nb, kb);

        T* cb = c + i + static_cast<long>(j) * ldc;
        const int rm = mb % tm, rn = nb % tn;
        for (int mm = 0; mm < mb - rm; mm += tm) {
          const T* a_panel = packed_a + static_cast<long>(kb) * mm;
          for (int nn = 0; nn < nb - rn; nn += tn)
            kern.micro_kernel(&alpha, kb, a_panel, packed_b + static_cast<long>(kb) * nn,
                              cb + mm + static_cast<long>(nn) * ldc, ldc, clear);
          if (rn != 0) {
            const int nn = nb - rn;
            kern.micro_kernel(&alpha, kb, a_panel, packed_b + static_cast<long>(kb) * nn, edge_tile, tm, true);
            transfer_edge_tile(edge_tile, tm, cb + mm + static_cast<long>(nn) * ldc, ldc, tm, rn, clear);
          }
        }
        if (rm != 0) {
          const int mm = mb - rm;
          const T* a_panel = packed_a + static_cast<long>(kb) * mm;
          for (int nn = 0; nn < nb; nn += tn) {
            kern.micro_kernel(&alpha, kb, a_panel, packed_b + static_cast<long>(kb) * nn, edge_tile, tm, true);
            transfer_edge_tile(edge_tile, tm, cb + mm + static_cast<long>(nn) * ldc, ldc, rm,
                               helper::MIN(tn, nb - nn), clear);
          }
        }
      }
    }
  }
}

}  // namespace kovra::parallel::blas
