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
// into C (C + alpha * acc), or as a plain product when clear is set. The vector stages of axpy_kernel use
// the multiply-accumulate too; its last elements run on the scalar unit with a fused multiply-add (a
// library call on these cores), so they are rounded once where the others are rounded twice.
#pragma once

#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>

namespace kovra::kernels {

template <typename T> class kernel_neon_mla;

// The numbers of kernel_neon_fma_scalar of the same type: the two classes differ only in arithmetic.
template <typename T> struct mla_blocking {
  static constexpr kernel_blocking value = fma_scalar_blocking<T>::value;
};

// 8 by 4 tiles of float: the micro kernel holds the tile in eight quad registers, two per column, and
// multiplies by the lanes of the B step directly.
template <> class kernel_neon_mla<float> : public kernel_object<float> {
 public:
  kernel_neon_mla(int block_m, int block_n, int block_k)
      : kernel_object<float>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const float* src, int ld, float* dst) const override;
  void pack_a_trans(const float* src, int ld, float* dst) const override;
  void pack_b_trans(const float* src, int ld, float* dst) const override;
  void pack_b(const float* src, int ld, float* dst) const override;
  void micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                    bool clear) const override;
  void axpy_kernel(int n, const float* alpha, const float* x, float* y) const override;
  void scal_kernel(int n, const float* alpha, float* x) const override;

 private:
  static constexpr kernel_blocking tiles = mla_blocking<float>::value;
};

// 4 by 4 tiles of double in sixteen VFP registers; the vector kernels work in pairs of elements.
template <> class kernel_neon_mla<double> : public kernel_object<double> {
 public:
  kernel_neon_mla(int block_m, int block_n, int block_k)
      : kernel_object<double>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const double* src, int ld, double* dst) const override;
  void pack_a_trans(const double* src, int ld, double* dst) const override;
  void pack_b_trans(const double* src, int ld, double* dst) const override;
  void pack_b(const double* src, int ld, double* dst) const override;
  void micro_kernel(const double* alpha, int k, const double* a, const double* b, double* c, int ldc,
                    bool clear) const override;
  void axpy_kernel(int n, const double* alpha, const double* x, double* y) const override;
  void scal_kernel(int n, const double* alpha, double* x) const override;

 private:
  static constexpr kernel_blocking tiles = mla_blocking<double>::value;
};

// The kernel with this class's own blocking numbers. Needs NEON only.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_mla();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_mla<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_mla<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
