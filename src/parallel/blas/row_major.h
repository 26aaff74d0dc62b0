// How a row-major call becomes a column-major one. A row-major matrix is the column-major storage of its
// transpose, so the entries run the column-major routine on the transposed problem: dimensions swap and
// the option letters flip. Where the transposed problem needs a conjugation that no column-major form
// has, the routine runs on a conjugated contiguous copy of a vector. Letters other than the ones flipped
// (a bad enumeration's 'X') pass unchanged, so the routine's own check refuses them.
#pragma once

#include <cstdlib>

#include "helper/aligned.h"
#include "helper/helper.h"
#include "parallel/blas/level1/logical_element.h"

namespace kovra::parallel::blas {

// The upper triangle of A is the lower one of A^T.
inline char flip_uplo(char c) { return c == 'U' ? 'L' : c == 'L' ? 'U' : c; }
// A on the left of B is A^T on the right of B^T.
inline char flip_side(char c) { return c == 'L' ? 'R' : c == 'R' ? 'L' : c; }
// op(A^T) for the general families: 'N' and 'T' change places; 'C' has no column-major twin.
inline char flip_trans(char c) { return c == 'N' ? 'T' : c == 'T' ? 'N' : c; }
// The Hermitian families know only 'N' and 'C': they change places.
inline char flip_trans_hermitian(char c) { return c == 'N' ? 'C' : c == 'C' ? 'N' : c; }
// A rank update of A^T: 'N' becomes 'T' ('C' for the Hermitian forms), and 'T' and 'C' both become 'N'.
inline char flip_trans_rank(char c, bool hermitian) {
  return c == 'N' ? (hermitian ? 'C' : 'T') : c == 'T' || c == 'C' ? 'N' : c;
}

// Conjugates the n logical elements of v in place; nothing for real types.
template <typename T> void conjugate_in_place(int n, T* v, int inc) {
  if constexpr (is_complex_v<T>) {
    for (int i = 0; i < n; ++i) {
      T& e = v[logical_offset(i, n, inc)];
      e = helper::CONJG(true, e);
    }
  } else {
    (void)n, (void)v, (void)inc;
  }
}

// The n logical elements of v, conjugated, in a contiguous array from the aligned helpers (free it with
// std::free). A failed allocation has been reported by the helper and gives null, which the caller
// passes on as it is.
template <typename T> T* conjugated_copy(int n, const T* v, int inc) {
  T* const copy = helper::aligned_array<T>(n);
  if (copy == nullptr) return copy;
  for (int i = 0; i < n; ++i) copy[i] = helper::CONJG(true, v[logical_offset(i, n, inc)]);
  return copy;
}

// The matrix-vector products in row-major order: front(trans, alpha, x, incx, beta) runs the column-major
// routine with M and N (and KL and KU) exchanged; m and n are the caller's, so x has m elements and y n
// in the ConjTrans form. That form computes A^H x as conj(A^T conj(x)): y is conjugated, the 'N' product
// runs on a conjugated copy of x with conjugated scalars, and y is conjugated back. The copy is made for
// the real types as well, where it is never read.
template <typename T, typename Front>
void row_major_matvec(char trans, int m, int n, T alpha, const T* x, int incx, T beta, T* y, int incy, Front front) {
  if (trans != 'C') {
    front(flip_trans(trans), alpha, x, incx, beta);
    return;
  }
  if constexpr (is_complex_v<T>) {
    T* const copy = conjugated_copy(m, x, incx);
    conjugate_in_place(n, y, incy);
    front('N', helper::CONJG(true, alpha), static_cast<const T*>(copy), 1, helper::CONJG(true, beta));
    conjugate_in_place(n, y, incy);
    std::free(copy);
  } else {
    T* const copy = helper::aligned_array<T>(m);
    front('N', alpha, x, incx, beta);
    std::free(copy);
  }
}

}  // namespace kovra::parallel::blas
