// Plain loops with the meaning of the Level 1 updates on unit-stride vectors: what every library's result
// is checked against.
#pragma once

#include <cmath>
#include <utility>

#include "vector_pair.h"

namespace kovra::bench {

template <typename T>
T multiply_add(const T& a, const T& x, const T& y) {
  if constexpr (is_complex_v<T>)
    return a * x + y;
  else
    return std::fma(a, x, y);
}

template <typename T>
void reference_axpy(const T& alpha, vector_pair<T>& v) {
  T* x = v.x();
  T* y = v.y();
  for (int i = 0; i < v.n(); ++i) y[i] = multiply_add(alpha, x[i], y[i]);
}

template <typename T>
void reference_axpby(const T& alpha, const T& beta, vector_pair<T>& v) {
  T* x = v.x();
  T* y = v.y();
  for (int i = 0; i < v.n(); ++i) y[i] = multiply_add(alpha, x[i], beta * y[i]);
}

template <typename T>
void reference_scal(const T& alpha, vector_pair<T>& v) {
  T* x = v.x();
  for (int i = 0; i < v.n(); ++i) x[i] = alpha * x[i];
}

template <typename T>
void reference_copy(vector_pair<T>& v) {
  T* x = v.x();
  T* y = v.y();
  for (int i = 0; i < v.n(); ++i) y[i] = x[i];
}

template <typename T>
void reference_swap(vector_pair<T>& v) {
  T* x = v.x();
  T* y = v.y();
  for (int i = 0; i < v.n(); ++i) std::swap(x[i], y[i]);
}

}  // namespace kovra::bench
