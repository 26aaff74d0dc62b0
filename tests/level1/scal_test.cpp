// SCAL in its six forms: the double pass below the cut-off, the quick return on non-positive
// increments, zero scales over non-finite values, the tiled path, and the launch on a stopped runtime.
#include <gtest/gtest.h>

#include <complex>
#include <limits>

#include <vesk/exceptions.h>

#include <vesk/runtime.h>

#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/scal.h"
#include "parallel/blas/level1/swap.h"
#include "support/reference_level1.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra_test {
namespace {

using parallel::blas::scal;

// Element type T scaled by A: the four same-type forms and the real scales on complex vectors.
template <typename T, typename A>
struct scal_form {
  using element = T;
  using scale = A;
};
using scal_forms = ::testing::Types<scal_form<float, float>, scal_form<double, double>,
                                    scal_form<std::complex<float>, std::complex<float>>,
                                    scal_form<std::complex<double>, std::complex<double>>,
                                    scal_form<std::complex<float>, float>, scal_form<std::complex<double>, double>>;
struct scal_form_names {
  template <typename F>
  static std::string GetName(int) {
    using T = typename F::element;
    const std::string element = std::is_same_v<real_t<T>, float> ? "float" : "double";
    if constexpr (!is_complex_v<T>) return element;
    else if constexpr (is_complex_v<typename F::scale>) return "complex_" + element;
    else return "complex_" + element + "_by_real";
  }
};

template <typename F>
class Scal : public ::testing::Test {};
TYPED_TEST_SUITE(Scal, scal_forms, scal_form_names);

// One call on fresh data; `passes` is how often x is expected to be scaled.
template <typename T, typename A>
void check_scal(int n, A alpha, int incx, int passes) {
  SCOPED_TRACE(::testing::Message() << "n=" << n << " incx=" << incx);
  strided_vector<T> x(n, incx, random_values<T>(n, 7 + n));
  auto expected = x.logical();
  for (int pass = 0; pass < passes; ++pass) expected = reference_scal(alpha, expected);
  scal(n, alpha, x.data(), incx);
  EXPECT_TRUE(all_same_bits(x.logical(), expected));
  EXPECT_TRUE(x.guards_intact());
}

TYPED_TEST(Scal, VectorsUpToEightElementsAreScaledTwice) {
  using T = typename TypeParam::element;
  using A = typename TypeParam::scale;
  for (int n : {1, 2, 7, 8, 9, 10}) {
    strided_vector<T> x(n, 1, std::vector<T>(n, make<T>(1)));
    scal(n, make<A>(2), x.data(), 1);
    const T expected = make<T>(n <= 8 ? 4 : 2);
    for (const T& v : x.logical()) EXPECT_TRUE(same_bits(v, expected)) << "n=" << n << ": " << describe(v);
  }
  for (int n : {1, 3, 8, 9, 17})
    for (int incx : {1, 2, 3}) check_scal<T>(n, make<A>(0.5, 1.5), incx, n <= 8 ? 2 : 1);
}

TYPED_TEST(Scal, NonPositiveIncrementOrCountDoesNothing) {
  using T = typename TypeParam::element;
  using A = typename TypeParam::scale;
  for (int n : {5, 100}) {
    for (int incx : {0, -1, -3}) {
      strided_vector<T> x(n, incx, random_values<T>(n, 5));
      const auto before = x.logical();
      scal(n, make<A>(3), x.data(), incx);
      EXPECT_TRUE(all_same_bits(x.logical(), before));
      EXPECT_TRUE(x.guards_intact());
    }
  }
  for (int n : {0, -4}) scal<T>(n, make<A>(3), nullptr, 1);
}

// A zero scale stores zeros without reading x; with incx = 2 the gaps between elements are guards, so
// the elements in between must come out untouched.
TYPED_TEST(Scal, ZeroScaleClearsNanAndInfinity) {
  using T = typename TypeParam::element;
  using A = typename TypeParam::scale;
  const double inf = std::numeric_limits<double>::infinity();
  for (A alpha : {make<A>(0), make<A>(-0.0), make<A>(0, -0.0)}) {
    for (int n : {3, 8, 9, 100}) {
      for (int incx : {1, 2}) {
        std::vector<T> values(n, nan_element<T>());
        for (int i = 0; i < n; i += 2) values[i] = make<T>(-inf, inf);
        strided_vector<T> x(n, incx, values);
        scal(n, alpha, x.data(), incx);
        for (const T& v : x.logical()) EXPECT_TRUE(same_bits(v, T{})) << "n=" << n << ": " << describe(v);
        EXPECT_TRUE(x.guards_intact());
      }
    }
  }
}

TYPED_TEST(Scal, LongVectorsAreScaledOnceForAnyWorkerCount) {
  using T = typename TypeParam::element;
  using A = typename TypeParam::scale;
  for (int n : {9, 17, 100, 1015})
    for (int incx : {1, 2, 3}) check_scal<T>(n, make<A>(-1.25, 0.5), incx, 1);
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers");
    worker_scope scope(workers);
    for (int n : {5, 9, 33, 1015}) check_scal<T>(n, make<A>(0.75, -2), 2, n <= 8 ? 2 : 1);
  }
}

// A real scale acts as the complex (alpha, 0) in a full complex product: 2 * (inf, 1) is
// (2*inf - 0*1, 2*1 + 0*inf) = (inf, NaN), on the kernel path and on the strided loop alike.
template <typename C>
void check_real_scale_spreads_infinity() {
  using R = real_t<C>;
  for (int incx : {1, 2}) {
    const int n = 9;
    strided_vector<C> x(n, incx, std::vector<C>(n, C(std::numeric_limits<R>::infinity(), 1)));
    scal(n, R(2), x.data(), incx);
    for (const C& v : x.logical()) {
      EXPECT_EQ(v.real(), std::numeric_limits<R>::infinity()) << "incx=" << incx;
      EXPECT_TRUE(std::isnan(v.imag())) << "incx=" << incx;
    }
  }
}

TEST(ScalRealScale, NonFinitePartSpreadsToTheOther) {
  check_real_scale_spreads_infinity<std::complex<float>>();
  check_real_scale_spreads_infinity<std::complex<double>>();
}

// Without a runtime the serial paths still work; SCAL alone launches for a small vector, and throws
// after its first pass.
TEST(StoppedRuntime, OnlyScalNeedsItBelowTheCutoff) {
  worker_scope restart_afterwards(1);
  vesk_stop();

  std::vector<float> x(4, 1.0f), y(8, 1.0f);
  EXPECT_THROW(scal(4, 2.0f, x.data(), 1), vesk::api_exception);
  EXPECT_EQ(x, std::vector<float>(4, 2.0f));
  std::vector<float> long_x(20, 1.0f);
  EXPECT_THROW(scal(20, 2.0f, long_x.data(), 1), vesk::api_exception);
  EXPECT_EQ(long_x, std::vector<float>(20, 1.0f));

  parallel::blas::axpy(4, 1.0f, x.data(), 1, y.data(), 2);             // y = 3 1 3 1 3 1 3 1
  parallel::blas::axpby(4, 1.0f, x.data(), 1, 2.0f, y.data(), 1);      // y = 8 4 8 4 3 1 3 1
  parallel::blas::swap(4, x.data(), 1, y.data(), -2);                  // x = 3 3 8 8, y = 2 4 2 4 2 1 2 1
  parallel::blas::copy(4, x.data(), -1, y.data(), 2);                  // y = 8 4 8 4 3 1 3 1
  EXPECT_EQ(x, (std::vector<float>{3, 3, 8, 8}));
  EXPECT_EQ(y, (std::vector<float>{8, 4, 8, 4, 3, 1, 3, 1}));
}

}  // namespace
}  // namespace kovra_test
