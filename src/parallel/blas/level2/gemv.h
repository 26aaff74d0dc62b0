// GEMV, y := alpha*op(A)*x + beta*y: the per-call record with its tile body, gemv_front<T> (the routine
// behind SGEMV, DGEMV, CGEMV, ZGEMV in both forms) and gemv_front_unit<T> (alpha = beta = 1, real types).
// Tiles own disjoint slices of y: rows of A for 'N', columns for 'T' and 'C'; nothing is reduced.
#pragma once

#include <cstddef>
#include <type_traits>

#include "helper/helper.h"
#include "helper/scratch_plan.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level2/gemv_serial.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The call's arguments as given, shared read-only by all tiles.
template <typename T>
struct gemv_object {
  char trans;
  int m;
  int n;
  T alpha;
  const T* a;
  int lda;
  const T* x;
  int incx;
  T beta;
  T* y;
  int incy;

  // Rows [m_begin, m_end) for 'N', columns [n_begin, n_end) otherwise; the other range is whole.
  void run_tile(threading::scratch* s, int m_begin, int m_end, int n_begin, int n_end) const {
    const bool plain = helper::fold_letter(trans) == 'N';
    const int rows = m_end - m_begin, cols = n_end - n_begin;
    const int xlen = plain ? n : m, ylen = plain ? m : n;
    const int first = plain ? m_begin : n_begin, last = plain ? m_end : n_end;
    const int slice = last - first;
    T* const y_slice = sub_vector(y, first, slice, ylen, incy);
    const T* const a_tile = plain ? a + m_begin : a + std::ptrdiff_t{lda} * n_begin;

    // Both vectors strided: copy all of x and the slice of y into the scratch so that the unit-stride
    // kernels do the work. Too long for the scratch: run strided in place.
    if (incx != 1 && incy != 1 && helper::packed_vectors_fit<T>(xlen, slice)) {
      const helper::packed_vectors<T> packed = helper::place_packed_vectors<T>(s->storage, xlen);
      vec_gather(xlen, x, incx, packed.x);
      vec_gather(slice, y_slice, incy, packed.y);
      gemv_serial(trans, rows, cols, alpha, a_tile, lda, packed.x, 1, beta, packed.y, 1);
      vec_scatter(slice, packed.y, y_slice, incy);
      return;
    }
    gemv_serial(trans, rows, cols, alpha, a_tile, lda, x, incx, beta, y_slice, incy);
  }
};

// Splits y over the workers in grains of the running kernel's tile: rows for 'N', columns otherwise.
template <typename T>
void gemv_tasks(const gemv_object<T>& record) {
  const auto kernel = kernels::get_kernel<T>();
  if (helper::fold_letter(record.trans) == 'N') threading::launch_grid(record.m, kernel->tile_m, record.n, record.n, &record);
  else threading::launch_grid(record.m, record.m, record.n, kernel->tile_n, &record);
}

// Checks, quick returns, the serial cut-off (m and n both at most 8), otherwise one tile per share of y.
template <typename T>
void gemv_front(char trans, int m, int n, T alpha, const T* a, int lda, const T* x, int incx, T beta, T* y,
                int incy) {
  if (error::bad_argument(gemv_name, gemv_bad_argument(trans, m, n, lda, incx, incy))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha) && helper::is_one(beta)) return;
  if (m <= serial_cutoff && n <= serial_cutoff) {
    gemv_serial(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
    return;
  }
  gemv_tasks(gemv_object<T>{trans, m, n, alpha, a, lda, x, incx, beta, y, incy});
}

// y += op(A)*x: gemv_front<T> with alpha = beta = 1 built in, for the real types.
template <typename T>
void gemv_front_unit(char trans, int m, int n, const T* a, int lda, const T* x, int incx, T* y, int incy) {
  static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "real element types only");
  if (error::bad_argument(gemv_name, gemv_bad_argument(trans, m, n, lda, incx, incy))) return;
  if (m == 0 || n == 0) return;
  if (m <= serial_cutoff && n <= serial_cutoff) {
    gemv_serial_acc(trans, m, n, a, lda, x, incx, y, incy, T(1));
    return;
  }
  gemv_tasks(gemv_object<T>{trans, m, n, T(1), a, lda, x, incx, T(1), y, incy});
}

}  // namespace kovra::parallel::blas
