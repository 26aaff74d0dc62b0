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
// Only the tile packers and micro_kernel are replaced; the packers are the shared unrolled bodies,
// which write exactly the bytes of the default ones.
#pragma once

#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>

namespace kovra::kernels {

template <typename T> class kernel_neon_fma;

// Numbers of this class. block_n is a multiple of the tile width.
template <typename T> struct fma_blocking;
template <> struct fma_blocking<float> { static constexpr kernel_blocking value{512, 12, 128, 8, 4, 16, 0}; };
template <> struct fma_blocking<double> { static constexpr kernel_blocking value{512, 32, 128, 4, 4, 32, 0}; };
static_assert(sound_blocking<float>(fma_blocking<float>::value));
static_assert(sound_blocking<double>(fma_blocking<double>::value));

// 8 by 4 tiles of float. The micro kernel keeps the tile in eight quad registers, each holding one
// rotation of the B step against one half of the A step, and sorts the columns out at the end.
template <> class kernel_neon_fma<float> : public kernel_object<float> {
 public:
  kernel_neon_fma(int block_m, int block_n, int block_k)
      : kernel_object<float>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const float* src, int ld, float* dst) const override;
  void pack_a_trans(const float* src, int ld, float* dst) const override;
  void pack_b_trans(const float* src, int ld, float* dst) const override;
  void pack_b(const float* src, int ld, float* dst) const override;
  void micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                    bool clear) const override;

 private:
  static constexpr kernel_blocking tiles = fma_blocking<float>::value;
};

// 4 by 4 tiles of double: NEON has no double lanes on ARMv7, so the micro kernel keeps the tile in
// sixteen VFP registers, column by column, and multiplies each A step by the B elements one at a time.
template <> class kernel_neon_fma<double> : public kernel_object<double> {
 public:
  kernel_neon_fma(int block_m, int block_n, int block_k)
      : kernel_object<double>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const double* src, int ld, double* dst) const override;
  void pack_a_trans(const double* src, int ld, double* dst) const override;
  void pack_b_trans(const double* src, int ld, double* dst) const override;
  void pack_b(const double* src, int ld, double* dst) const override;
  void micro_kernel(const double* alpha, int k, const double* a, const double* b, double* c, int ldc,
                    bool clear) const override;

 private:
  static constexpr kernel_blocking tiles = fma_blocking<double>::value;
};

// The kernel with this class's own blocking numbers. Only for processors with VFPv4.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_fma();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
