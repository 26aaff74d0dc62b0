// Packing of matrix blocks into the panel layout of the micro kernel (see kernels/kernel_object.h).
//
// Two walks cover every case. walk_row_panels makes panels out of w consecutive source rows,
// walk_column_panels out of w consecutive source columns. Inside a panel the kernel's tile packer copies
// whole tiles (w by g, or g by w); what is left of the depth is copied a group at a time, and a last
// panel narrower than w is padded with zeros, so the micro kernel always reads whole panels.
//
//   source block (walk_row_panels, w = 3, g = 2)        packed: panel 0 | panel 1 (zero padded)
//     r0 . . . . .   <- panel 0: tiles at s = 0, 2,      [tile s0-1][tile s2-3][group s4]
//     r1 . . . . .               then group s = 4        [r3 r4 0][r3 r4 0] ... one group per column
//     r2 . . . . .
//     r3 . . . . .   <- panel 1: 2 rows left, padded
//     r4 . . . . .
//
// The tile packers are reached through a pointer to member of kernel_object<T>, so a kernel's own
// (virtual) packer runs; the per-element copies conjugate when the packing operation does.
#pragma once

#include <cstddef>
#include <cstring>

#include "helper/helper.h"
#include "kernels/kernel_object.h"

namespace kovra::parallel::blas {

template <typename T>
using tile_packer = void (kernels::kernel_object<T>::*)(const T* src, int ld, T* dst) const;

// Panels of w source rows; tiles of w rows by g columns. Returns the element count written.
template <typename T>
std::ptrdiff_t walk_row_panels(const kernels::kernel_object<T>& kernel, tile_packer<T> packer, bool conjugate,
                     const T* src, int ld, T* dst, int rows, int cols, int w, int g) {
  const int rr = rows % w, rs = cols % g;
  T* out = dst;
  for (int r = 0; r < rows - rr; r += w) {
    for (int s = 0; s < cols - rs; s += g) {
      (kernel.*packer)(src + r + std::ptrdiff_t{s} * ld, ld, out);
      out += kernel.tile_size;
    }
    for (int s = cols - rs; s < cols; ++s) {
      const T* column = src + r + std::ptrdiff_t{s} * ld;
      if (!conjugate && is_complex_v<T>) {
        std::memcpy(static_cast<void*>(out), column, sizeof(T) * w);
        out += w;
      } else {
        for (int i = 0; i < w; ++i) *out++ = helper::CONJG(conjugate, column[i]);
      }
    }
  }
  if (rr != 0) {
    for (int s = 0; s < cols; ++s) {
      const T* column = src + (rows - rr) + std::ptrdiff_t{s} * ld;
      for (int i = 0; i < rr; ++i) *out++ = helper::CONJG(conjugate, column[i]);
      for (int i = rr; i < w; ++i) *out++ = T(0);
    }
  }
  return out - dst;
}

// Panels of w source columns; tiles of g rows by w columns. Returns the element count written.
template <typename T>
std::ptrdiff_t walk_column_panels(const kernels::kernel_object<T>& kernel, tile_packer<T> packer, bool conjugate,
                        const T* src, int ld, T* dst, int rows, int cols, int w, int g) {
  const int rs = cols % w, rr = rows % g;
  T* out = dst;
  for (int s = 0; s < cols - rs; s += w) {
    const T* panel = src + std::ptrdiff_t{s} * ld;
    for (int r = 0; r < rows - rr; r += g) {
      (kernel.*packer)(panel + r, ld, out);
      out += kernel.tile_size;
    }
    for (int r = rows - rr; r < rows; ++r)
      for (int j = 0; j < w; ++j) *out++ = helper::CONJG(conjugate, panel[r + std::ptrdiff_t{j} * ld]);
  }
  if (rs != 0) {
    const T* panel = src + std::ptrdiff_t{cols - rs} * ld;
    for (int r = 0; r < rows; ++r) {
      for (int j = 0; j < rs; ++j) *out++ = helper::CONJG(conjugate, panel[r + std::ptrdiff_t{j} * ld]);
      for (int j = rs; j < w; ++j) *out++ = T(0);
    }
  }
  return out - dst;
}

// The six packing operations: a block of op(A) (rows of op(A) by depth) into A panels tile_m wide, or a
// block of op(B) (depth by columns of op(B)) into B panels tile_n wide. `rows` and `cols` are those of
// the source block as it lies in memory.
template <typename T>
using block_packer = std::ptrdiff_t (*)(const kernels::kernel_object<T>&, const T*, int, T*, int, int);

template <typename T>
std::ptrdiff_t pack_a_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows, int cols) {
  return walk_row_panels(k, &kernels::kernel_object<T>::pack_a, false, src, ld, dst, rows, cols, k.tile_m, k.tile_n);
}
template <typename T>
std::ptrdiff_t pack_a_trans_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows,
                                  int cols) {
  return walk_column_panels(k, &kernels::kernel_object<T>::pack_a_trans, false, src, ld, dst, rows, cols, k.tile_m,
                            k.tile_n);
}
template <typename T>
std::ptrdiff_t pack_a_conj_trans_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows,
                                       int cols) {
  return walk_column_panels(k, &kernels::kernel_object<T>::pack_a_conj_trans, true, src, ld, dst, rows, cols, k.tile_m,
                            k.tile_n);
}
template <typename T>
std::ptrdiff_t pack_b_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows, int cols) {
  return walk_column_panels(k, &kernels::kernel_object<T>::pack_b, false, src, ld, dst, rows, cols, k.tile_n, k.tile_m);
}
template <typename T>
std::ptrdiff_t pack_b_trans_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows,
                                  int cols) {
  return walk_row_panels(k, &kernels::kernel_object<T>::pack_b_trans, false, src, ld, dst, rows, cols, k.tile_n,
                         k.tile_m);
}
template <typename T>
std::ptrdiff_t pack_b_conj_trans_block(const kernels::kernel_object<T>& k, const T* src, int ld, T* dst, int rows,
                                       int cols) {
  return walk_row_panels(k, &kernels::kernel_object<T>::pack_b_conj_trans, true, src, ld, dst, rows, cols, k.tile_n,
                         k.tile_m);
}

}  // namespace kovra::parallel::blas
