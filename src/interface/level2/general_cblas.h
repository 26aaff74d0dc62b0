// The CBLAS mapping of the general matrix-vector products (GEMV, GBMV). A row-major A is the column-major
// storage of A^T, so a row-major call swaps the dimensions and flips the transpose ('N' <-> 'T'). No 'N'
// form conjugates A, so a row-major ConjTrans computes A^H x as conj(A^T conj(x)): y is conjugated, the
// 'N' product runs on a conjugated copy of x with conjugated scalars, and y is conjugated back. The copy
// is allocated for the real types as well, and never read there.
#pragma once

#include <cstdlib>

#include "helper/aligned.h"
#include "helper/helper.h"
#include "interface/enums.h"
#include "parallel/blas/level1/logical_element.h"

namespace kovra::helper {

// Conjugates the n logical elements of y in place; nothing for real types.
template <typename T> void conjugate_in_place(int n, T* y, int incy) {
  if constexpr (is_complex_v<T>) {
    for (int i = 0; i < n; ++i) {
      T& v = y[parallel::blas::logical_offset(i, n, incy)];
      v = CONJG(true, v);
    }
  } else {
    (void)n, (void)y, (void)incy;
  }
}

// Runs front(trans, swapped, alpha, x, incx, beta) as the enumerations ask: `swapped` tells the front to
// exchange M and N (and KL and KU). m and n are the caller's, so x has m elements and y n elements in the
// row-major ConjTrans form. A failed allocation of the copy has been reported by the helper; the complex
// types then write through null.
template <typename T, typename Front>
void general_cblas(int order, int trans, int m, int n, T alpha, const T* x, int incx, T beta, T* y, int incy,
                   Front front) {
  const char t = trans_char(trans);
  if (is_col_major(order)) {
    front(t, false, alpha, x, incx, beta);
    return;
  }
  if (t != 'C') {
    front(t == 'N' ? 'T' : t == 'T' ? 'N' : t, true, alpha, x, incx, beta);
    return;
  }
  T* const copy = aligned_array<T>(m);
  if constexpr (is_complex_v<T>) {
    for (int i = 0; i < m; ++i) copy[i] = CONJG(true, x[parallel::blas::logical_offset(i, m, incx)]);
    conjugate_in_place(n, y, incy);
    front('N', true, CONJG(true, alpha), static_cast<const T*>(copy), 1, CONJG(true, beta));
    conjugate_in_place(n, y, incy);
  } else {
    front('N', true, CONJG(true, alpha), x, incx, CONJG(true, beta));
  }
  std::free(copy);
}

}  // namespace kovra::helper
