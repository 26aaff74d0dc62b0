// The vector primitives that every Level 2 routine is built from. In each, `a` (or `buf`) is a contiguous
// vector and the other operand is strided by the Level 2 rule: logical element i of a len-element vector
// with increment inc stands at i*inc for inc > 0 and at (1 - len + i)*inc otherwise.
//
// The sums run in index order with one accumulator starting at zero; a real step is one fused
// multiply-add, a complex step the full complex product followed by one addition per part. Only the unit
// increment forms of the updates reach a vector kernel, fetched inside the primitive on each call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "platform.h"

namespace kovra::parallel::blas {

// On x86-64 every kernel's real axpy_kernel rounds as the portable body does, one fused multiply-add
// fma(alpha, x[i], y[i]) per element, and its scal_kernel is y[i] * alpha (zeros for a zero alpha). A routine
// may then run those steps in loops of its own, interleaved as it likes, and keep the kernel's bits. The ARM
// multiply-accumulate kernel rounds the product first, so elsewhere the kernel must be called.
template <typename T>
inline constexpr bool kernel_steps_are_fused = KOVRA_X86_64 && std::is_floating_point_v<T>;

// buf[i] := x logical i.
template <typename T> void vec_gather(int n, const T* x, int incx, T* buf) {
  if (n < 1) return;
  if (incx == 1) {
    std::copy(x, x + n, buf);
    return;
  }
  std::ptrdiff_t ix = logical_offset(0, n, incx);
  for (int i = 0; i < n; ++i, ix += incx) buf[i] = x[ix];
}

// y logical i := buf[i].
template <typename T> void vec_scatter(int n, const T* buf, T* y, int incy) {
  if (n < 1) return;
  if (incy == 1) {
    std::copy(buf, buf + n, y);
    return;
  }
  std::ptrdiff_t iy = logical_offset(0, n, incy);
  for (int i = 0; i < n; ++i, iy += incy) y[iy] = buf[i];
}

// y := beta*y for a positive increment; a zero beta stores zeros without reading y.
template <typename T> void vec_scale(int n, T beta, T* y, int incy) {
  if (n < 1 || incy < 1) return;
  if (incy == 1) {
    kernels::get_kernel<T>()->scal_kernel(n, &beta, y);
    return;
  }
  const std::ptrdiff_t end = std::ptrdiff_t{n} * incy;
  if (helper::is_zero(beta)) {
    for (std::ptrdiff_t iy = 0; iy < end; iy += incy) y[iy] = T(0);
  } else {
    for (std::ptrdiff_t iy = 0; iy < end; iy += incy) y[iy] = helper::mul(beta, y[iy]);
  }
}

// y logical i += alpha*a[i].
template <typename T> void vec_axpy(int n, T alpha, const T* a, T* y, int incy) {
  if (n < 1 || helper::is_zero(alpha)) return;
  if (incy == 1) {
    kernels::get_kernel<T>()->axpy_kernel(n, &alpha, a, y);
    return;
  }
  std::ptrdiff_t iy = logical_offset(0, n, incy);
  for (int i = 0; i < n; ++i, iy += incy) y[iy] = helper::multiply_add(alpha, a[i], y[iy]);
}

// y[i] += alpha*(x logical i), y contiguous.
template <typename T> void vec_axpy_gather(int n, T alpha, const T* x, int incx, T* y) {
  if (n < 1 || helper::is_zero(alpha)) return;
  if (incx == 1) {
    kernels::get_kernel<T>()->axpy_kernel(n, &alpha, x, y);
    return;
  }
  std::ptrdiff_t ix = logical_offset(0, n, incx);
  for (int i = 0; i < n; ++i, ix += incx) y[i] = helper::multiply_add(alpha, x[ix], y[i]);
}

// y logical i += alpha*a[n - 1 - i]: `a` read backwards, always the scalar loop.
template <typename T> void vec_axpy_rev(int n, T alpha, const T* a, T* y, int incy) {
  if (n < 1 || helper::is_zero(alpha)) return;
  std::ptrdiff_t iy = logical_offset(0, n, incy);
  for (int i = 0; i < n; ++i, iy += incy) y[iy] = helper::multiply_add(alpha, a[n - 1 - i], y[iy]);
}

namespace detail {

// The one dot loop: sum over i of op(a[i or n-1-i]) * x logical i, op conjugating when Conjugate.
template <bool Conjugate, bool Reverse, typename T> T dot_walk(int n, const T* a, const T* x, int incx) {
  T acc(0);
  if (n < 1) return acc;
  std::ptrdiff_t ix = logical_offset(0, n, incx);
  for (int i = 0; i < n; ++i, ix += incx) {
    const T ai = helper::CONJG<T>(Conjugate, a[Reverse ? n - 1 - i : i]);
    acc = helper::multiply_add(ai, x[ix], acc);
  }
  return acc;
}

// Continues four dots of one length with the same x, column c read from columns[c]: each sum goes on in index
// order in its own accumulator, exactly as dot_walk sums alone. The four chains of multiply-adds are independent,
// so they overlap in the pipeline where a single chain waits for each result.
template <bool Conjugate, typename T>
void dot_walk4(int n, const T* const* columns, const T* x, int incx, T* sums) {
  if (n < 1) return;
  const T *c0 = columns[0], *c1 = columns[1], *c2 = columns[2], *c3 = columns[3];
  T s0 = sums[0], s1 = sums[1], s2 = sums[2], s3 = sums[3];
  std::ptrdiff_t ix = logical_offset(0, n, incx);
  for (int i = 0; i < n; ++i, ix += incx) {
    const T xi = x[ix];
    s0 = helper::multiply_add(helper::CONJG<T>(Conjugate, c0[i]), xi, s0);
    s1 = helper::multiply_add(helper::CONJG<T>(Conjugate, c1[i]), xi, s1);
    s2 = helper::multiply_add(helper::CONJG<T>(Conjugate, c2[i]), xi, s2);
    s3 = helper::multiply_add(helper::CONJG<T>(Conjugate, c3[i]), xi, s3);
  }
  sums[0] = s0, sums[1] = s1, sums[2] = s2, sums[3] = s3;
}

}  // namespace detail

template <typename T> T vec_dot(int n, const T* a, const T* x, int incx) {
  return detail::dot_walk<false, false>(n, a, x, incx);
}

template <typename T> T vec_dotc(int n, const T* a, const T* x, int incx) {
  return detail::dot_walk<true, false>(n, a, x, incx);
}

template <typename T> T vec_dot_rev(int n, const T* a, const T* x, int incx) {
  return detail::dot_walk<false, true>(n, a, x, incx);
}

template <typename T> T vec_dotc_rev(int n, const T* a, const T* x, int incx) {
  return detail::dot_walk<true, true>(n, a, x, incx);
}

}  // namespace kovra::parallel::blas
