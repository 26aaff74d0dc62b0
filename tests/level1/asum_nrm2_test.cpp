// ASUM and NRM2: quick returns, the tile-order fold for several worker counts (bit for bit), closeness
// to the true norm, and NRM2's rules on complex elements (both terms sized by |Re|) and large values.
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

namespace kovra_test {
namespace {

using parallel::blas::asum;
using parallel::blas::nrm2;

template <typename T>
class AsumNrm2 : public ::testing::Test {};
TYPED_TEST_SUITE(AsumNrm2, element_types, element_type_names);

TYPED_TEST(AsumNrm2, QuickReturnsOnCountAndIncrement) {
  using T = TypeParam;
  const std::vector<T> x(20, make<T>(1, -1));
  for (int n : {0, -1, 1, 20})
    for (int inc : {1, 0, -3}) {
      if (n < 1 || inc < 1) {
        EXPECT_TRUE(asum<T>(n, x.data(), inc) == 0 && nrm2<T>(n, x.data(), inc) == 0) << n << " " << inc;
      }
    }
}

// The tiles' partials are folded by the serial form itself, as a real vector. ASUM is checked against
// the plain sum, NRM2 (whose serial form is checked below) against its own serial form on the tiles.
TYPED_TEST(AsumNrm2, MatchTheTileOrderFoldForEveryWorkerCount) {
  using T = TypeParam;
  using R = real_t<T>;
  auto nrm2_of = [](const auto& v) { return parallel::blas::nrm2_serial(int(v.size()), v.data(), 1); };
  auto asum_of = [](const auto& v) { return reference_asum(v); };
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (int n : {1, 7, 8, 9, 17, 20, 33, 1015})
      for (int inc : {1, 2, 5}) {
        SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc);
        strided_vector<T> x(n, inc, random_values<T>(n, 37 + n));
        const auto xl = x.logical();
        auto want = [&](auto reduce) {
          if (n <= serial_cutoff) return reduce(xl);
          const int grain = kernels::get_kernel<T>()->tile_m;
          return reduce(tile_partials(n, grain, workers, [&](tile_bounds t) { return reduce(slice(xl, t)); }));
        };
        EXPECT_TRUE(same_bits(asum(n, x.data(), inc), want(asum_of)));
        EXPECT_TRUE(same_bits(nrm2(n, x.data(), inc), want(nrm2_of)));
        if constexpr (!is_complex_v<T>) {
          long double squares = 0;
          for (T v : xl) squares += static_cast<long double>(v) * v;
          const double norm = std::sqrt(double(squares));
          const double tolerance = 4 * std::sqrt(n) * std::numeric_limits<R>::epsilon() * norm;
          EXPECT_LE(std::fabs(nrm2(n, x.data(), inc) - norm), tolerance);
        }
        EXPECT_TRUE(x.guards_intact());
      }
  }
}

TEST(Nrm2, ExactValuesNoOverflowAndTheComplexTermRule) {
  const double d[] = {3, 4}, big[] = {1e300, 1e300};
  const float f[] = {0, -3, 0, 4};
  EXPECT_EQ(nrm2(2, d, 1), 5.0);
  EXPECT_EQ(nrm2(2, f + 1, 2), 5.0f);
  EXPECT_NEAR(nrm2(2, big, 1), std::sqrt(2.0) * 1e300, 1e285);
  worker_scope scope(2);
  const std::vector<double> zeros(30, 0.0), many_big(30, 1e300);
  EXPECT_TRUE(same_bits(nrm2(30, zeros.data(), 1), 0.0));
  EXPECT_NEAR(nrm2(30, many_big.data(), 1), std::sqrt(30.0) * 1e300, 1e286);
  // Both terms of a complex element take |Re| as their size: (3, 4) is 3*sqrt(2), and (0, 5) before
  // any non-zero term is 0/0.
  using c64 = std::complex<double>;
  const c64 z34(3, 4), z05(0, 5), z30(3, 0), later[] = {z30, z05};
  const std::complex<float> f34(3, 4);
  EXPECT_EQ(nrm2(1, &z34, 1), 3 * std::sqrt(2.0));
  EXPECT_EQ(nrm2(1, &f34, 1), 3 * std::sqrt(2.0f));
  EXPECT_TRUE(std::isnan(nrm2(1, &z05, 1)));
  EXPECT_EQ(nrm2(1, &z30, 1), 3.0);
  EXPECT_EQ(nrm2(2, later, 1), 3.0);
  std::vector<c64> tiled(20, z34);
  EXPECT_NEAR(nrm2(20, tiled.data(), 1), 3 * std::sqrt(40.0), 1e-13);
  tiled[0] = z05;
  EXPECT_TRUE(std::isnan(nrm2(20, tiled.data(), 1)));
}

}  // namespace
}  // namespace kovra_test
