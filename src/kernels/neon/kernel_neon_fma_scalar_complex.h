// kernel_neon_fma_scalar<T> for the complex types: the real micro kernels run on the interleaved parts
// of the panels, and the complex arithmetic happens once per tile, at the end. Packers, micro_kernel_t
// and the vector kernels keep the default bodies with this class's tiles.
//
// A packed step holds real and imaginary parts interleaved, so the real loop sees an A step of twice
// the tile height and a B step of twice the width, and its accumulators hold, per column j of the tile,
// R[j] = sum of A times b_j.re and I[j] = sum of A times b_j.im, both over the interleaved parts:
//
//   A step (complex<float>, 4 rows):  a0.re a0.im a1.re a1.im | a2.re a2.im a3.re a3.im   (32 bytes)
//   B step (complex<float>, 2 cols):  b0.re b0.im b1.re b1.im                             (16 bytes)
//   accumulators, in the order of the real kernel's columns: R[0] I[0] R[1] I[1]
//
// Same requirements as the real kernels: A panels on 32 bytes (complex<float>) or 16 (complex<double>),
// B panels on 16 or 8, up to two A steps and one B step (complex<float>) or one A step (complex<double>)
// readable past the panels, C element-aligned and never read with clear set.
//
// The end steps differ by type, and the tests hold both to them bit for bit:
//   - complex<float>: T = R + swapneg(I), P = alpha.re * T, Q = alpha.im * T, then (P + C) + swapneg(Q),
//     or P + swapneg(Q) with clear; swapneg(x0, x1, x2, x3) = (-x1, x0, -x3, x2). No fused operations.
//   - complex<double>: t is the complex sum, u = t.re * alpha.re, v = t.im * alpha.re, then w = u *
//     alpha.im, z = v * alpha.im, result (u - z, v + w), plus C unless clear. The factor is therefore
//     alpha.re * (1 + i alpha.im): alpha itself when alpha.re is 1 or alpha.im is 0, and 2 + 6i for an
//     alpha of 2 + 3i. Callers that need another alpha exactly must not pick this kernel.
#pragma once

#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar.h"

#if KOVRA_ARM32

namespace kovra::kernels {

// 4 by 2 tiles of complex<float> run the 8 by 4 float loop in eight quad registers, 2 by 2 tiles of
// complex<double> the 4 by 4 double loop in sixteen VFP registers.
template <typename R> class kernel_neon_fma_scalar<std::complex<R>> : public neon_kernel_base<std::complex<R>> {
 public:
  kernel_neon_fma_scalar(int block_m, int block_n, int block_k)
      : neon_kernel_base<std::complex<R>>(block_m, block_n, block_k, fma_scalar_blocking<std::complex<R>>::value) {}

  void micro_kernel(const std::complex<R>* alpha, int k, const std::complex<R>* a, const std::complex<R>* b,
                    std::complex<R>* c, int ldc, bool clear) const override;
};

template <> std::shared_ptr<kernel_object<std::complex<float>>> make_kernel_neon_fma_scalar<std::complex<float>>();
template <> std::shared_ptr<kernel_object<std::complex<double>>> make_kernel_neon_fma_scalar<std::complex<double>>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
