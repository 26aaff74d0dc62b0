// kernel_object<T>: the one polymorphic seam between the routines and the processor. Its fields are the
// blocking numbers of the matrix product; its virtual operations are the tile packers, the micro kernels
// and the vector kernels. The default bodies here are the portable path and the meaning of every
// operation: a NEON subclass overrides only what it speeds up and must give the same results.
//
// Packed panels (MR = tile_m, NR = tile_n):
//
//   A panel, depth k:  element (i, p) of op(A) at p*MR + i      B panel, depth k: element (p, j) of op(B) at p*NR + j
//
//        p=0        p=1              p=k-1                           p=0        p=1
//     [a00..aM0 | a01..aM1 | ... | a0k..aMk]                     [b00..b0N | b10..b1N | ...]
//
// A tile packer writes one whole tile of tile_size = MR*NR elements: an A tile is MR rows by NR steps of
// depth, a B tile MR steps of depth by NR columns. Partial panels are the packing walkers' business.
//
// Contract of micro_kernel(alpha, k, a, b, c, ldc, clear): C(MR x NR, column-major, leading dimension
// ldc) += alpha * A_panel * B_panel. With clear set the tile is zeroed first and C is never read. No
// alignment is assumed by the default bodies.
#pragma once

#include <complex>
#include <cstddef>

#include "helper/helper.h"

namespace kovra::kernels {

template <typename T>
class kernel_object {
 public:
  kernel_object(int block_m, int block_n, int block_k, int tile_m, int tile_n, int reserved_hint = 0);

  int block_m;
  int block_n;
  int block_k;
  int tile_m;
  int tile_n;
  int tile_size;
  int reserved_hint;
  int a_block_slack = 0;

  virtual void pack_a(const T* src, int ld, T* dst) const;
  virtual void pack_a_trans(const T* src, int ld, T* dst) const;
  virtual void pack_a_conj_trans(const T* src, int ld, T* dst) const;
  virtual void pack_b_trans(const T* src, int ld, T* dst) const;
  virtual void pack_b_conj_trans(const T* src, int ld, T* dst) const;
  virtual void pack_b(const T* src, int ld, T* dst) const;
  virtual void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const;
  virtual void micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) const;
  virtual void axpy_kernel(int n, const T* alpha, const T* x, T* y) const;
  virtual void scal_kernel(int n, const T* alpha, T* x) const;
};

}  // namespace kovra::kernels
