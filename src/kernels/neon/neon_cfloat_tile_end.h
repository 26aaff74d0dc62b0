// The complex<float> end step that the NEON micro kernels of complex<float> share, whatever their
// multiply-add: it turns the sums of the float 8 by 4 tile loop, run on the interleaved parts of 4 by 2
// complex panels, into the complex product and applies alpha. Plain, unfused operations only.
//
// The including files are built for different instruction sets (the *_vfpv4.cpp files with VFPv4, the
// others with the NEON baseline). Everything here has internal linkage, so each file keeps its own copy
// built with its own flags, and the linker can never hand a baseline caller a VFPv4 body.
#pragma once

#include "platform.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <complex>

namespace kovra::kernels::neon_cfloat {
namespace {

// (x0, x1, x2, x3) -> (-x1, x0, -x3, x2): i times each of the two complex numbers in the register. The
// sign is flipped by its bit, so the result is exact.
[[gnu::always_inline]] inline float32x4_t swapneg(float32x4_t x) {
  const uint32x4_t sign = {0x80000000u, 0u, 0x80000000u, 0u};
  return vreinterpretq_f32_u32(veorq_u32(vreinterpretq_u32_f32(vrev64q_f32(x)), sign));
}

// acc[j][h]: lanes 4h to 4h + 3 of the interleaved A step times B lane j, summed over the steps. The
// lanes of B are b0.re, b0.im, b1.re, b1.im, so acc[0], acc[1], acc[2], acc[3] are R[0], I[0], R[1], I[1].
// C (columns ldc apart) = alpha * sum, or C + that. Per half column, two complex elements:
// T = R + swapneg(I) is the product (a.re b.re - a.im b.im, a.im b.re + a.re b.im), then alpha's parts
// scale it, P = alpha.re * T and Q = alpha.im * T, and the result is (P + C) + swapneg(Q), or
// P + swapneg(Q) with no read of C when clear is set.
[[gnu::always_inline]] inline void store_complex_tile(const float32x4_t acc[4][2], const std::complex<float>* alpha,
                                                      std::complex<float>* c, int ldc, bool clear) {
  const float32x4_t al_re = vdupq_n_f32(alpha->real());
  const float32x4_t al_im = vdupq_n_f32(alpha->imag());
  for (int j = 0; j < 2; ++j) {
    float* cj = reinterpret_cast<float*>(c + j * ldc);
    for (int h = 0; h < 2; ++h) {
      const float32x4_t product = vaddq_f32(acc[2 * j][h], swapneg(acc[2 * j + 1][h]));
      const float32x4_t p = vmulq_f32(al_re, product);
      const float32x4_t q = vmulq_f32(al_im, product);
      const float32x4_t scaled = clear ? p : vaddq_f32(p, vld1q_f32(cj + 4 * h));
      vst1q_f32(cj + 4 * h, vaddq_f32(scaled, swapneg(q)));
    }
  }
}

}  // namespace
}  // namespace kovra::kernels::neon_cfloat

#endif  // KOVRA_ARM32
