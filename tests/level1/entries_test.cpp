// The exported Level 1 entries: the three Fortran names and the cblas_ name of each routine give what
// the routine itself gives (arguments mapped in the right order, complex scalars read as (re, im)
// pairs), SCABS1/DCABS1, and the mapping of the CBLAS enumerations.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <string>
#include <tuple>

#include <kovra/kovra.h>

#include "interface/enums.h"
#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/scal.h"
#include "parallel/blas/level1/swap.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The entries of one element type: the three Fortran names of each routine, then its cblas_ name.
template <typename T>
struct entries;
template <>
struct entries<float> {
  static constexpr std::array axpy{&saxpy_, &saxpy, &SAXPY};
  static constexpr std::array axpby{&saxpby_, &saxpby, &SAXPBY};
  static constexpr std::array scal{&sscal_, &sscal, &SSCAL};
  static constexpr std::array copy{&scopy_, &scopy, &SCOPY};
  static constexpr std::array swap{&sswap_, &sswap, &SSWAP};
  static constexpr auto cblas = std::make_tuple(&cblas_saxpy, &cblas_saxpby, &cblas_sscal, &cblas_scopy, &cblas_sswap);
};
template <>
struct entries<double> {
  static constexpr std::array axpy{&daxpy_, &daxpy, &DAXPY};
  static constexpr std::array axpby{&daxpby_, &daxpby, &DAXPBY};
  static constexpr std::array scal{&dscal_, &dscal, &DSCAL};
  static constexpr std::array copy{&dcopy_, &dcopy, &DCOPY};
  static constexpr std::array swap{&dswap_, &dswap, &DSWAP};
  static constexpr auto cblas = std::make_tuple(&cblas_daxpy, &cblas_daxpby, &cblas_dscal, &cblas_dcopy, &cblas_dswap);
};
template <>
struct entries<c32> {
  static constexpr std::array axpy{&caxpy_, &caxpy, &CAXPY};
  static constexpr std::array axpby{&caxpby_, &caxpby, &CAXPBY};
  static constexpr std::array scal{&cscal_, &cscal, &CSCAL};
  static constexpr std::array copy{&ccopy_, &ccopy, &CCOPY};
  static constexpr std::array swap{&cswap_, &cswap, &CSWAP};
  static constexpr auto cblas = std::make_tuple(&cblas_caxpy, &cblas_caxpby, &cblas_cscal, &cblas_ccopy, &cblas_cswap);
  static constexpr std::array real_scal{&csscal_, &csscal, &CSSCAL};
  static constexpr auto cblas_real_scal = &cblas_csscal;
};
template <>
struct entries<c64> {
  static constexpr std::array axpy{&zaxpy_, &zaxpy, &ZAXPY};
  static constexpr std::array axpby{&zaxpby_, &zaxpby, &ZAXPBY};
  static constexpr std::array scal{&zscal_, &zscal, &ZSCAL};
  static constexpr std::array copy{&zcopy_, &zcopy, &ZCOPY};
  static constexpr std::array swap{&zswap_, &zswap, &ZSWAP};
  static constexpr auto cblas = std::make_tuple(&cblas_zaxpy, &cblas_zaxpby, &cblas_zscal, &cblas_zcopy, &cblas_zswap);
  static constexpr std::array real_scal{&zdscal_, &zdscal, &ZDSCAL};
  static constexpr auto cblas_real_scal = &cblas_zdscal;
};

// How a cblas_ entry takes a scalar: real ones by value, complex ones by address.
template <typename T>
auto by_value(const T& v) {
  if constexpr (is_complex_v<T>) return static_cast<const void*>(&v);
  else return v;
}

// Unequal increments of either sign, so that any two arguments mixed up in an entry change the result;
// 12 elements keep SCAL to a single pass.
constexpr int n = 12, incx = 2, incy = -3;

// Runs each of `calls` (four entry forms, each given x and y) on the same data, and expects of each
// the x and y that `routine` leaves.
template <typename T, typename Routine, typename... Calls>
void expect_forms_agree(Routine routine, Calls... calls) {
  const auto x0 = random_values<T>(n, 41), y0 = random_values<T>(n, 43);
  strided_vector<T> want_x(n, incx, x0), want_y(n, incy, y0);
  routine(want_x.data(), want_y.data());
  int form = 0;
  for (auto call : {std::function<void(T*, T*)>(calls)...}) {
    SCOPED_TRACE(::testing::Message() << "entry form " << form++);
    strided_vector<T> x(n, incx, x0), y(n, incy, y0);
    call(x.data(), y.data());
    EXPECT_TRUE(all_same_bits(x.logical(), want_x.logical()));
    EXPECT_TRUE(all_same_bits(y.logical(), want_y.logical()));
    EXPECT_TRUE(x.guards_intact());
    EXPECT_TRUE(y.guards_intact());
  }
}

template <typename T>
class Entries : public ::testing::Test {};
TYPED_TEST_SUITE(Entries, element_types, element_type_names);

TYPED_TEST(Entries, EveryNameRunsTheRoutine) {
  using T = TypeParam;
  using E = entries<T>;
  const T alpha = make<T>(0.5, -2), beta = make<T>(-1.5, 0.25);
  const auto [cblas_axpy, cblas_axpby, cblas_scal, cblas_copy, cblas_swap] = E::cblas;

  expect_forms_agree<T>([&](T* x, T* y) { parallel::blas::axpy(n, alpha, x, incx, y, incy); },
                        [&](T* x, T* y) { E::axpy[0](&n, &alpha, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::axpy[1](&n, &alpha, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::axpy[2](&n, &alpha, x, &incx, y, &incy); },
                        [&](T* x, T* y) { cblas_axpy(n, by_value(alpha), x, incx, y, incy); });
  expect_forms_agree<T>([&](T* x, T* y) { parallel::blas::axpby(n, alpha, x, incx, beta, y, incy); },
                        [&](T* x, T* y) { E::axpby[0](&n, &alpha, x, &incx, &beta, y, &incy); },
                        [&](T* x, T* y) { E::axpby[1](&n, &alpha, x, &incx, &beta, y, &incy); },
                        [&](T* x, T* y) { E::axpby[2](&n, &alpha, x, &incx, &beta, y, &incy); },
                        [&](T* x, T* y) { cblas_axpby(n, by_value(alpha), x, incx, by_value(beta), y, incy); });
  expect_forms_agree<T>([&](T* x, T*) { parallel::blas::scal(n, alpha, x, incx); },
                        [&](T* x, T*) { E::scal[0](&n, &alpha, x, &incx); },
                        [&](T* x, T*) { E::scal[1](&n, &alpha, x, &incx); },
                        [&](T* x, T*) { E::scal[2](&n, &alpha, x, &incx); },
                        [&](T* x, T*) { cblas_scal(n, by_value(alpha), x, incx); });
  expect_forms_agree<T>([&](T* x, T* y) { parallel::blas::copy(n, x, incx, y, incy); },
                        [&](T* x, T* y) { E::copy[0](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::copy[1](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::copy[2](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { cblas_copy(n, x, incx, y, incy); });
  expect_forms_agree<T>([&](T* x, T* y) { parallel::blas::swap(n, x, incx, y, incy); },
                        [&](T* x, T* y) { E::swap[0](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::swap[1](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { E::swap[2](&n, x, &incx, y, &incy); },
                        [&](T* x, T* y) { cblas_swap(n, x, incx, y, incy); });

  if constexpr (is_complex_v<T>) {
    const real_t<T> scale = -0.75;
    expect_forms_agree<T>([&](T* x, T*) { parallel::blas::scal(n, scale, x, incx); },
                          [&](T* x, T*) { E::real_scal[0](&n, &scale, x, &incx); },
                          [&](T* x, T*) { E::real_scal[1](&n, &scale, x, &incx); },
                          [&](T* x, T*) { E::real_scal[2](&n, &scale, x, &incx); },
                          [&](T* x, T*) { E::cblas_real_scal(n, scale, x, incx); });
  }
}

TEST(Cabs1, SumsTheAbsoluteParts) {
  const c32 f(-3.0f, 4.5f);
  const c64 d(2.25, -0.0);
  for (auto entry : {&scabs1_, &scabs1, &SCABS1, &cblas_scabs1}) EXPECT_EQ(entry(&f), 7.5f);
  for (auto entry : {&dcabs1_, &dcabs1, &DCABS1, &cblas_dcabs1}) EXPECT_EQ(entry(&d), 2.25);
  const c64 nan_part(1.0, std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(std::isnan(dcabs1_(&nan_part)));
}

TEST(CblasEnumerations, MapToCharactersAndAnythingElseToX) {
  using namespace interface;
  EXPECT_EQ(std::string() + trans_char(CblasNoTrans) + trans_char(CblasTrans) + trans_char(CblasConjTrans), "NTC");
  EXPECT_EQ(std::string() + uplo_char(CblasUpper) + uplo_char(CblasLower), "UL");
  EXPECT_EQ(std::string() + diag_char(CblasNonUnit) + diag_char(CblasUnit), "NU");
  EXPECT_EQ(std::string() + side_char(CblasLeft) + side_char(CblasRight), "LR");
  for (int bad : {0, -1, 101, 102, 110, 114, 121, 131, 141})
    EXPECT_EQ(trans_char(bad), 'X') << bad;
  for (int bad : {0, 111, 120, 123, 131})
    EXPECT_EQ(uplo_char(bad), 'X') << bad;
  for (int bad : {0, 111, 130, 133, 121})
    EXPECT_EQ(diag_char(bad), 'X') << bad;
  for (int bad : {0, 111, 140, 143, 121})
    EXPECT_EQ(side_char(bad), 'X') << bad;
  EXPECT_TRUE(is_col_major(CblasColMajor));
  for (int other : {int{CblasRowMajor}, 0, 103, -102}) EXPECT_FALSE(is_col_major(other)) << other;
}

}  // namespace
}  // namespace kovra_test
