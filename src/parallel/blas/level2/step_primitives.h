// The steps of the triangular solves and the copies of the triangular products. Each does what the Level 2
// vector primitive of the same name does; a vector of more than 8 elements runs on the Level 1 routine's grid
// instead, launched from inside the running task, which waits for it before the next step. `a` is contiguous,
// read forwards or, in the _rev forms, backwards (the Level 1 increment -1 reads it from its far end).
#pragma once

#include "helper/helper.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level2/vector_primitives.h"

namespace kovra::parallel::blas {

// y logical i += alpha*a[i].
template <typename T>
void par_axpy(int n, T alpha, const T* a, T* y, int incy) {
  if (n <= serial_cutoff)
    vec_axpy(n, alpha, a, y, incy);
  else
    axpy(n, alpha, a, 1, y, incy);
}

// y logical i += alpha*a[n - 1 - i].
template <typename T>
void par_axpy_rev(int n, T alpha, const T* a, T* y, int incy) {
  if (n <= serial_cutoff)
    vec_axpy_rev(n, alpha, a, y, incy);
  else
    axpy(n, alpha, a, -1, y, incy);
}

// The sum over i of a[i] (a[n - 1 - i] for Reverse; conjugated for Conjugate) times x logical i. A long dot
// adds the partial sums of its tiles in tile order.
template <bool Conjugate, bool Reverse, typename T>
T par_dot_walk(int n, const T* a, const T* x, int incx) {
  if (n <= serial_cutoff) return detail::dot_walk<Conjugate, Reverse>(n, a, x, incx);
  return dot<T, Conjugate>(n, a, Reverse ? -1 : 1, x, incx);
}

template <typename T>
T par_dot(int n, const T* a, const T* x, int incx) {
  return par_dot_walk<false, false>(n, a, x, incx);
}
template <typename T>
T par_dot_rev(int n, const T* a, const T* x, int incx) {
  return par_dot_walk<false, true>(n, a, x, incx);
}
template <typename T>
T par_dotc(int n, const T* a, const T* x, int incx) {
  return par_dot_walk<true, false>(n, a, x, incx);
}
template <typename T>
T par_dotc_rev(int n, const T* a, const T* x, int incx) {
  return par_dot_walk<true, true>(n, a, x, incx);
}

// buf[i] := x logical i.
template <typename T>
void par_gather(int n, const T* x, int incx, T* buf) {
  if (n <= serial_cutoff)
    vec_gather(n, x, incx, buf);
  else
    copy(n, x, incx, buf, 1);
}

// y logical i := buf[i].
template <typename T>
void par_scatter(int n, const T* buf, T* y, int incy) {
  if (n <= serial_cutoff)
    vec_scatter(n, buf, y, incy);
  else
    copy(n, buf, 1, y, incy);
}

}  // namespace kovra::parallel::blas
