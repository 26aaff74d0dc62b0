// The exported reduction entries, one Fortran name and the cblas_ name of each routine (the other names
// are aliases): arguments in order, the complex dots' result stored through the pointer (first in the
// Fortran form, last in the cblas_..._sub form, zero on a quick return), the same 0-based position.
#include <gtest/gtest.h>

#include <complex>
#include <tuple>

#include <kovra/kovra.h>

#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/dsdot.h"
#include "parallel/blas/level1/iamax.h"
#include "parallel/blas/level1/nrm2.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

// DOTU, DOTC (DOT again for a real type), ASUM, NRM2, IAMAX, IAMIN: Fortran names, then cblas_ names.
template <typename T>
struct entries;
template <>
struct entries<float> {
  static constexpr auto fortran = std::make_tuple(&sdot_, &sdot_, &sasum_, &snrm2_, &isamax_, &isamin_);
  static constexpr auto cblas =
      std::make_tuple(&cblas_sdot, &cblas_sdot, &cblas_sasum, &cblas_snrm2, &cblas_isamax, &cblas_isamin);
};
template <>
struct entries<double> {
  static constexpr auto fortran = std::make_tuple(&ddot_, &ddot_, &dasum_, &dnrm2_, &idamax_, &idamin_);
  static constexpr auto cblas =
      std::make_tuple(&cblas_ddot, &cblas_ddot, &cblas_dasum, &cblas_dnrm2, &cblas_idamax, &cblas_idamin);
};
template <>
struct entries<c32> {
  static constexpr auto fortran = std::make_tuple(&cdotu_, &cdotc_, &scasum_, &scnrm2_, &icamax_, &icamin_);
  static constexpr auto cblas = std::make_tuple(&cblas_cdotu_sub, &cblas_cdotc_sub, &cblas_scasum, &cblas_scnrm2,
                                                &cblas_icamax, &cblas_icamin);
};
template <>
struct entries<c64> {
  static constexpr auto fortran = std::make_tuple(&zdotu_, &zdotc_, &dzasum_, &dznrm2_, &izamax_, &izamin_);
  static constexpr auto cblas = std::make_tuple(&cblas_zdotu_sub, &cblas_zdotc_sub, &cblas_dzasum, &cblas_dznrm2,
                                                &cblas_izamax, &cblas_izamin);
};

// Unequal increments of either sign, so that swapped arguments change the result.
constexpr int incx = 2, incy = -3;

// A complex dot's result is stored through the pointer, which starts as the sentinel so a missing store
// shows.
template <typename T, typename Call>
T stored(Call call) {
  T result = sentinel<T>();
  call(&result);
  return result;
}

template <typename T>
class ReductionEntries : public ::testing::Test {};
TYPED_TEST_SUITE(ReductionEntries, element_types, element_type_names);

TYPED_TEST(ReductionEntries, EachEntryMapsItsArgumentsAndResult) {
  using T = TypeParam;
  const auto [f_dotu, f_dotc, f_asum, f_nrm2, f_iamax, f_iamin] = entries<T>::fortran;
  const auto [c_dotu, c_dotc, c_asum, c_nrm2, c_iamax, c_iamin] = entries<T>::cblas;
  for (const int n : {12, 0}) {
    SCOPED_TRACE(::testing::Message() << "n=" << n);
    auto values = random_values<T>(n, 61);
    if (n > 0) values[3] = make<T>(4, -4);  // a clear maximum away from position 0
    strided_vector<T> x(n, incx, values), y(n, incy, random_values<T>(n, 67));
    const T *xp = x.data(), *yp = y.data();
    const T want_u = parallel::blas::dot(n, xp, incx, yp, incy), want_c = parallel::blas::dotc(n, xp, incx, yp, incy);
    const auto want_asum = parallel::blas::asum(n, xp, incx), want_nrm2 = parallel::blas::nrm2(n, xp, incx);
    const int want_max = n > 0 ? 3 : 0, want_min = parallel::blas::iamin(n, xp, incx);
    EXPECT_EQ(parallel::blas::iamax(n, xp, incx), want_max);
    if constexpr (is_complex_v<T>) {
      EXPECT_TRUE(same_bits(stored<T>([&, e = f_dotu](T* r) { e(r, &n, xp, &incx, yp, &incy); }), want_u));
      EXPECT_TRUE(same_bits(stored<T>([&, e = f_dotc](T* r) { e(r, &n, xp, &incx, yp, &incy); }), want_c));
      EXPECT_TRUE(same_bits(stored<T>([&, e = c_dotu](T* r) { e(n, xp, incx, yp, incy, r); }), want_u));
      EXPECT_TRUE(same_bits(stored<T>([&, e = c_dotc](T* r) { e(n, xp, incx, yp, incy, r); }), want_c));
    } else {
      EXPECT_TRUE(same_bits(f_dotu(&n, xp, &incx, yp, &incy), want_u));
      EXPECT_TRUE(same_bits(c_dotu(n, xp, incx, yp, incy), want_u));
    }
    if constexpr (std::is_same_v<T, float>) {  // DSDOT and SDSDOT, sb between n and x in both forms
      const float sb = -0.625f;
      const double want_d = parallel::blas::dsdot<float, double>(n, xp, incx, yp, incy);
      const float want_s = parallel::blas::sdsdot<float, double>(n, sb, xp, incx, yp, incy);
      EXPECT_TRUE(same_bits(dsdot_(&n, xp, &incx, yp, &incy), want_d));
      EXPECT_TRUE(same_bits(cblas_dsdot(n, xp, incx, yp, incy), want_d));
      EXPECT_TRUE(same_bits(sdsdot_(&n, &sb, xp, &incx, yp, &incy), want_s) &&
                  same_bits(cblas_sdsdot(n, sb, xp, incx, yp, incy), want_s));
    }
    EXPECT_TRUE(same_bits(f_asum(&n, xp, &incx), want_asum) && same_bits(c_asum(n, xp, incx), want_asum));
    EXPECT_TRUE(same_bits(f_nrm2(&n, xp, &incx), want_nrm2) && same_bits(c_nrm2(n, xp, incx), want_nrm2));
    EXPECT_TRUE(f_iamax(&n, xp, &incx) == want_max && c_iamax(n, xp, incx) == want_max);
    EXPECT_TRUE(f_iamin(&n, xp, &incx) == want_min && c_iamin(n, xp, incx) == want_min);
    EXPECT_TRUE(x.guards_intact() && y.guards_intact());
  }
}

}  // namespace
}  // namespace kovra_test
