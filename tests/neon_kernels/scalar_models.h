// Scalar models of the NEON kernels' arithmetic, one element at a time, for bit-for-bit comparison:
// the depth sums of the real and complex tile products, accumulated either by fused multiply-adds or
// by a rounded product then an addition, and the complex kernels' end step with alpha.
#pragma once

#include <cmath>

#include "helper/helper.h"

namespace kovra_test::models {
using namespace kovra::kernels;

enum class accumulation { fused, rounded };

// acc + x * y, in one rounding (fused) or two (product rounded on its own, then added).
template <accumulation A, typename R> R multiply_add(R acc, R x, R y) {
  if constexpr (A == accumulation::fused) {
    return std::fma(x, y, acc);
  } else {
    const R product = x * y;
    return acc + product;
  }
}

// Sum from +0 over k steps of a[p * a_step + a_lane] times b[p * b_step + b_lane], in order of depth.
template <accumulation A, typename R>
R part_sum(int k, const R* a, int a_step, int a_lane, const R* b, int b_step, int b_lane) {
  R acc = 0;
  for (int p = 0; p < k; ++p) acc = multiply_add<A>(acc, a[p * a_step + a_lane], b[p * b_step + b_lane]);
  return acc;
}

// Element (i, j) of the product of real panels of tile_m = mr and tile_n = nr.
template <accumulation A, typename T> T panel_sum(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  return part_sum<A>(k, a, mr, i, b, nr, j);
}

// Element (i, j) of the product of complex panels, from the four real sums the kernels accumulate over
// the interleaved parts.
template <accumulation A, typename T> T panel_product(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  using R = real_t<T>;
  const R* ar = reinterpret_cast<const R*>(a);
  const R* br = reinterpret_cast<const R*>(b);
  const auto sum = [&](int a_part, int b_part) {
    return part_sum<A>(k, ar, 2 * mr, 2 * i + a_part, br, 2 * nr, 2 * j + b_part);
  };
  return T(sum(0, 0) - sum(1, 1), sum(1, 0) + sum(0, 1));
}

// The complex kernels' end step: alpha times the product t, plus old C unless clear. complex<float>
// forms the four part products; complex<double> scales by alpha.re, then by alpha.im.
template <typename T> T complex_end_step(T t, T alpha, T old, bool clear) {
  using R = real_t<T>;
  if constexpr (sizeof(R) == 4) {
    const R p_re = alpha.real() * t.real(), p_im = alpha.real() * t.imag();
    const R q_re = alpha.imag() * t.real(), q_im = alpha.imag() * t.imag();
    if (clear) return T(p_re + -q_im, p_im + q_re);
    return T((p_re + old.real()) + -q_im, (p_im + old.imag()) + q_re);
  } else {
    const R u = t.real() * alpha.real(), v = t.imag() * alpha.real();
    const R w = u * alpha.imag(), z = v * alpha.imag();
    if (clear) return T(u - z, v + w);
    return T((u - z) + old.real(), (v + w) + old.imag());
  }
}

// f times t by the textbook formula, plus old unless clear.
template <typename T> T textbook_product(T f, T t, T old, bool clear) {
  T v(f.real() * t.real() - f.imag() * t.imag(), f.real() * t.imag() + f.imag() * t.real());
  if (!clear) v = T(v.real() + old.real(), v.imag() + old.imag());
  return v;
}

}  // namespace kovra_test::models
