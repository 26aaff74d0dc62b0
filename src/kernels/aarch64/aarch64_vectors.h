// The 128-bit registers of AArch64's Advanced SIMD as the shared vector bodies (kernels/vector_kernel_bodies.h) use
// them: aarch64_simd<float> and aarch64_simd<double>. There is no add-subtract instruction: addsub(a, b) is
// fma(b, (-1, +1, ...), a), which is a - b or a + b per lane rounded once, since b * -1 and b * 1 are exact.
#pragma once

#include "platform.h"

#if KOVRA_AARCH64

#include <arm_neon.h>

namespace kovra::kernels {

template <typename R> struct aarch64_simd;

template <> struct aarch64_simd<float> {
  using reg = float32x4_t;
  static constexpr int lanes = 4;
  static reg zero() { return vdupq_n_f32(0.0f); }
  static reg set1(float x) { return vdupq_n_f32(x); }
  static reg load(const float* p) { return vld1q_f32(p); }
  static void store(float* p, reg v) { vst1q_f32(p, v); }
  static reg fma(reg a, reg b, reg c) { return vfmaq_f32(c, a, b); }
  static reg mul(reg a, reg b) { return vmulq_f32(a, b); }
  static reg add(reg a, reg b) { return vaddq_f32(a, b); }
  static reg addsub(reg a, reg b) {
    const reg signs = {-1.0f, 1.0f, -1.0f, 1.0f};
    return vfmaq_f32(a, b, signs);
  }
  // Each pair of lanes exchanged: (re, im) -> (im, re).
  static reg swap_pairs(reg a) { return vrev64q_f32(a); }
  static bool any_nan(reg a) { return vminvq_u32(vceqq_f32(a, a)) == 0; }
};

template <> struct aarch64_simd<double> {
  using reg = float64x2_t;
  static constexpr int lanes = 2;
  static reg zero() { return vdupq_n_f64(0.0); }
  static reg set1(double x) { return vdupq_n_f64(x); }
  static reg load(const double* p) { return vld1q_f64(p); }
  static void store(double* p, reg v) { vst1q_f64(p, v); }
  static reg fma(reg a, reg b, reg c) { return vfmaq_f64(c, a, b); }
  static reg mul(reg a, reg b) { return vmulq_f64(a, b); }
  static reg add(reg a, reg b) { return vaddq_f64(a, b); }
  static reg addsub(reg a, reg b) {
    const reg signs = {-1.0, 1.0};
    return vfmaq_f64(a, b, signs);
  }
  static reg swap_pairs(reg a) { return vextq_f64(a, a, 1); }
  static bool any_nan(reg a) { return vminvq_u32(vreinterpretq_u32_u64(vceqq_f64(a, a))) == 0; }
};

}  // namespace kovra::kernels

#endif  // KOVRA_AARCH64
