// DOT, DOTU and DOTC, DSDOT and SDSDOT against the reference loops: the quick returns, every kind of
// increment, the serial sizes and tiles cut for several worker counts, bit for bit since the order of
// operations is part of the routines' contract; SDSDOT's sb counted once per tile and once in the fold.
#include <gtest/gtest.h>

#include <vector>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/dsdot.h"
#include "support/element_types.h"
#include "support/reference_reductions.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

using parallel::blas::dot;
using parallel::blas::dotc;

struct increments {
  int x, y;
};

// 1 to 8 run serially; above, tiles of one grain and less (17 on 2 workers), and uneven long tiles.
const int sizes[] = {1, 2, 5, 8, 9, 15, 16, 17, 20, 33, 100, 1015};
const increments strides[] = {{1, 1}, {2, 3}, {-1, 1}, {1, -2}, {-3, -1}, {0, 1}, {1, 0}, {0, -2}};
const int worker_counts[] = {1, 2, 4};

template <typename T>
class Dot : public ::testing::Test {};
TYPED_TEST_SUITE(Dot, element_types, element_type_names);

// What the routine must return for logical vectors x and y on `workers` workers.
template <typename T>
T expected_dot(const std::vector<T>& x, const std::vector<T>& y, bool conjugate, int workers) {
  const int n = static_cast<int>(x.size());
  if (n <= serial_cutoff) return reference_dot(T{}, x, y, conjugate);
  return reference_in_tiles<T>(
      n, kernels::get_kernel<T>()->tile_m, workers,
      [&](tile_bounds t) { return reference_dot(T{}, slice(x, t), slice(y, t), conjugate); },
      [](const std::vector<T>& partials) {
        T sum{};
        for (const T& p : partials) sum = reference_add(sum, p);
        return sum;
      });
}

TYPED_TEST(Dot, QuickReturnIsZeroAndReadsNothing) {
  using T = TypeParam;
  for (int n : {0, -1, -100}) {
    EXPECT_TRUE(same_bits(dot<T>(n, nullptr, 1, nullptr, 1), T{}));
    EXPECT_TRUE(same_bits(dotc<T>(n, nullptr, -1, nullptr, 0), T{}));
  }
}

// Calls each size and increment three times: the same worker count must give the same bits whichever
// worker ran which tile.
TYPED_TEST(Dot, MatchesTheTileOrderReferenceForEverySizeIncrementAndWorkerCount) {
  using T = TypeParam;
  for (int workers : worker_counts) {
    worker_scope scope(workers);
    for (int n : sizes) {
      for (increments inc : strides) {
        SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc.x << " incy=" << inc.y);
        strided_vector<T> x(n, inc.x, random_values<T>(n, 7 + n));
        strided_vector<T> y(n, inc.y, random_values<T>(n, 19 + n));
        // With a zero increment every logical element is the one array element.
        const auto xl = x.logical(), yl = y.logical();
        const T want_u = expected_dot(xl, yl, false, workers), want_c = expected_dot(xl, yl, true, workers);
        for (int run = 0; run < 3; ++run) {
          EXPECT_TRUE(same_bits(dot(n, x.data(), inc.x, y.data(), inc.y), want_u))
              << describe(dot(n, x.data(), inc.x, y.data(), inc.y)) << " vs " << describe(want_u);
          EXPECT_TRUE(same_bits(dotc(n, x.data(), inc.x, y.data(), inc.y), want_c));
        }
        EXPECT_TRUE(x.guards_intact());
        EXPECT_TRUE(y.guards_intact());
      }
    }
  }
}

// One worker makes one tile, whose partial is the serial loop's value.
TYPED_TEST(Dot, OneTileEqualsTheSerialForm) {
  using T = TypeParam;
  worker_scope scope(1);
  for (int n : {9, 17, 1015}) {
    const auto x = random_values<T>(2 * n, 3), y = random_values<T>(n, 5);
    EXPECT_TRUE(same_bits(dot(n, x.data(), 1, y.data(), -1),
                          parallel::blas::dot_serial<T>(n, x.data(), 1, y.data(), -1)));
    EXPECT_TRUE(same_bits(dotc(n, x.data(), 2, y.data(), 1),
                          parallel::blas::dot_serial<T, true>(n, x.data(), 2, y.data(), 1)));
  }
}

TYPED_TEST(Dot, ConjugatesXOnly) {
  using T = TypeParam;
  const std::vector<T> x = {make<T>(1, 2), make<T>(3, -1)}, y = {make<T>(2, 1), make<T>(0, 1)};
  // (1,2)(2,1) + (3,-1)(0,1) = (0,5) + (1,3); conj: (1,-2)(2,1) + (3,1)(0,1) = (4,-3) + (-1,3).
  EXPECT_TRUE(same_bits(dot(2, x.data(), 1, y.data(), 1), is_complex_v<T> ? make<T>(1, 8) : make<T>(2)));
  EXPECT_TRUE(same_bits(dotc(2, x.data(), 1, y.data(), 1), is_complex_v<T> ? make<T>(3, 0) : make<T>(2)));
}

TEST(Sdot, NegativeIncrementWalksXBackwardsAndZeroRepeatsItsFirstElement) {
  const std::vector<float> x = {1, 2, 3}, y = {10, 100, 1000};
  EXPECT_EQ(dot(3, x.data(), -1, y.data(), 1), 3 * 10 + 2 * 100 + 1 * 1000);
  EXPECT_EQ(dot(3, x.data(), 0, y.data(), 1), 1 * 1110);
  EXPECT_EQ(dot(3, x.data(), 1, y.data(), -1), 1 * 1000 + 2 * 100 + 3 * 10);
  worker_scope scope(2);
  std::vector<float> ones(20, 1.0f), ramp;
  for (int i = 0; i < 20; ++i) ramp.push_back(float(i));
  EXPECT_EQ(dot(20, ramp.data(), 0, ones.data(), 1), 0.0f);
  EXPECT_EQ(dot(20, ones.data(), 0, ramp.data(), -1), 190.0f);
}

// DSDOT and SDSDOT on float vectors of one size and increment pair, on `workers` workers.
void check_wide_dots(int n, increments inc, int workers) {
  SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc.x << " incy=" << inc.y);
  strided_vector<float> x(n, inc.x, random_values<float>(n, 23 + n));
  strided_vector<float> y(n, inc.y, random_values<float>(n, 31 + n));
  const auto xl = x.logical(), yl = y.logical();
  const float sb = 0.375f;
  double want_d;
  float want_s;
  if (n <= serial_cutoff) {
    want_d = reference_dot(0.0, xl, yl);
    want_s = static_cast<float>(reference_dot(double(sb), xl, yl));
  } else {
    const int grain = kernels::get_kernel<float>()->tile_m;
    want_d = reference_in_tiles<double>(
        n, grain, workers, [&](tile_bounds t) { return reference_dot(0.0, slice(xl, t), slice(yl, t)); },
        [](const std::vector<double>& p) {
          double sum = 0;
          for (double v : p) sum += v;
          return sum;
        });
    want_s = reference_in_tiles<float>(
        n, grain, workers,
        [&](tile_bounds t) { return static_cast<float>(reference_dot(double(sb), slice(xl, t), slice(yl, t))); },
        [sb](const std::vector<float>& p) {
          float sum = sb;
          for (float v : p) sum += v;
          return sum;
        });
  }
  EXPECT_TRUE(same_bits(parallel::blas::dsdot<float, double>(n, x.data(), inc.x, y.data(), inc.y), want_d));
  EXPECT_TRUE(same_bits(parallel::blas::sdsdot<float, double>(n, sb, x.data(), inc.x, y.data(), inc.y), want_s));
}

TEST(WideDots, MatchTheTileOrderReference) {
  for (int workers : worker_counts) {
    worker_scope scope(workers);
    for (int n : sizes)
      for (increments inc : {increments{1, 1}, increments{-2, 1}, increments{3, -1}}) check_wide_dots(n, inc, workers);
  }
}

TEST(WideDots, QuickReturnsAndDoubleAccumulation) {
  EXPECT_EQ((parallel::blas::dsdot<float, double>(0, nullptr, 1, nullptr, 1)), 0.0);
  EXPECT_EQ((parallel::blas::sdsdot<float, double>(-3, 2.5f, nullptr, 1, nullptr, 1)), 2.5f);
  // A float accumulator would lose the 1 between the large terms.
  const std::vector<float> x = {1e8f, 1.0f, -1e8f}, y = {1.0f, 1.0f, 1.0f};
  EXPECT_EQ((parallel::blas::dsdot<float, double>(3, x.data(), 1, y.data(), 1)), 1.0);
  EXPECT_EQ((parallel::blas::sdsdot<float, double>(3, 0.5f, x.data(), 1, y.data(), 1)), 1.5f);
}

// Every tile starts from sb and the fold starts from sb again: sb*(tiles + 1) plus the products, exact
// here since every value is a small integer or half.
TEST(WideDots, SdsdotCountsSbOncePerTileAndOnceInTheFold) {
  const float sb = 0.5f;
  const std::vector<float> x(40, 1.0f), y(40, 2.0f);
  EXPECT_EQ((parallel::blas::sdsdot<float, double>(8, sb, x.data(), 1, y.data(), 1)), sb + 16.0f);
  const int grain = kernels::get_kernel<float>()->tile_m;
  for (int workers : {2, 4}) {
    worker_scope scope(workers);
    for (int n : {9, 20, 40}) {
      const float tiles = static_cast<float>(reduction_tiles(n, grain, workers).size());
      EXPECT_EQ((parallel::blas::sdsdot<float, double>(n, sb, x.data(), 1, y.data(), 1)), sb * (tiles + 1) + 2.0f * n)
          << workers << " workers, n=" << n;
    }
  }
  if (grain == 8) {
    worker_scope scope(2);
    EXPECT_EQ((parallel::blas::sdsdot<float, double>(9, sb, x.data(), 1, y.data(), 1)), 3 * sb + 18.0f);
  }
}

}  // namespace
}  // namespace kovra::testing
