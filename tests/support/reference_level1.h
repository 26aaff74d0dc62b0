// Reference loops for the Level 1 updates, on plain arrays of logical elements, written from the
// arithmetic the library promises rather than from its code: one fused multiply-add per real element
// where the routine fuses, and the textbook complex product (ac - bd, ad + bc) with every operation
// rounded, which is the library's full product for finite operands.
#pragma once

#include <cmath>
#include <vector>

#include "helper/helper.h"
#include "values.h"

namespace kovra_test {

// The four partial products pass through memory: GCC 12 turns (ac - bd, ad + bc) into fused
// multiply-add/subtract instructions when it vectorises, even under -ffp-contract=off, and the
// reference must round every operation on its own.
template <typename T>
T reference_mul(const T& a, const T& b) {
  if constexpr (is_complex_v<T>) {
    const volatile real_t<T> ac = a.real() * b.real(), bd = a.imag() * b.imag();
    const volatile real_t<T> ad = a.real() * b.imag(), bc = a.imag() * b.real();
    return T(ac - bd, ad + bc);
  } else {
    return a * b;
  }
}

template <typename T>
T reference_add(const T& a, const T& b) {
  if constexpr (is_complex_v<T>) return T(a.real() + b.real(), a.imag() + b.imag());
  else return a + b;
}

// y + alpha*x, element by element; y is updated in order, so a y that repeats one array element (inc 0)
// is modelled by the caller.
template <typename T>
std::vector<T> reference_axpy(T alpha, const std::vector<T>& x, std::vector<T> y) {
  for (std::size_t i = 0; i < y.size(); ++i) {
    if constexpr (is_complex_v<T>) y[i] = reference_add(y[i], reference_mul(alpha, x[i]));
    else y[i] = std::fma(alpha, x[i], y[i]);
  }
  return y;
}

// alpha*x + beta*y: fused with beta*y rounded first for real types; two products and a sum for complex.
template <typename T>
std::vector<T> reference_axpby(T alpha, const std::vector<T>& x, T beta, std::vector<T> y) {
  for (std::size_t i = 0; i < y.size(); ++i) {
    if (helper::is_zero(alpha) && helper::is_zero(beta)) y[i] = T{};
    else if (helper::is_zero(alpha)) y[i] = reference_mul(y[i], beta);
    else if constexpr (is_complex_v<T>) y[i] = reference_add(reference_mul(alpha, x[i]), reference_mul(beta, y[i]));
    else y[i] = std::fma(alpha, x[i], beta * y[i]);
  }
  return y;
}

// alpha*x with a scale of the element type or a real scale widened to (alpha, 0); zero clears.
template <typename T, typename A>
std::vector<T> reference_scal(A alpha, std::vector<T> x) {
  for (T& v : x) v = helper::is_zero(alpha) ? T{} : reference_mul(T(alpha), v);
  return x;
}

}  // namespace kovra_test
