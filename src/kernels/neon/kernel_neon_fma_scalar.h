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

#include "kernels/blocking.h"
#include "kernels/kernel_object.h"
#include "platform.h"

#if KOVRA_ARM32

#include <memory>

namespace kovra::kernels {

template <typename T> class kernel_neon_fma_scalar;

// Numbers of this class. block_n is a multiple of the tile width, and block_m * block_k elements of A
// keep the B block, and with it every B panel, on a page boundary of the scratch.
template <typename T> struct fma_scalar_blocking;
template <> struct fma_scalar_blocking<float> { static constexpr kernel_blocking value{512, 12, 128, 8, 4, 16, 0}; };
template <> struct fma_scalar_blocking<double> { static constexpr kernel_blocking value{512, 32, 128, 4, 4, 32, 0}; };
static_assert(sound_blocking<float>(fma_scalar_blocking<float>::value));
static_assert(sound_blocking<double>(fma_scalar_blocking<double>::value));

// 8 by 4 tiles of float: the micro kernel holds the tile in eight quad registers, two per column.
template <> class kernel_neon_fma_scalar<float> : public kernel_object<float> {
 public:
  kernel_neon_fma_scalar(int block_m, int block_n, int block_k)
      : kernel_object<float>(block_m, block_n, block_k, tiles.tile_m, tiles.tile_n, tiles.reserved_hint) {}

  void pack_a(const float* src, int ld, float* dst) const override;
  void pack_a_trans(const float* src, int ld, float* dst) const override;
  void pack_b_trans(const float* src, int ld, float* dst) const override;
  void pack_b(const float* src, int ld, float* dst) const override;
  void micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                    bool clear) const override;
  void micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc, bool clear) const override;
  void axpy_kernel(int n, const float* alpha, const float* x, float* y) const override;
  void scal_kernel(int n, const float* alpha, float* x) const override;

 private:
  static constexpr kernel_blocking tiles = fma_scalar_blocking<float>::value;
};

// 4 by 4 tiles of double: NEON has no double lanes on ARMv7, so the micro kernel keeps the tile in
// sixteen VFP registers and the vector kernels work in pairs of elements.
template <> class kernel_neon_fma_scalar<double> : public kernel_object<double> {
 public:
  kernel_neon_fma_scalar(int block_m, int block_n, int block_k)
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
  static constexpr kernel_blocking tiles = fma_scalar_blocking<double>::value;
};

// The kernel with this class's own blocking numbers. Only for processors with VFPv4.
template <typename T> std::shared_ptr<kernel_object<T>> make_kernel_neon_fma_scalar();

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma_scalar<float>();
template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma_scalar<double>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
