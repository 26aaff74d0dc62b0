// kernel_object<T>: the one polymorphic seam between the routines and the processor. Its fields are the
// blocking numbers of the matrix product; its virtual operations are the tile packers, the micro kernels
// and the vector kernels. The default bodies (kernel_object.cpp) are the portable path and the meaning of
// every operation: a NEON subclass overrides only what it speeds up and must give the same results.
//
// Packed panels (MR = tile_m, NR = tile_n):
//
//   A panel, depth k: element (i, p) of op(A) at p*MR + i    B panel, depth k: element (p, j) of op(B) at p*NR + j
//
//        p=0        p=1              p=k-1                        p=0          p=1
//     [a00..aM0 | a01..aM1 | ... | a0k..aMk]                  [b00..b0N | b10..b1N | ...]
//
// Panel q of a block of depth k starts at q*MR*k (A) or q*NR*k (B). A tile packer writes one whole tile
// of tile_size = MR*NR elements: an A tile is MR rows by NR steps of depth, a B tile MR steps of depth by
// NR columns; `ld` is the source's leading dimension. Partial panels are the packing walkers' business.
//
// micro_kernel(alpha, k, a, b, c, ldc, clear): C(MR x NR, column-major, leading dimension ldc)
// += alpha * A_panel * B_panel, alpha applied to each element of A as it is read. With clear set the tile
// is zeroed first and C is never read, so NaN there does not survive. k < 1 leaves the (possibly cleared)
// tile alone. The real bodies accumulate with one fused multiply-add per term, the complex ones with the
// full complex product and two separate additions.
//
// micro_kernel_t(k, a, b, c, ldc, clear): the same product without alpha, the C tile stored by rows
// (NR consecutive elements per row, rows ldc apart).
//
// axpy_kernel(n, alpha, x, y): y += alpha*x over n contiguous elements. scal_kernel(n, alpha, x):
// x *= alpha; alpha zero clears x without reading it. Neither does anything for n < 1.
//
// make_image_kernel(shape...): the one cached image kernel of this object (image_kernel_object.h), created at the
// first call by new_image_kernel and given the call's numbers by assignment at every call, so a second call with
// other numbers changes the object an earlier caller holds. new_image_kernel: a fresh image kernel of the class
// that goes with this kernel, numbers unset; the convolution gives each call its own, so that calls of different
// shapes can run at once.
//
// The operations other than make_image_kernel write only through their arguments, so one object serves any number
// of threads. No alignment is assumed by the default bodies.
#pragma once

#include <complex>
#include <memory>

#include "kernels/blocking.h"
#include "kernels/image_kernel_object.h"

namespace kovra::kernels {

template <typename T>
class kernel_object {
 public:
  kernel_object(int block_m, int block_n, int block_k, int tile_m, int tile_n, int reserved_hint = 0);
  explicit kernel_object(const kernel_blocking& b);
  virtual ~kernel_object() = default;

  int block_m;
  int block_n;
  int block_k;
  int tile_m;
  int tile_n;
  int tile_size;  // always tile_m * tile_n: what one tile packer writes
  int reserved_hint;
  int a_block_slack = 0;  // elements between the packed A and B blocks
  std::shared_ptr<image_kernel_object<T>> image;  // empty until the first make_image_kernel

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
  virtual std::shared_ptr<image_kernel_object<T>> make_image_kernel(int image_width, int image_height, int output_width,
                                                                    int output_height, int stride, int pad_left,
                                                                    int pad_top, int channels, int filter_x,
                                                                    int filter_y);
  virtual std::shared_ptr<image_kernel_object<T>> new_image_kernel() const;
};

// Where this kernel's packed blocks and edge tile lie in a worker's scratch.
template <typename T> helper::block_layout plan_blocks(const kernel_object<T>& k) {
  return helper::plan_blocks(k.block_m, k.block_n, k.block_k, k.tile_m, k.tile_n, k.a_block_slack, sizeof(T));
}

extern template class kernel_object<float>;
extern template class kernel_object<double>;
extern template class kernel_object<std::complex<float>>;
extern template class kernel_object<std::complex<double>>;

}  // namespace kovra::kernels
