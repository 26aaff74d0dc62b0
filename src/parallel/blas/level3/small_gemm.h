// small_gemm: the serial matrix product that gemm<T> runs on the calling thread when m, n and k are all
// at most 8. A plain column-oriented triple loop. Real types take one fused multiply-add per
// multiply-and-add; complex types use the full complex product and separate additions.
//
// Two behaviours differ from the task path and are kept on purpose: an element of B that is exactly zero
// is skipped in the non-transposed-A loops (a NaN in A opposite it never reaches C), and k = 0 with
// beta = 0 clears C.
#pragma once

#include <cstring>

#include "helper/complex_arith.h"
#include "helper/helper.h"

namespace kovra::parallel::blas {

// Column j of C (m elements) prepared for accumulation: beta 0 clears it unread, beta 1 leaves it.
template <typename T> inline void scale_column(T* column, int m, const T& beta) {
  if (helper::is_zero(beta)) {
    std::memset(static_cast<void*>(column), 0, sizeof(T) * m);
  } else if (!helper::is_one(beta)) {
    for (int i = 0; i < m; ++i) column[i] = helper::mul(beta, column[i]);
  }
}

template <typename T>
void small_gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb,
                T beta, T* c, int ldc) {
  if (m == 0 || n == 0) return;
  if ((k == 0 || helper::is_zero(alpha)) && helper::is_one(beta)) return;
  const char ta = helper::fold_letter(transa), tb = helper::fold_letter(transb);
  const bool nota = ta == 'N', notb = tb == 'N', conja = ta == 'C', conjb = tb == 'C';
  auto A = [&](int i, int l) { return a[i + std::ptrdiff_t{l} * lda]; };
  auto B = [&](int l, int j) { return b[l + std::ptrdiff_t{j} * ldb]; };

  if (helper::is_zero(alpha)) {
    for (int j = 0; j < n; ++j) scale_column(c + std::ptrdiff_t{j} * ldc, m, beta);
    return;
  }
  if (nota) {
    for (int j = 0; j < n; ++j) {
      T* cj = c + std::ptrdiff_t{j} * ldc;
      scale_column(cj, m, beta);
      for (int l = 0; l < k; ++l) {
        const T bl = notb ? B(l, j) : helper::CONJG(conjb, B(j, l));
        if (helper::is_zero(bl)) continue;
        const T temp = helper::mul(alpha, bl);
        for (int i = 0; i < m; ++i) cj[i] = helper::multiply_add(temp, A(i, l), cj[i]);
      }
    }
    return;
  }
  for (int j = 0; j < n; ++j) {
    T* cj = c + std::ptrdiff_t{j} * ldc;
    for (int i = 0; i < m; ++i) {
      T temp = T(0);
      for (int l = 0; l < k; ++l) {
        const T y = notb ? B(l, j) : helper::CONJG(conjb, B(j, l));
        temp = helper::multiply_add(helper::CONJG(conja, A(l, i)), y, temp);
      }
      // beta = 0: the old element is not read.
      cj[i] = helper::is_zero(beta) ? helper::mul(alpha, temp) : helper::multiply_add(alpha, temp, helper::mul(beta, cj[i]));
    }
  }
}

}  // namespace kovra::parallel::blas
