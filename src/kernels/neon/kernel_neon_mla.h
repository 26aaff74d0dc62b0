// kernel_neon_mla<T>: the kernels of ARMv7 processors with NEON but without the VFPv4 fused multiply-add
// (Cortex-A8, A9). The same tiles, blocking numbers and loop plans as kernel_neon_fma_scalar<T>, with the
// multiply-accumulate of NEON and VFPv3 in place of the fused form: every product is rounded before it
// is added. The files keep the NEON baseline, so everything here runs on every ARMv7 NEON core.
//
// What the micro kernels rely on, beyond the contract of kernel_object:
//   - No alignment of the panels or of C beyond that of the element.
//   - The float kernel reads up to two steps of A and one of B past the end of the panels, the double
//     one a step of A; the values are not used, but the memory must be readable (the scratch is).
//   - With clear set, C is never read.
//
// Arithmetic, which the tests reproduce bit for bit: the product accumulates from zero, acc + a * b with
// the product rounded, in order of depth; alpha enters once, at the end, by the same multiply-accumulate
// into C (C + alpha * acc), or as a plain product when clear is set; the float micro_kernel_t stores the same
// sums by rows with alpha 1. The vector stages of axpy_kernel use the multiply-accumulate too; its last
// elements run on the scalar unit with a fused multiply-add (a library call on these cores), so they are
// rounded once where the others are rounded twice.
#pragma once

#include "kernels/neon/neon_blocking.h"
#include "kernels/neon/neon_kernel_base.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>

namespace kovra::kernels {

// The real types: 8 by 4 tiles of float in eight quad registers, two per column, multiplied by the lanes
// of the B step directly; 4 by 4 tiles of double in sixteen VFP registers. The vector kernels work in
// quad registers (float) or pairs of elements (double). The complex types are in
// kernel_neon_mla_complex.h.
template <typename T> class kernel_neon_mla : public neon_kernel_base<T> {
 public:
  kernel_neon_mla(int block_m, int block_n, int block_k)
      : neon_kernel_base<T>(block_m, block_n, block_k, mla_blocking<T>::value) {}

  void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const override;
  void axpy_kernel(int n, const T* alpha, const T* x, T* y) const override;
  void scal_kernel(int n, const T* alpha, T* x) const override;
};

// float also stores its tile by rows in vector form (micro_kernel_t), for the convolution's row-major output.
template <> class kernel_neon_mla<float> : public neon_kernel_base<float> {
 public:
  kernel_neon_mla(int block_m, int block_n, int block_k)
      : neon_kernel_base<float>(block_m, block_n, block_k, mla_blocking<float>::value) {}

  void micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                    bool clear) const override;
  void micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc, bool clear) const override;
  void axpy_kernel(int n, const float* alpha, const float* x, float* y) const override;
  void scal_kernel(int n, const float* alpha, float* x) const override;
};

// The kernel with this class's own blocking numbers. Needs NEON only.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_mla();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_mla<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_mla<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
