// The full complex product and Smith's quotient: every scalar complex operation of the library goes
// through these two, never through std::complex's operators, so that the rounding (each real operation
// rounded on its own) and the recovery of infinities from NaN results are the library's own.
#pragma once

#include <complex>

namespace kovra::helper {

// (a + bi)(c + di) = (ac - bd, ad + bc), each operation rounded; a result with both parts NaN is
// recomputed when an operand (or one of the four partial products) is infinite.
std::complex<float> cmul(std::complex<float> x, std::complex<float> y);
std::complex<double> cmul(std::complex<double> x, std::complex<double> y);

// Smith's form of (a + bi) / (c + di), with the recoveries for zero and infinite operands.
std::complex<float> cdiv(std::complex<float> x, std::complex<float> y);
std::complex<double> cdiv(std::complex<double> x, std::complex<double> y);

// x * y for any element type: the plain product for real types, cmul for complex ones.
template <typename T> inline T mul(const T& x, const T& y) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return x * y;
  else return cmul(x, y);
}

// y + x for complex values as two separate additions (std::complex's += is the same, named for intent).
template <typename T> inline T add(const T& x, const T& y) {
  if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) return x + y;
  else return T(x.real() + y.real(), x.imag() + y.imag());
}

}  // namespace kovra::helper
