// kernel_neon_fma_scalar<T>: the kernels of ARMv7 processors with NEON and the VFPv4 fused multiply-add.
// The micro kernels keep the whole tile in registers and multiply a column of A by one broadcast element
// of B (the scalar of the name); the real types also get unrolled packers and vector axpy and scal.
//
// The bodies are built with VFPv4 enabled (the *_vfpv4.cpp files) while the rest of the library keeps
// the NEON baseline, so nothing here may run, the factories included, unless the processor reports
// VFPv4: on an older core the first fused multiply-add is an illegal instruction.
//
// What the micro kernels rely on, beyond the contract of kernel_object:
//   - A panels lie on 32 bytes (float) or 16 bytes (double), B panels on 16 (float) or 8 (double); the
//     scratch layout gives this, since the scratch is page-aligned and one step of a panel is a multiple
//     of the boundary. A misaligned float panel is an alignment fault, not a slowdown.
//   - The float kernels read up to two steps of A and one of B past the end of the panels, the double
//     one a step of A; the values are not used, but the memory must be readable (the scratch is).
//   - C needs element alignment only, and with clear set it is never read.
//
// Arithmetic, which the tests reproduce bit for bit: the product accumulates from zero with one fused
// multiply-add per term, and alpha enters once, at the end, fused into the update of C (or as a plain
// product when clear is set). That is not the order of the default bodies, which scale A as they read
// it and accumulate into C, so results agree with the portable kernel to rounding only.
#pragma once

#include "kernels/neon/neon_blocking.h"
#include "kernels/neon/neon_kernel_base.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>

namespace kovra::kernels {

// The real types: micro kernel and vector kernels. double has 4 by 4 tiles; NEON has no double lanes on
// ARMv7, so the micro kernel keeps the tile in sixteen VFP registers and the vector kernels work in
// pairs of elements. The complex types are in kernel_neon_fma_scalar_complex.h.
template <typename T> class kernel_neon_fma_scalar : public neon_kernel_base<T> {
 public:
  kernel_neon_fma_scalar(int block_m, int block_n, int block_k)
      : neon_kernel_base<T>(block_m, block_n, block_k, fma_scalar_blocking<T>::value) {}

  void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const override;
  void axpy_kernel(int n, const T* alpha, const T* x, T* y) const override;
  void scal_kernel(int n, const T* alpha, T* x) const override;
};

// float has 8 by 4 tiles, held in eight quad registers, two per column, and also the only vector form
// of micro_kernel_t, a pack_b that prefetches its source and stores aligned, and its own image kernel.
template <> class kernel_neon_fma_scalar<float> : public neon_kernel_base<float> {
 public:
  kernel_neon_fma_scalar(int block_m, int block_n, int block_k)
      : neon_kernel_base<float>(block_m, block_n, block_k, fma_scalar_blocking<float>::value) {}

  void pack_b(const float* src, int ld, float* dst) const override;
  void micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                    bool clear) const override;
  void micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc, bool clear) const override;
  void axpy_kernel(int n, const float* alpha, const float* x, float* y) const override;
  void scal_kernel(int n, const float* alpha, float* x) const override;
  // An image_kernel_neon_fma_scalar<float>, whose interleaved packers are vectorised for these 8 by 4 tiles.
  std::shared_ptr<image_kernel_object<float>> new_image_kernel() const override;
};

// The kernel with this class's own blocking numbers. Only for processors with VFPv4.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_fma_scalar();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma_scalar<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma_scalar<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
