// kernel_neon_mla<T> for the complex types: the real multiply-accumulate loops of kernel_neon_mla<float>
// and <double> run on the interleaved parts of the panels, and the complex arithmetic happens once per
// tile, at the end, exactly as in kernel_neon_fma_scalar<T> of the same type. Packers, micro_kernel_t
// and the vector kernels keep the default bodies with this class's tiles. Built for the NEON baseline.
//
// A packed step holds real and imaginary parts interleaved, so the real loop sees an A step of twice
// the tile height and a B step of twice the width, and its accumulators hold, per column j of the tile,
// R[j] = sum of A times b_j.re and I[j] = sum of A times b_j.im, each product rounded before it is added.
//
// What the micro kernels rely on, beyond the contract of kernel_object:
//   - No alignment of the panels or of C beyond that of the element.
//   - complex<float> reads up to two A steps and one B step past the panels, complex<double> one A
//     step; the values are not used, but the memory must be readable (the scratch is).
//   - With clear set, C is never read.
//
// The end steps, plain multiplications and additions, are those of kernel_neon_fma_scalar:
//   - complex<float>: T = R + swapneg(I), P = alpha.re * T, Q = alpha.im * T, then (P + C) + swapneg(Q),
//     or P + swapneg(Q) with clear; swapneg(x0, x1, x2, x3) = (-x1, x0, -x3, x2).
//   - complex<double>: t is the complex sum, u = t.re * alpha.re, v = t.im * alpha.re, w = u * alpha.im,
//     z = v * alpha.im, result (u - z, v + w), plus C unless clear. The factor is alpha.re * (1 + i
//     alpha.im): alpha itself only when alpha.re is 1 or alpha.im is 0.
#pragma once

#include <complex>
#include <memory>

#include "kernels/neon/kernel_neon_mla.h"

#if KOVRA_ARM32

namespace kovra::kernels {

// 4 by 2 tiles of complex<float> run the 8 by 4 float loop in eight quad registers, 2 by 2 tiles of
// complex<double> the 4 by 4 double loop in sixteen VFP registers.
template <typename R> class kernel_neon_mla<std::complex<R>> : public neon_kernel_base<std::complex<R>> {
 public:
  kernel_neon_mla(int block_m, int block_n, int block_k)
      : neon_kernel_base<std::complex<R>>(block_m, block_n, block_k, mla_blocking<std::complex<R>>::value) {}

  void micro_kernel(const std::complex<R>* alpha, int k, const std::complex<R>* a, const std::complex<R>* b,
                    std::complex<R>* c, int ldc, bool clear) const override;
};

template <> std::shared_ptr<kernel_object<std::complex<float>>> make_kernel_neon_mla<std::complex<float>>();
template <> std::shared_ptr<kernel_object<std::complex<double>>> make_kernel_neon_mla<std::complex<double>>();

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
