// The 256-bit registers of AVX2 with FMA, as the x86 bodies use them: x86_simd<avx2_fma, R> for float and
// double. Included only by kernel_x86_avx2.cpp, which is built for that instruction set.
#pragma once

#include <immintrin.h>

#include "kernels/x86/x86_kernel_bodies.h"

namespace kovra::kernels {

template <> struct x86_simd<avx2_fma, double> {
  using reg = __m256d;
  static constexpr int lanes = 4;
  static reg zero() { return _mm256_setzero_pd(); }
  static reg set1(double x) { return _mm256_set1_pd(x); }
  static reg load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, reg v) { _mm256_storeu_pd(p, v); }
  static reg broadcast(const double* p) { return _mm256_broadcast_sd(p); }
  static reg fma(reg a, reg b, reg c) { return _mm256_fmadd_pd(a, b, c); }
  static reg mul(reg a, reg b) { return _mm256_mul_pd(a, b); }
  static reg add(reg a, reg b) { return _mm256_add_pd(a, b); }
  // (a0 - b0, a1 + b1, ...): the real and imaginary parts of interleaved complex sums.
  static reg addsub(reg a, reg b) { return _mm256_addsub_pd(a, b); }
  // Each pair of lanes exchanged: (re, im) -> (im, re).
  static reg swap_pairs(reg a) { return _mm256_permute_pd(a, 0x5); }
  static bool any_nan(reg a) { return _mm256_movemask_pd(_mm256_cmp_pd(a, a, _CMP_UNORD_Q)) != 0; }
};

template <> struct x86_simd<avx2_fma, float> {
  using reg = __m256;
  static constexpr int lanes = 8;
  static reg zero() { return _mm256_setzero_ps(); }
  static reg set1(float x) { return _mm256_set1_ps(x); }
  static reg load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, reg v) { _mm256_storeu_ps(p, v); }
  static reg broadcast(const float* p) { return _mm256_broadcast_ss(p); }
  static reg fma(reg a, reg b, reg c) { return _mm256_fmadd_ps(a, b, c); }
  static reg mul(reg a, reg b) { return _mm256_mul_ps(a, b); }
  static reg add(reg a, reg b) { return _mm256_add_ps(a, b); }
  static reg addsub(reg a, reg b) { return _mm256_addsub_ps(a, b); }
  static reg swap_pairs(reg a) { return _mm256_permute_ps(a, 0xb1); }
  static bool any_nan(reg a) { return _mm256_movemask_ps(_mm256_cmp_ps(a, a, _CMP_UNORD_Q)) != 0; }
};

}  // namespace kovra::kernels
