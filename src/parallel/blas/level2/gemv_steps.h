// The steps that GEMV and GBMV share, serially and in their tiles: where a piece of a
// strided vector starts, the beta pass over y, and the update of one y element by a dot product.
#pragma once

#include <cstddef>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "parallel/blas/level1/logical_element.h"
#include "parallel/blas/level2/vector_primitives.h"

namespace kovra::parallel::blas {

// The element at logical index i of a len-element vector with increment inc.
template <typename T> T& logical_at(T* v, int i, int len, int inc) { return v[logical_offset(i, len, inc)]; }

// The start of the count-element piece that begins at logical element k of a len-element vector, such
// that the Level 2 rule applied to the piece with its own length reaches the same elements: k*inc for
// inc > 0, (k + count - len)*inc otherwise. An empty piece is given the vector itself, so that no
// address outside the vector is ever formed.
template <typename T> T* sub_vector(T* v, int k, int count, int len, int inc) {
  if (count < 1) return v;
  const std::ptrdiff_t step = inc;
  return inc > 0 ? v + std::ptrdiff_t{k} * step : v + (std::ptrdiff_t{k} + count - len) * step;
}

// y := beta*y over n logical elements, skipped for a beta of exactly 1. A unit increment goes to the
// kernel's scal (which stores zeros for a zero beta); otherwise a zero beta stores zeros without reading
// y and any other beta multiplies element by element, whatever the sign of the increment.
template <typename T> void beta_pass(int n, T beta, T* y, int incy) {
  if (helper::is_one(beta) || n < 1) return;
  if (incy == 1) {
    vec_scale(n, beta, y, 1);
    return;
  }
  std::ptrdiff_t iy = logical_offset(0, n, incy);
  if (helper::is_zero(beta)) {
    for (int i = 0; i < n; ++i, iy += incy) y[iy] = T(0);
  } else {
    for (int i = 0; i < n; ++i, iy += incy) y[iy] = helper::mul(beta, y[iy]);
  }
}

// y_j += alpha * (column . x), the column conjugated for 'C'; one fused multiply-add for real types.
template <typename T> void dot_update(bool conjugate, int count, T alpha, const T* column, const T* x, int incx,
                                      T& yj) {
  const T dot = conjugate ? vec_dotc(count, column, x, incx) : vec_dot(count, column, x, incx);
  yj = helper::multiply_add(alpha, dot, yj);
}

}  // namespace kovra::parallel::blas
