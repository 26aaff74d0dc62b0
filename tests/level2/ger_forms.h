// The rank-one routines of an element type, reached by form, so that one typed test covers GER for the
// real types and GERU and GERC for the complex ones; and the comparison of a result with its reference.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "parallel/blas/level2/ger.h"
#include "support/padded_matrix.h"
#include "support/values.h"

namespace kovra::testing {

using parallel::blas::rank_one_form;

template <typename T>
std::vector<rank_one_form> forms_of() {
  if constexpr (is_complex_v<T>) return {rank_one_form::geru, rank_one_form::gerc};
  else return {rank_one_form::ger};
}

inline const char* form_text(rank_one_form form) { return parallel::blas::rank_one_name(form); }

// The front, serial and unit-increment routines of a form chosen at run time.
template <typename T>
void run_front(rank_one_form form, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  using namespace parallel::blas;
  if constexpr (is_complex_v<T>) {
    if (form == rank_one_form::gerc) gerc_front(m, n, alpha, x, incx, y, incy, a, lda);
    else geru_front(m, n, alpha, x, incx, y, incy, a, lda);
  } else {
    ger_front(m, n, alpha, x, incx, y, incy, a, lda);
  }
}

template <typename T>
void run_serial(rank_one_form form, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a,
                int lda) {
  using namespace parallel::blas;
  if constexpr (is_complex_v<T>) {
    if (form == rank_one_form::gerc) gerc_serial(m, n, alpha, x, incx, y, incy, a, lda);
    else geru_serial(m, n, alpha, x, incx, y, incy, a, lda);
  } else {
    ger_serial(m, n, alpha, x, incx, y, incy, a, lda);
  }
}

template <typename T>
void run_serial_unit(rank_one_form form, int m, int n, T alpha, const T* x, const T* y, T* a, int lda) {
  using namespace parallel::blas;
  if constexpr (is_complex_v<T>) {
    if (form == rank_one_form::gerc) gerc_serial_unit(m, n, alpha, x, y, a, lda);
    else geru_serial_unit(m, n, alpha, x, y, a, lda);
  } else {
    ger_serial_unit(m, n, alpha, x, y, a, lda);
  }
}

// Every element is |x_i| |y_j| |alpha| <= 2 away from an A element in [-1, 1]: a few roundings of
// numbers below 4.
template <typename T>
double ger_tolerance() {
  return 32 * double(std::numeric_limits<real_t<T>>::epsilon());
}

template <typename T>
std::vector<T> matrix_part(const padded_matrix<T>& a) {
  std::vector<T> values;
  for (int j = 0; j < a.cols(); ++j)
    for (int i = 0; i < a.rows(); ++i) values.push_back(a.at(i, j));
  return values;
}

template <typename T>
::testing::AssertionResult near_reference(const padded_matrix<T>& actual, const padded_matrix<T>& expected) {
  if (auto guards = actual.guards_intact(); !guards) return guards;
  return all_near(matrix_part(actual), matrix_part(expected), ger_tolerance<T>());
}

}  // namespace kovra::testing
