// The block loop of the matrix products: one task's share of C, rows [i0, i1) by columns [j0, j1), over
// depth k. GEMM runs it with its op(A) and op(B) packers and a column-major store; the image
// convolution runs the same loop with an image packer for A and a row- or column-major store.
//
// Loop order: i (rows, block_m) / l (depth, block_k) / j (columns, block_n) / micro-tile rows /
// micro-tile columns. A block of A is packed once per (i, l), a block of B once per (i, l, j). Whole
// micro tiles go straight to C; a tile that crosses the block's edge is computed whole into the edge
// tile (with clear set, over the zero padding of the last panels) and only its valid corner is
// transferred: stored where this block clears C, added otherwise. The first depth block clears C when
// `first_block_clears` holds; every later one adds.
//
// The pieces it is given:
//   pack_a(packed, i, l, mb, kb)  rows [i, i+mb) of A at depth [l, l+kb) into A panels tile_m wide
//   pack_b(packed, l, j, kb, nb)  depth [l, l+kb) of B at columns [j, j+nb) into B panels tile_n wide
//   store                         column_major_store or row_major_store below
#pragma once

#include <cstddef>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "helper/scratch_plan.h"
#include "kernels/kernel_object.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The packed blocks and the edge tile in a worker's scratch, where the scratch plan puts them.
template <typename T> struct block_buffers {
  T* packed_a;
  T* packed_b;
  T* edge_tile;

  block_buffers(const kernels::kernel_object<T>& kern, threading::scratch* s) {
    const helper::block_layout layout = kernels::plan_blocks(kern);
    packed_a = reinterpret_cast<T*>(s->storage + layout.a_offset);
    packed_b = reinterpret_cast<T*>(s->storage + layout.b_offset);
    edge_tile = reinterpret_cast<T*>(s->storage + layout.edge_offset);
  }
};

// C(i, j) at c[i + ldc*j]: micro_kernel with alpha. The edge tile is column-major too, element (r, s)
// at edge[r + tile_m*s].
template <typename T> struct column_major_store {
  T* c;
  int ldc;
  T alpha;

  void tile(const kernels::kernel_object<T>& kern, int kb, const T* a, const T* b, int i, int j, bool clear) const {
    kern.micro_kernel(&alpha, kb, a, b, c + i + std::ptrdiff_t{ldc} * j, ldc, clear);
  }
  void edge(const kernels::kernel_object<T>& kern, int kb, const T* a, const T* b, T* edge, int i, int j, int rows,
            int cols, bool clear) const {
    kern.micro_kernel(&alpha, kb, a, b, edge, kern.tile_m, true);
    for (int s = 0; s < cols; ++s) {
      T* cs = c + i + std::ptrdiff_t{ldc} * (j + s);
      const T* es = edge + std::ptrdiff_t{kern.tile_m} * s;
      for (int r = 0; r < rows; ++r) cs[r] = clear ? es[r] : helper::add(cs[r], es[r]);
    }
  }
};

// C(i, j) at c[j + ldc*i]: micro_kernel_t, which has no alpha and stores the tile by rows, so the edge
// tile's element (r, s) is at edge[s + tile_m*r]; a row of tile_n elements fits there because no kernel
// has tiles wider than high.
template <typename T> struct row_major_store {
  T* c;
  int ldc;

  void tile(const kernels::kernel_object<T>& kern, int kb, const T* a, const T* b, int i, int j, bool clear) const {
    kern.micro_kernel_t(kb, a, b, c + j + std::ptrdiff_t{ldc} * i, ldc, clear);
  }
  void edge(const kernels::kernel_object<T>& kern, int kb, const T* a, const T* b, T* edge, int i, int j, int rows,
            int cols, bool clear) const {
    kern.micro_kernel_t(kb, a, b, edge, kern.tile_m, true);
    for (int r = 0; r < rows; ++r) {
      T* cr = c + j + std::ptrdiff_t{ldc} * (i + r);
      const T* er = edge + std::ptrdiff_t{kern.tile_m} * r;
      for (int s = 0; s < cols; ++s) cr[s] = clear ? er[s] : helper::add(cr[s], er[s]);
    }
  }
};

template <typename T, typename PackA, typename PackB, typename Store>
void run_blocks(const kernels::kernel_object<T>& kern, const block_buffers<T>& buffers, int i0, int i1, int j0,
                int j1, int k, bool first_block_clears, PackA pack_a, PackB pack_b, const Store& store) {
  const int tm = kern.tile_m, tn = kern.tile_n;
  for (int i = i0; i < i1; i += kern.block_m) {
    const int mb = helper::MIN(kern.block_m, i1 - i);
    for (int l = 0; l < k; l += kern.block_k) {
      const int kb = helper::MIN(kern.block_k, k - l);
      pack_a(buffers.packed_a, i, l, mb, kb);
      const bool clear = l == 0 && first_block_clears;

      for (int j = j0; j < j1; j += kern.block_n) {
        const int nb = helper::MIN(kern.block_n, j1 - j);
        pack_b(buffers.packed_b, l, j, kb, nb);
        const auto b_panel = [&](int nn) { return buffers.packed_b + std::ptrdiff_t{kb} * nn; };

        const int rm = mb % tm, rn = nb % tn;
        for (int mm = 0; mm < mb - rm; mm += tm) {
          const T* a_panel = buffers.packed_a + std::ptrdiff_t{kb} * mm;
          for (int nn = 0; nn < nb - rn; nn += tn) store.tile(kern, kb, a_panel, b_panel(nn), i + mm, j + nn, clear);
          if (rn != 0)
            store.edge(kern, kb, a_panel, b_panel(nb - rn), buffers.edge_tile, i + mm, j + nb - rn, tm, rn, clear);
        }
        if (rm != 0) {
          const T* a_panel = buffers.packed_a + std::ptrdiff_t{kb} * (mb - rm);
          for (int nn = 0; nn < nb; nn += tn)
            store.edge(kern, kb, a_panel, b_panel(nn), buffers.edge_tile, i + mb - rm, j + nn, rm,
                       helper::MIN(tn, nb - nn), clear);
        }
      }
    }
  }
}

}  // namespace kovra::parallel::blas
