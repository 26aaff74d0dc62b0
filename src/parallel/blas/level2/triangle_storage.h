// Where the elements of a triangular A stand in its three storage forms, and the argument checks that the
// triangular solves and products share. Column j of the triangle holds the rows [first_row(j), end_row(j)),
// contiguous in memory in every form:
//
//   full     A(i, j) at a[i + lda*j]
//   band     upper: a[k + i - j + lda*j] (the diagonal in row k of the array), rows from max(0, j - k);
//            lower: a[i - j + lda*j] (the diagonal in row 0), rows up to min(n, j + k + 1)
//   packed   upper: ap[i + j(j + 1)/2]; lower: ap[i - j + j(2n - j + 1)/2], columns one after the other
//
// Nothing outside the triangle is ever addressed.
#pragma once

#include <cstddef>

#include "helper/helper.h"

namespace kovra::parallel::blas {

enum class storage_form { full, band, packed };

template <typename T>
struct triangle_storage {
  storage_form form;
  bool upper;
  int n;
  int k;  // off-diagonals of a band; n - 1 for the other forms, so the band rules give the whole triangle
  const T* a;
  int lda;

  // The element (i, j) of the triangle, for first_row(j) <= i < end_row(j).
  const T* at(int i, int j) const {
    const std::ptrdiff_t I = i, J = j;
    switch (form) {
      case storage_form::full:
        return a + I + J * lda;
      case storage_form::band:
        return a + (upper ? k + I - J : I - J) + J * lda;
      default:
        return a + (upper ? I + J * (J + 1) / 2 : I - J + J * (2 * std::ptrdiff_t{n} - J + 1) / 2);
    }
  }
  int first_row(int j) const { return upper ? helper::MAX(0, j - k) : j; }
  int end_row(int j) const { return upper ? j + 1 : helper::MIN(n, j + k + 1); }
};

template <typename T>
triangle_storage<T> full_storage(bool upper, int n, const T* a, int lda) {
  return {storage_form::full, upper, n, n - 1, a, lda};
}
template <typename T>
triangle_storage<T> band_storage(bool upper, int n, int k, const T* a, int lda) {
  return {storage_form::band, upper, n, k, a, lda};
}
template <typename T>
triangle_storage<T> packed_storage(bool upper, int n, const T* ap) {
  return {storage_form::packed, upper, n, n - 1, ap, 0};
}

// Whether a triangular solve or product of order n runs serially on the calling thread: n at most 8, and for a
// band k too (a band of order 5 with 9 off-diagonals still launches).
inline bool triangular_vector_is_serial(storage_form form, int n, int k) {
  return n <= serial_cutoff && (form != storage_form::band || k <= serial_cutoff);
}

// The position of the first bad argument of a triangular solve or product, or 0. The lists are (UPLO, TRANS,
// DIAG, N, A, LDA, X, INCX), with K after N for the band form, and (UPLO, TRANS, DIAG, N, AP, X, INCX).
inline int triangular_vector_bad_argument(storage_form form, char uplo, char trans, char diag, int n, int k, int lda,
                                          int incx) {
  const char u = helper::fold_letter(uplo), d = helper::fold_letter(diag);
  if (u != 'U' && u != 'L') return 1;
  if (!helper::valid_trans(trans)) return 2;
  if (d != 'U' && d != 'N') return 3;
  if (n < 0) return 4;
  switch (form) {
    case storage_form::full:
      if (lda < helper::MAX(1, n)) return 6;
      return incx == 0 ? 8 : 0;
    case storage_form::band:
      if (k < 0) return 5;
      if (lda <= k) return 7;
      return incx == 0 ? 9 : 0;
    default:
      return incx == 0 ? 7 : 0;
  }
}

}  // namespace kovra::parallel::blas
