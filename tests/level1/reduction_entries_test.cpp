// The exported entries of the reductions: the three Fortran names and the cblas_ name of each routine
// give what the routine gives (arguments in the right order, the complex dots' result stored through
// the pointer, first in the Fortran form and last in the cblas_..._sub form, the same 0-based position).
#include <gtest/gtest.h>

#include <array>
#include <complex>

#include <kovra/kovra.h>

#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/dsdot.h"
#include "parallel/blas/level1/iamax.h"
#include "parallel/blas/level1/nrm2.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra::testing {
namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// The entries of one element type: the three Fortran names of each routine, then its cblas_ name.
// For a real type DOTC is DOT again.
template <typename T>
struct entries;
template <>
struct entries<float> {
  static constexpr std::array dotu{&sdot_, &sdot, &SDOT}, dotc = dotu;
  static constexpr std::array asum{&sasum_, &sasum, &SASUM}, nrm2{&snrm2_, &snrm2, &SNRM2};
  static constexpr std::array iamax{&isamax_, &isamax, &ISAMAX}, iamin{&isamin_, &isamin, &ISAMIN};
  static constexpr auto cblas = std::make_tuple(&cblas_sdot, &cblas_sdot, &cblas_sasum, &cblas_snrm2, &cblas_isamax,
                                                &cblas_isamin);
};
template <>
struct entries<double> {
  static constexpr std::array dotu{&ddot_, &ddot, &DDOT}, dotc = dotu;
  static constexpr std::array asum{&dasum_, &dasum, &DASUM}, nrm2{&dnrm2_, &dnrm2, &DNRM2};
  static constexpr std::array iamax{&idamax_, &idamax, &IDAMAX}, iamin{&idamin_, &idamin, &IDAMIN};
  static constexpr auto cblas = std::make_tuple(&cblas_ddot, &cblas_ddot, &cblas_dasum, &cblas_dnrm2, &cblas_idamax,
                                                &cblas_idamin);
};
template <>
struct entries<c32> {
  static constexpr std::array dotu{&cdotu_, &cdotu, &CDOTU}, dotc{&cdotc_, &cdotc, &CDOTC};
  static constexpr std::array asum{&scasum_, &scasum, &SCASUM}, nrm2{&scnrm2_, &scnrm2, &SCNRM2};
  static constexpr std::array iamax{&icamax_, &icamax, &ICAMAX}, iamin{&icamin_, &icamin, &ICAMIN};
  static constexpr auto cblas = std::make_tuple(&cblas_cdotu_sub, &cblas_cdotc_sub, &cblas_scasum, &cblas_scnrm2,
                                                &cblas_icamax, &cblas_icamin);
};
template <>
struct entries<c64> {
  static constexpr std::array dotu{&zdotu_, &zdotu, &ZDOTU}, dotc{&zdotc_, &zdotc, &ZDOTC};
  static constexpr std::array asum{&dzasum_, &dzasum, &DZASUM}, nrm2{&dznrm2_, &dznrm2, &DZNRM2};
  static constexpr std::array iamax{&izamax_, &izamax, &IZAMAX}, iamin{&izamin_, &izamin, &IZAMIN};
  static constexpr auto cblas = std::make_tuple(&cblas_zdotu_sub, &cblas_zdotc_sub, &cblas_dzasum, &cblas_dznrm2,
                                                &cblas_izamax, &cblas_izamin);
};

// Unequal increments of either sign, so that swapped arguments change the result; 12 elements run in
// tiles, 5 serially.
constexpr int incx = 2, incy = -3;

// A Fortran dot: the function value for a real type, the pair stored through the first argument for
// a complex one (which starts as the sentinel, so a missing store shows).
template <typename T, typename F>
T fortran_dot(F entry, const int& n, const T* x, const T* y) {
  if constexpr (is_complex_v<T>) {
    T result = sentinel<T>();
    entry(&result, &n, x, &incx, y, &incy);
    return result;
  } else {
    return entry(&n, x, &incx, y, &incy);
  }
}

template <typename T, typename F>
T cblas_dot(F entry, int n, const T* x, const T* y) {
  if constexpr (is_complex_v<T>) {
    T result = sentinel<T>();
    entry(n, x, incx, y, incy, &result);
    return result;
  } else {
    return entry(n, x, incx, y, incy);
  }
}

template <typename T>
class ReductionEntries : public ::testing::Test {};
TYPED_TEST_SUITE(ReductionEntries, element_types, element_type_names);

TYPED_TEST(ReductionEntries, EveryNameRunsTheRoutine) {
  using T = TypeParam;
  using E = entries<T>;
  const auto [cblas_dotu, cblas_dotc, cblas_asum, cblas_nrm2, cblas_iamax, cblas_iamin] = E::cblas;
  for (const int n : {5, 12, 0}) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    auto values = random_values<T>(n, 61);
    if (n > 3) values[3] = make<T>(4, -4);  // a clear maximum, away from position 0
    strided_vector<T> x(n, incx, values), y(n, incy, random_values<T>(n, 67));
    const T want_u = parallel::blas::dot(n, x.data(), incx, y.data(), incy);
    const T want_c = parallel::blas::dotc(n, x.data(), incx, y.data(), incy);
    const auto want_asum = parallel::blas::asum(n, x.data(), incx);
    const auto want_nrm2 = parallel::blas::nrm2(n, x.data(), incx);
    const int want_max = parallel::blas::iamax(n, x.data(), incx);
    const int want_min = parallel::blas::iamin(n, x.data(), incx);
    if (n > 3) {
      EXPECT_EQ(want_max, 3);
    }
    for (int form = 0; form < 3; ++form) {
      SCOPED_TRACE(::testing::Message() << "Fortran name " << form);
      EXPECT_TRUE(same_bits(fortran_dot(E::dotu[form], n, x.data(), y.data()), want_u));
      EXPECT_TRUE(same_bits(fortran_dot(E::dotc[form], n, x.data(), y.data()), want_c));
      EXPECT_TRUE(same_bits(E::asum[form](&n, x.data(), &incx), want_asum));
      EXPECT_TRUE(same_bits(E::nrm2[form](&n, x.data(), &incx), want_nrm2));
      EXPECT_EQ(E::iamax[form](&n, x.data(), &incx), want_max);
      EXPECT_EQ(E::iamin[form](&n, x.data(), &incx), want_min);
    }
    EXPECT_TRUE(same_bits(cblas_dot(cblas_dotu, n, x.data(), y.data()), want_u));
    EXPECT_TRUE(same_bits(cblas_dot(cblas_dotc, n, x.data(), y.data()), want_c));
    EXPECT_TRUE(same_bits(cblas_asum(n, x.data(), incx), want_asum));
    EXPECT_TRUE(same_bits(cblas_nrm2(n, x.data(), incx), want_nrm2));
    EXPECT_EQ(cblas_iamax(n, x.data(), incx), want_max);
    EXPECT_EQ(cblas_iamin(n, x.data(), incx), want_min);
    EXPECT_TRUE(x.guards_intact());
    EXPECT_TRUE(y.guards_intact());
  }
}

TEST(ReductionEntries, WideDotsTakeSbAndTheirArgumentsInOrder) {
  for (const int n : {5, 12}) {
    strided_vector<float> x(n, incx, random_values<float>(n, 71)), y(n, incy, random_values<float>(n, 73));
    const float sb = -0.625f;
    const double want_d = parallel::blas::dsdot<float, double>(n, x.data(), incx, y.data(), incy);
    const float want_s = parallel::blas::sdsdot<float, double>(n, sb, x.data(), incx, y.data(), incy);
    for (auto entry : {&dsdot_, &dsdot, &DSDOT}) EXPECT_TRUE(same_bits(entry(&n, x.data(), &incx, y.data(), &incy), want_d));
    for (auto entry : {&sdsdot_, &sdsdot, &SDSDOT})
      EXPECT_TRUE(same_bits(entry(&n, &sb, x.data(), &incx, y.data(), &incy), want_s));
    EXPECT_TRUE(same_bits(cblas_dsdot(n, x.data(), incx, y.data(), incy), want_d));
    EXPECT_TRUE(same_bits(cblas_sdsdot(n, sb, x.data(), incx, y.data(), incy), want_s));
  }
}

// A first-element maximum is position 0 in both forms: no entry adds 1.
TEST(ReductionEntries, IndexEntriesAreZeroBased) {
  const double x[] = {-9, 1, 3, -3};
  const int n = 4, tail = 3, one = 1;
  EXPECT_EQ(idamax_(&n, x, &one), 0);
  EXPECT_EQ(IDAMAX(&tail, x + 1, &one), 1);
  EXPECT_EQ(cblas_idamax(n, x, 1), 0);
  EXPECT_EQ(cblas_idamin(3, x + 1, 1), 0);
}

TEST(ReductionEntries, ComplexDotsStoreZeroOnQuickReturn) {
  c64 z = sentinel<c64>();
  c32 c = sentinel<c32>();
  cblas_zdotc_sub(0, nullptr, 1, nullptr, 1, &z);
  EXPECT_TRUE(same_bits(z, c64(0, 0)));
  const int n = -1, one = 1;
  cdotu_(&c, &n, nullptr, &one, nullptr, &one);
  EXPECT_TRUE(same_bits(c, c32(0, 0)));
}

}  // namespace
}  // namespace kovra::testing
