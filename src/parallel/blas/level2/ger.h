// The rank-one updates A := alpha*x*y^T + A (GER for real types, GERU for complex ones) and
// A := alpha*x*y^H + A (GERC): serial forms, the per-call records with their tile bodies, and the fronts
// that the SGER, DGER, CGERU, ZGERU, CGERC and ZGERC entries call.
//
// The three routines are one body parameterised by rank_one_form, which fixes the name in reports and
// whether y is conjugated. A tile owns whole columns of A with the matching slice of y and reads all of x,
// so tiles of one call never write the same element.
#pragma once

#include <cstddef>
#include <type_traits>

#include "error/error.h"
#include "helper/complex_arith.h"
#include "helper/helper.h"
#include "helper/scratch_plan.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level1/logical_element.h"
#include "parallel/blas/level2/vector_primitives.h"
#include "parallel/blas/row_major.h"
#include "threading/launch.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

enum class rank_one_form { ger, geru, gerc };

// The family name that reports carry: no precision letter, one trailing blank.
constexpr const char* rank_one_name(rank_one_form form) {
  return form == rank_one_form::ger ? "GER " : form == rank_one_form::geru ? "GERU " : "GERC ";
}

template <rank_one_form Form, typename T>
constexpr void check_rank_one_form() {
  static_assert((Form == rank_one_form::ger) != is_complex_v<T>, "GER is for real types, GERU and GERC for complex");
}

// The position of the first bad argument in (M, N, ALPHA, X, INCX, Y, INCY, A, LDA), or 0.
inline int ger_bad_argument(int m, int n, int incx, int incy, int lda) {
  if (m < 0) return 1;
  if (n < 0) return 2;
  if (incx == 0) return 5;
  if (incy == 0) return 7;
  if (lda < helper::MAX(1, m)) return 9;
  return 0;
}

// The column loop: column j of A gets alpha*t*x with t = y logical j (conjugated for GERC). A zero t
// skips its column, so A's column is not even read and NaN in it stays as it was.
template <rank_one_form Form, typename T>
void rank_one_columns(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  std::ptrdiff_t iy = logical_offset(0, n, incy);
  for (int j = 0; j < n; ++j, iy += incy) {
    const T t = helper::CONJG<T>(Form == rank_one_form::gerc, y[iy]);
    if (helper::is_zero(t)) continue;
    vec_axpy_gather(m, helper::mul(alpha, t), x, incx, a + std::ptrdiff_t{lda} * j);
  }
}

// The serial routine: validation, quick return, then the column loop on the calling thread. The tiles
// call it on their own columns as well, where the checks always pass.
template <rank_one_form Form, typename T>
void rank_one_serial(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  check_rank_one_form<Form, T>();
  if (error::bad_argument(rank_one_name(Form), ger_bad_argument(m, n, incx, incy, lda))) return;
  if (m == 0 || n == 0 || helper::is_zero(alpha)) return;
  rank_one_columns<Form>(m, n, alpha, x, incx, y, incy, a, lda);
}

// The same for contiguous x and y (the gathered copies of the packed tile path): with no increments
// only M, N and LDA can be bad.
template <rank_one_form Form, typename T>
void rank_one_serial_unit(int m, int n, T alpha, const T* x, const T* y, T* a, int lda) {
  check_rank_one_form<Form, T>();
  if (error::bad_argument(rank_one_name(Form), ger_bad_argument(m, n, 1, 1, lda))) return;
  if (m == 0 || n == 0 || helper::is_zero(alpha)) return;
  rank_one_columns<Form>(m, n, alpha, x, 1, y, 1, a, lda);
}

// The call's arguments as given, shared read-only by all tiles; ger_object, geru_object and gerc_object
// below are this record under their routine's name.
template <rank_one_form Form, typename T>
struct rank_one_object {
  int m;
  int n;
  T alpha;
  const T* x;
  int incx;
  const T* y;
  int incy;
  T* a;
  int lda;

  // Columns [first_n, last_n) with all rows (the row range is always [0, m)). The slice pointer is
  // placed so that the negative-increment rule over the slice's own length reaches logical elements
  // first_n .. last_n - 1 of y. When both vectors are strided they are gathered so that the columns run
  // through the kernel's axpy; a strided vector alone is read in place.
  void run_tile(threading::scratch* scratch, int, int, int first_n, int last_n) const {
    const int s = last_n - first_n;
    T* const columns = a + std::ptrdiff_t{lda} * first_n;
    const T* const y_slice =
        incy > 0 ? y + std::ptrdiff_t{incy} * first_n : y + std::ptrdiff_t{incy} * (last_n - n);
    if (incx != 1 && incy != 1 && helper::packed_vectors_fit<T>(m, s)) {
      const helper::packed_vectors<T> packed = helper::place_packed_vectors<T>(scratch->storage, m);
      vec_gather(m, x, incx, packed.x);
      vec_gather(s, y_slice, incy, packed.y);
      rank_one_serial_unit<Form>(m, s, alpha, packed.x, packed.y, columns, lda);
    } else {
      rank_one_serial<Form>(m, s, alpha, x, incx, y_slice, incy, columns, lda);
    }
  }
};

template <typename T> struct ger_object : rank_one_object<rank_one_form::ger, T> {};
template <typename T> struct geru_object : rank_one_object<rank_one_form::geru, T> {};
template <typename T> struct gerc_object : rank_one_object<rank_one_form::gerc, T> {};

template <rank_one_form Form, typename T>
using rank_one_record = std::conditional_t<Form == rank_one_form::ger, ger_object<T>,
                                           std::conditional_t<Form == rank_one_form::geru, geru_object<T>,
                                                              gerc_object<T>>>;

// Validation, quick return (alpha = 0 returns before x, y or A is read), the serial cut-off (both
// dimensions at most serial_cutoff), otherwise one task per share of the columns, rows kept whole. The
// kernel is fetched only for its column grain.
template <rank_one_form Form, typename T>
void rank_one_front(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  check_rank_one_form<Form, T>();
  if (error::bad_argument(rank_one_name(Form), ger_bad_argument(m, n, incx, incy, lda))) return;
  if (m == 0 || n == 0 || helper::is_zero(alpha)) return;
  if (m <= serial_cutoff && n <= serial_cutoff) {
    rank_one_serial<Form>(m, n, alpha, x, incx, y, incy, a, lda);
    return;
  }
  const int tile_n = kernels::get_kernel<T>()->tile_n;
  const rank_one_record<Form, T> record{{m, n, alpha, x, incx, y, incy, a, lda}};
  threading::launch_grid(m, m, n, tile_n, &record);
}

// The routines under their own names.
template <typename T>
void ger_front(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  rank_one_front<rank_one_form::ger>(m, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void geru_front(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  rank_one_front<rank_one_form::geru>(m, n, alpha, x, incx, y, incy, a, lda);
}
template <typename T>
void gerc_front(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  rank_one_front<rank_one_form::gerc>(m, n, alpha, x, incx, y, incy, a, lda);
}

// GERC in row-major order, m and n as the caller gave them: the column-major A^T += alpha*conj(y)*x^T has
// its conjugated vector first, which no form conjugates, so conj(y) is copied (contiguous, in logical
// order) and GERU runs on the copy. Its reports therefore name GERU, and a zero incY is not refused: the
// update sees increment 1. A failed copy has been reported and the update goes on with the null pointer.
template <typename T>
void gerc_row_major(int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  T* const conj_y = conjugated_copy(n, y, incy);
  geru_front(n, m, alpha, static_cast<const T*>(conj_y), 1, x, incx, a, lda);
  std::free(conj_y);
}

}  // namespace kovra::parallel::blas
