// The full complex product and Smith's quotient: every scalar complex operation of the library goes
// through these two, never through std::complex's operators, so that the rounding (each real operation
// rounded on its own) and the recovery of infinities from NaN results are the library's own.
//
// The common case is inline, as the portable micro kernel runs a product per element; the recoveries
// run only when both parts of the plain result are NaN and live out of line.
#pragma once

#include <cmath>
#include <complex>
#include <type_traits>

namespace kovra::helper {

namespace detail {

// Hands back a product exactly as rounded. GCC's vectorizer recognises complex products and the
// sums of Smith's form and emits fused multiply-add-subtract instructions for them on x86 although
// contraction is off; an empty asm on each product hides the pattern and emits no instruction.
template <typename R> inline R rounded(R v) {
#if defined(__SSE2__)
  asm("" : "+x"(v));
#endif
  return v;
}

// Recomputes a product whose plain formula gave NaN in both parts; `plain` is that NaN result, kept
// where nothing infinite is involved.
template <typename R> std::complex<R> cmul_recover(R a, R b, R c, R d, std::complex<R> plain);
// Recomputes a quotient whose Smith form gave NaN in both parts; `plain` is that NaN result.
template <typename R> std::complex<R> cdiv_recover(R a, R b, R c, R d, std::complex<R> plain);

extern template std::complex<float> cmul_recover(float, float, float, float, std::complex<float>);
extern template std::complex<double> cmul_recover(double, double, double, double, std::complex<double>);
extern template std::complex<float> cdiv_recover(float, float, float, float, std::complex<float>);
extern template std::complex<double> cdiv_recover(double, double, double, double, std::complex<double>);

template <typename R> inline std::complex<R> cmul(std::complex<R> x, std::complex<R> y) {
  const R a = x.real(), b = x.imag(), c = y.real(), d = y.imag();
  const R ac = rounded(a * c), bd = rounded(b * d), ad = rounded(a * d), bc = rounded(b * c);
  const R re = ac - bd, im = ad + bc;
  if (std::isnan(re) && std::isnan(im)) [[unlikely]]
    return cmul_recover(a, b, c, d, std::complex<R>(re, im));
  return {re, im};
}

template <typename R> inline std::complex<R> cdiv(std::complex<R> x, std::complex<R> y) {
  const R a = x.real(), b = x.imag(), c = y.real(), d = y.imag();
  R re, im;
  // Divide through by the larger part of the divisor, so that no intermediate overflows where the
  // quotient itself does not.
  if (std::fabs(c) < std::fabs(d)) {
    const R r = c / d;
    const R s = rounded(c * r) + d;
    re = (rounded(a * r) + b) / s;
    im = (rounded(b * r) - a) / s;
  } else {
    const R r = d / c;
    const R s = rounded(d * r) + c;
    re = (rounded(b * r) + a) / s;
    im = (b - rounded(a * r)) / s;
  }
  if (std::isnan(re) && std::isnan(im)) [[unlikely]]
    return cdiv_recover(a, b, c, d, std::complex<R>(re, im));
  return {re, im};
}

}  // namespace detail

// (a + bi)(c + di) = (ac - bd, ad + bc), each operation rounded; a result with both parts NaN is
// recomputed when an operand (or one of the four partial products) is infinite.
inline std::complex<float> cmul(std::complex<float> x, std::complex<float> y) { return detail::cmul(x, y); }
inline std::complex<double> cmul(std::complex<double> x, std::complex<double> y) { return detail::cmul(x, y); }

// Smith's form of (a + bi) / (c + di), with the recoveries for zero and infinite operands.
inline std::complex<float> cdiv(std::complex<float> x, std::complex<float> y) { return detail::cdiv(x, y); }
inline std::complex<double> cdiv(std::complex<double> x, std::complex<double> y) { return detail::cdiv(x, y); }

// x * y for any element type: the plain product for real types, cmul for complex ones.
template <typename T> inline T mul(const T& x, const T& y) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return x * y;
  else return cmul(x, y);
}

// x + y for any element type; for complex values two separate additions, one per part.
template <typename T> inline T add(const T& x, const T& y) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return x + y;
  else return T(x.real() + y.real(), x.imag() + y.imag());
}

// c + s*t for any element type: one fused multiply-add for real types, the full complex product and then
// one addition per part for complex ones. Every scalar update of the library goes through it.
template <typename T> inline T multiply_add(const T& s, const T& t, const T& c) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return std::fma(s, t, c);
  else return add(c, cmul(s, t));
}

// c - s*t for any element type: one fused multiply-add of -s for real types (the negation is exact), the
// full complex product and then one subtraction per part for complex ones.
template <typename T> inline T multiply_subtract(const T& s, const T& t, const T& c) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return std::fma(-s, t, c);
  else {
    const T p = cmul(s, t);
    return T(c.real() - p.real(), c.imag() - p.imag());
  }
}

// x / y for any element type: the plain quotient for real types, Smith's quotient for complex ones.
template <typename T> inline T div(const T& x, const T& y) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return x / y;
  else return cdiv(x, y);
}

}  // namespace kovra::helper
