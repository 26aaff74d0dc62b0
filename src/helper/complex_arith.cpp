// The recoveries of the full complex product and quotient: what replaces a result whose two parts both
// came out NaN although the operands describe an infinite, zero or finite value.
#include "helper/complex_arith.h"

#include <limits>

namespace kovra::helper::detail {
namespace {

// An infinite part becomes 1, any other part 0, each with the sign it had: the direction of an
// infinite operand survives, its magnitude is put back by the final factor.
template <typename R> void box_infinity(R& re, R& im) {
  re = std::copysign(std::isinf(re) ? R(1) : R(0), re);
  im = std::copysign(std::isinf(im) ? R(1) : R(0), im);
}

template <typename R> void zero_nan(R& v) {
  if (std::isnan(v)) v = std::copysign(R(0), v);
}

}  // namespace

template <typename R> std::complex<R> cmul_recover(R a, R b, R c, R d, std::complex<R> plain) {
  constexpr R infinity = std::numeric_limits<R>::infinity();
  bool recompute = false;
  if (std::isinf(a) || std::isinf(b)) {
    box_infinity(a, b);
    zero_nan(c);
    zero_nan(d);
    recompute = true;
  }
  if (std::isinf(c) || std::isinf(d)) {
    box_infinity(c, d);
    zero_nan(a);
    zero_nan(b);
    recompute = true;
  }
  if (!recompute && (std::isinf(a * c) || std::isinf(b * d) || std::isinf(a * d) || std::isinf(b * c))) {
    // Finite operands whose partial products overflowed: the NaN parts are what spoilt the sums.
    zero_nan(a);
    zero_nan(b);
    zero_nan(c);
    zero_nan(d);
    recompute = true;
  }
  if (!recompute) return plain;
  return {infinity * (rounded(a * c) - rounded(b * d)), infinity * (rounded(a * d) + rounded(b * c))};
}

template <typename R> std::complex<R> cdiv_recover(R a, R b, R c, R d, std::complex<R> plain) {
  constexpr R infinity = std::numeric_limits<R>::infinity();
  if (c == 0 && d == 0 && (!std::isnan(a) || !std::isnan(b))) {
    const R direction = std::copysign(infinity, c);
    return {direction * a, direction * b};
  }
  if ((std::isinf(a) || std::isinf(b)) && std::isfinite(c) && std::isfinite(d)) {
    box_infinity(a, b);
    return {infinity * (rounded(a * c) + rounded(b * d)), infinity * (rounded(b * c) - rounded(a * d))};
  }
  if ((std::isinf(c) || std::isinf(d)) && std::isfinite(a) && std::isfinite(b)) {
    box_infinity(c, d);
    return {R(0) * (rounded(a * c) + rounded(b * d)), R(0) * (rounded(b * c) - rounded(a * d))};
  }
  return plain;
}

template std::complex<float> cmul_recover(float, float, float, float, std::complex<float>);
template std::complex<double> cmul_recover(double, double, double, double, std::complex<double>);
template std::complex<float> cdiv_recover(float, float, float, float, std::complex<float>);
template std::complex<double> cdiv_recover(double, double, double, double, std::complex<double>);

}  // namespace kovra::helper::detail
