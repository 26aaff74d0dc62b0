// The 512-bit registers of AVX-512 F, as the x86 bodies use them: x86_simd<avx512, R> for float and double.
// Included only by kernel_x86_avx512.cpp, which is built for that instruction set. AVX-512 has no plain
// add-subtract; a fused multiply-add-subtract by 1 is the same operation, since x * 1 is exact and the
// result is rounded once. The pair swaps name a full mask over `a` itself rather than an undefined register,
// which g++ 12 takes for an uninitialised read.
#pragma once

#include <immintrin.h>

#include "kernels/x86/x86_kernel_bodies.h"

namespace kovra::kernels {

template <> struct x86_simd<avx512, double> {
  using reg = __m512d;
  static constexpr int lanes = 8;
  static reg zero() { return _mm512_setzero_pd(); }
  static reg set1(double x) { return _mm512_set1_pd(x); }
  static reg load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, reg v) { _mm512_storeu_pd(p, v); }
  static reg broadcast(const double* p) { return _mm512_set1_pd(*p); }
  static reg fma(reg a, reg b, reg c) { return _mm512_fmadd_pd(a, b, c); }
  static reg mul(reg a, reg b) { return _mm512_mul_pd(a, b); }
  static reg add(reg a, reg b) { return _mm512_add_pd(a, b); }
  static reg addsub(reg a, reg b) { return _mm512_fmaddsub_pd(a, _mm512_set1_pd(1.0), b); }
  static reg swap_pairs(reg a) { return _mm512_mask_permute_pd(a, 0xff, a, 0x55); }
  static bool any_nan(reg a) { return _mm512_cmp_pd_mask(a, a, _CMP_UNORD_Q) != 0; }
};

template <> struct x86_simd<avx512, float> {
  using reg = __m512;
  static constexpr int lanes = 16;
  static reg zero() { return _mm512_setzero_ps(); }
  static reg set1(float x) { return _mm512_set1_ps(x); }
  static reg load(const float* p) { return _mm512_loadu_ps(p); }
  static void store(float* p, reg v) { _mm512_storeu_ps(p, v); }
  static reg broadcast(const float* p) { return _mm512_set1_ps(*p); }
  static reg fma(reg a, reg b, reg c) { return _mm512_fmadd_ps(a, b, c); }
  static reg mul(reg a, reg b) { return _mm512_mul_ps(a, b); }
  static reg add(reg a, reg b) { return _mm512_add_ps(a, b); }
  static reg addsub(reg a, reg b) { return _mm512_fmaddsub_ps(a, _mm512_set1_ps(1.0f), b); }
  static reg swap_pairs(reg a) { return _mm512_mask_permute_ps(a, 0xffff, a, 0xb1); }
  static bool any_nan(reg a) { return _mm512_cmp_ps_mask(a, a, _CMP_UNORD_Q) != 0; }
};

}  // namespace kovra::kernels
