// ASUM and NRM2: quick returns on counts and increments, the tile-order fold for several worker
// counts (bit for bit, as the arithmetic is prescribed), closeness to the true norm, and NRM2's rules
// on complex elements (both terms sized by the real part) and on large values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/nrm2.h"
#include "support/element_types.h"
#include "support/reference_reductions.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

using parallel::blas::asum;
using parallel::blas::nrm2;

template <typename T>
class AsumNrm2 : public ::testing::Test {};
TYPED_TEST_SUITE(AsumNrm2, element_types, element_type_names);

const int sizes[] = {1, 2, 7, 8, 9, 16, 17, 20, 33, 100, 1015};

// The real result of a reduction whose tiles' partials are folded by the same algorithm.
template <typename T, typename Reduce>
real_t<T> expected_by_tiles(const std::vector<T>& x, int workers, Reduce reduce) {
  const int n = static_cast<int>(x.size());
  if (n <= serial_cutoff) return reduce(x);
  return reference_in_tiles<real_t<T>>(
      n, kernels::get_kernel<T>()->tile_m, workers, [&](tile_bounds t) { return reduce(slice(x, t)); },
      [&](const std::vector<real_t<T>>& partials) { return reduce(partials); });
}

TYPED_TEST(AsumNrm2, QuickReturnsOnCountAndIncrement) {
  using T = TypeParam;
  const std::vector<T> x(20, make<T>(1, -1));
  for (int n : {0, -1})
    for (int inc : {1, 0, -1}) {
      EXPECT_EQ(asum<T>(n, x.data(), inc), 0);
      EXPECT_EQ(nrm2<T>(n, x.data(), inc), 0);
    }
  for (int n : {1, 5, 20})
    for (int inc : {0, -1, -3}) {
      EXPECT_EQ(asum<T>(n, x.data(), inc), 0);
      EXPECT_EQ(nrm2<T>(n, x.data(), inc), 0);
    }
}

TYPED_TEST(AsumNrm2, MatchTheTileOrderReferenceForEverySizeIncrementAndWorkerCount) {
  using T = TypeParam;
  using R = real_t<T>;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (int n : sizes)
      for (int inc : {1, 2, 5}) {
        SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc);
        strided_vector<T> x(n, inc, random_values<T>(n, 37 + n));
        const auto xl = x.logical();
        EXPECT_TRUE(same_bits(asum(n, x.data(), inc), expected_by_tiles(xl, workers, [](const auto& v) {
                                return reference_asum(v);
                              })));
        EXPECT_TRUE(same_bits(nrm2(n, x.data(), inc), expected_by_tiles(xl, workers, [](const auto& v) {
                                return reference_nrm2(v);
                              })));
        // For real elements the scaled sum is the Euclidean norm up to rounding.
        if constexpr (!is_complex_v<T>) {
          long double squares = 0;
          for (T v : xl) squares += static_cast<long double>(v) * v;
          const double tolerance = 4 * std::sqrt(double(n)) * std::numeric_limits<R>::epsilon() * std::sqrt(double(squares));
          EXPECT_FALSE(!(std::fabs(nrm2(n, x.data(), inc) - std::sqrt(double(squares))) <= tolerance));
        }
        EXPECT_TRUE(x.guards_intact());
      }
  }
}

TYPED_TEST(AsumNrm2, AsumAddsTheAbsolutePartsOfEachElement) {
  using T = TypeParam;
  const std::vector<T> x = {make<T>(-1.5, 2), make<T>(3, -0.25), make<T>(-0.0, -4)};
  const real_t<T> want = is_complex_v<T> ? 3.5 + 3.25 + 4 : 1.5 + 3 + 0;
  EXPECT_EQ(asum(3, x.data(), 1), want);
  std::vector<T> many;
  for (int i = 0; i < 120; ++i) many.push_back(x[i % 3]);
  worker_scope scope(4);
  EXPECT_EQ(asum(40, many.data(), 3), 40 * (is_complex_v<T> ? 3.5 : 1.5));
}

TEST(Nrm2, RealNormsAreExactWhereTheyShouldBeAndDoNotOverflow) {
  const std::vector<double> d = {3, 4};
  EXPECT_EQ(nrm2(2, d.data(), 1), 5.0);
  const std::vector<float> f = {0, -3, 0, 4};
  EXPECT_EQ(nrm2(2, f.data() + 1, 2), 5.0f);
  const std::vector<double> big = {1e300, 1e300};
  EXPECT_TRUE(std::isfinite(nrm2(2, big.data(), 1)));
  EXPECT_NEAR(nrm2(2, big.data(), 1), std::sqrt(2.0) * 1e300, 1e285);
  std::vector<double> zeros(30, 0.0);
  worker_scope scope(2);
  EXPECT_TRUE(same_bits(nrm2(30, zeros.data(), 1), 0.0));
  std::vector<double> many_big(30, 1e300);
  EXPECT_NEAR(nrm2(30, many_big.data(), 1), std::sqrt(30.0) * 1e300, 1e286);
}

// Both terms of a complex element take |Re| as their size.
TEST(Nrm2, ComplexTermsAreSizedByTheRealPart) {
  using c64 = std::complex<double>;
  using c32 = std::complex<float>;
  const c64 z34(3, 4), z05(0, 5), z30(3, 0);
  EXPECT_EQ(nrm2(1, &z34, 1), 3 * std::sqrt(2.0));
  EXPECT_TRUE(std::isnan(nrm2(1, &z05, 1)));
  EXPECT_EQ(nrm2(1, &z30, 1), 3.0);
  const c32 f34(3, 4);
  EXPECT_EQ(nrm2(1, &f34, 1), 3 * std::sqrt(2.0f));
  // (0, 5) after a non-zero term adds a zero-sized term and changes nothing.
  const std::vector<c64> later = {z30, z05};
  EXPECT_EQ(nrm2(2, later.data(), 1), 3.0);
  worker_scope scope(2);
  std::vector<c64> tiled(20, z34);
  EXPECT_NEAR(nrm2(20, tiled.data(), 1), 3 * std::sqrt(40.0), 1e-13);
  tiled[0] = z05;
  EXPECT_TRUE(std::isnan(nrm2(20, tiled.data(), 1)));
}

}  // namespace
}  // namespace kovra::testing
