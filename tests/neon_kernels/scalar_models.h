// Scalar models of the NEON kernels' arithmetic, one element at a time, for bit-for-bit comparison: the
// depth sums of the real and complex tile products, accumulated by fused multiply-adds or by a rounded
// product and then an addition, and the complex kernels' end step with alpha.
#pragma once

#include <cmath>

#include "support/values.h"

namespace kovra_test::models {

// acc + x * y in one rounding (fused) or two.
template <typename R>
R multiply_add(bool fused, R acc, R x, R y) {
  if (fused) return std::fma(x, y, acc);
  const R product = x * y;
  return acc + product;
}

// Element (i, j) of the product of panels of tile_m = mr and tile_n = nr, summed from +0 in order of
// depth; a complex one from the four real sums the kernels accumulate over the interleaved parts.
template <typename T>
T panel_product(bool fused, int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  using R = real_t<T>;
  const int parts = is_complex_v<T> ? 2 : 1;
  const auto sum = [&](int a_part, int b_part) {
    const R* ar = reinterpret_cast<const R*>(a);
    const R* br = reinterpret_cast<const R*>(b);
    R acc = 0;
    for (int p = 0; p < k; ++p)
      acc = multiply_add(fused, acc, ar[p * parts * mr + parts * i + a_part], br[p * parts * nr + parts * j + b_part]);
    return acc;
  };
  if constexpr (is_complex_v<T>)
    return T(sum(0, 0) - sum(1, 1), sum(1, 0) + sum(0, 1));
  else
    return sum(0, 0);
}

// alpha times the product t, plus old C unless clear. A real kernel rounds alpha * t and adds C by
// `end_fused`; complex<float> forms the four part products; complex<double> scales by alpha.re, then by
// alpha.im, so that it acts as alpha.re * (1 + i alpha.im).
template <typename T>
T end_step(bool end_fused, T t, T alpha, T old, bool clear) {
  using R = real_t<T>;
  if constexpr (!is_complex_v<T>) {
    return clear ? t * alpha : multiply_add(end_fused, old, alpha, t);
  } else if constexpr (sizeof(R) == 4) {
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

}  // namespace kovra_test::models
