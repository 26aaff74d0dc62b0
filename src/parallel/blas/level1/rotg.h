// ROTG: generates the plane rotation (c, s) that zeroes b against a, for SROTG, DROTG, CROTG and ZROTG.
// Scalar code on the calling thread: no kernel, no task.
#pragma once

#include <cmath>

#include "helper/complex_arith.h"
#include "helper/helper.h"

namespace kovra::parallel::blas {

// Real a, b: a becomes r (signed like the larger of a and b), b becomes z, from which c and s can be
// recovered (z = s when |a| > |b|, z = 1/c otherwise unless c is 0, then z = 1). Scaling by
// |a| + |b| keeps the squares from overflowing.
template <typename T>
void rotg_real(T& a, T& b, T& c, T& s) {
  using helper::ABS;
  const T roe = ABS(a) > ABS(b) ? a : b;
  const T scale = ABS(a) + ABS(b);
  if (scale == 0) {
    c = 1;
    s = 0;
    a = 0;
    b = 0;
    return;
  }
  const T p = a / scale;
  const T q = b / scale;
  T r = scale * helper::SQRT(std::fma(p, p, q * q));
  // A NaN roe flips the sign too: only roe >= 0 (negative zero included) keeps r as it is.
  if (!(roe >= 0)) r = -r;
  c = a / r;
  s = b / r;
  T z = ABS(a) > ABS(b) ? s : T(1);
  if (ABS(b) >= ABS(a) && c != 0) z = 1 / c;
  a = r;
  b = z;
}

// Complex ca, cb with real c and complex s. Every magnitude here is |Re v|, never the modulus, so an
// input with a non-zero imaginary part gets this library's rotation rather than the textbook one; a ca
// with a zero real part (even with a non-zero imaginary part) gives c = 0, s = 0 and ca := cb.
// cb is only read.
template <typename T>
void rotg_complex(T& ca, const T& cb, real_t<T>& c, T& s) {
  using R = real_t<T>;
  using helper::ABS;
  using helper::REAL;
  const R t = ABS(REAL(ca));
  if (t == 0) {
    c = 0;
    s = T(0, 0);
    ca = cb;
    return;
  }
  const R scale = t + ABS(REAL(cb));
  const T scale_divisor(scale, 0);
  const R u = ABS(REAL(helper::cdiv(ca, scale_divisor)));
  const R v = ABS(REAL(helper::cdiv(cb, scale_divisor)));
  const R norm = scale * helper::SQRT(std::fma(u, u, v * v));
  const T alpha(ca.real() / t, ca.imag() / t);
  c = t / norm;
  const T product = helper::cmul(alpha, helper::CONJG(true, cb));
  s = T(product.real() / norm, product.imag() / norm);
  ca = T(norm * alpha.real(), norm * alpha.imag());
}

// The routine behind both entry forms of all four types; for a complex T, c is real and b is not written.
template <typename T>
void rotg(T* a, T* b, real_t<T>* c, T* s) {
  if constexpr (is_complex_v<T>) rotg_complex(*a, *b, *c, *s);
  else rotg_real(*a, *b, *c, *s);
}

}  // namespace kovra::parallel::blas
