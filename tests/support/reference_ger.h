// The rank-one update as a plain loop over logical elements: A(i, j) += alpha * x_i * op(y_j), op
// conjugating for GERC, in the element type's own operators. `at(i, j)` gives the element of A, so the
// same loop serves column-major and row-major storage.
#pragma once

#include <complex>
#include <vector>

#include "helper/helper.h"

namespace kovra::testing {

template <typename T, typename At>
void reference_ger(bool conjugate_y, int m, int n, T alpha, const std::vector<T>& x, const std::vector<T>& y,
                   At&& at) {
  for (int j = 0; j < n; ++j) {
    T t = y[j];
    if constexpr (is_complex_v<T>)
      if (conjugate_y) t = std::conj(t);
    for (int i = 0; i < m; ++i) at(i, j) += alpha * x[i] * t;
  }
}

}  // namespace kovra::testing
