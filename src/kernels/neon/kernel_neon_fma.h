// kernel_neon_fma<T>: NEON kernels with the VFPv4 fused multiply-add for float and double, the design
// that rotates B through the lanes instead of broadcasting it. Processor selection never builds this
// class (it takes kernel_neon_fma_scalar); the factories below are the only way to one.
//
// The bodies are built with VFPv4 enabled (the *_vfpv4.cpp files), so nothing here may run, the
// factories included, unless the processor reports VFPv4.
//
// What the micro kernels rely on, beyond the contract of kernel_object:
//   - No alignment of panels or of C beyond that of the element.
//   - The float kernel reads up to two steps of A and one of B past the end of the panels, the double
//     one a step of A; the values are not used, but the memory must be readable (the scratch is).
//   - With clear set, C is never read.
//
// Arithmetic, which the tests reproduce bit for bit: each element of the product accumulates from +0
// with one fused multiply-add per step of depth, is then multiplied by alpha (a rounded product) and,
// unless clear is set, added to C with a plain addition. The default bodies scale A as they read it and
// accumulate into C, so the two agree to rounding only.
//
// Only the tile packers (the shared ones of neon_kernel_base) and micro_kernel are replaced.
#pragma once

#include "kernels/neon/neon_blocking.h"
#include "kernels/neon/neon_kernel_base.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>
#include <type_traits>

namespace kovra::kernels {

// float: 8 by 4 tiles; the micro kernel keeps the tile in eight quad registers, each holding one rotation
// of the B step against one half of the A step, and sorts the columns out at the end. double: 4 by 4
// tiles; NEON has no double lanes on ARMv7, so the micro kernel keeps the tile in sixteen VFP registers,
// column by column, and multiplies each A step by the B elements one at a time.
template <typename T> class kernel_neon_fma : public neon_kernel_base<T> {
  static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "float and double only");

 public:
  kernel_neon_fma(int block_m, int block_n, int block_k)
      : neon_kernel_base<T>(block_m, block_n, block_k, fma_blocking<T>::value) {}

  void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const override;
};

// The kernel with this class's own blocking numbers. Only for processors with VFPv4.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_fma();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
