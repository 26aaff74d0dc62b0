// DOT, DOTC, DSDOT and SDSDOT bit for bit against the tile-order reference: quick returns, increments
// of every sign (zero included), serial sizes and tiles for several worker counts, SDSDOT's sb per tile.
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

namespace kovra_test {
namespace {

using parallel::blas::dot;
using parallel::blas::dotc;
using parallel::blas::dsdot;
using parallel::blas::sdsdot;

struct increments {
  int x, y;
};

// 1 to 8 run serially; above, tiles of one grain and less, and long uneven tiles.
const int sizes[] = {1, 5, 8, 9, 16, 17, 20, 33, 1015};
const increments strides[] = {{1, 1}, {2, 3}, {-1, 1}, {1, -2}, {-3, -1}, {0, 1}, {1, 0}, {0, -2}};

// What a call on `workers` workers returns: one serial range from start (n <= 8), or the tiles' ranges
// from start, each rounded to P, folded in tile order from fold_start.
template <typename P, typename A, typename T>
P expected(const std::vector<T>& x, const std::vector<T>& y, int workers, A start, P fold_start, bool conj = false) {
  const int n = static_cast<int>(x.size());
  if (n <= serial_cutoff) return static_cast<P>(reference_dot(start, x, y, conj));
  P sum = fold_start;
  for (P p : tile_partials(n, kernels::get_kernel<T>()->tile_m, workers, [&](tile_bounds t) {
         return static_cast<P>(reference_dot(start, slice(x, t), slice(y, t), conj));
       }))
    sum = reference_add(sum, p);
  return sum;
}

template <typename T>
class Dot : public ::testing::Test {};
TYPED_TEST_SUITE(Dot, element_types, element_type_names);

TYPED_TEST(Dot, MatchesTheTileOrderReference) {
  using T = TypeParam;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (int n : sizes)
      for (increments inc : strides) {
        SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc.x << " incy=" << inc.y);
        strided_vector<T> x(n, inc.x, random_values<T>(n, 7 + n)), y(n, inc.y, random_values<T>(n, 19 + n));
        const auto xl = x.logical(), yl = y.logical();  // a zero increment repeats one array element
        EXPECT_TRUE(same_bits(dot(n, x.data(), inc.x, y.data(), inc.y), expected(xl, yl, workers, T{}, T{})));
        EXPECT_TRUE(same_bits(dotc(n, x.data(), inc.x, y.data(), inc.y), expected(xl, yl, workers, T{}, T{}, true)));
        if constexpr (std::is_same_v<T, float>) {
          // Serially sb starts the double sum; in tiles it starts every tile (rounded to float) and the fold.
          const float sb = 0.375f;
          EXPECT_TRUE(same_bits(dsdot<float, double>(n, x.data(), inc.x, y.data(), inc.y),
                                expected(xl, yl, workers, 0.0, 0.0)));
          EXPECT_TRUE(same_bits(sdsdot<float, double>(n, sb, x.data(), inc.x, y.data(), inc.y),
                                expected(xl, yl, workers, double(sb), sb)));
        }
        EXPECT_TRUE(x.guards_intact() && y.guards_intact());
      }
  }
}

// One worker makes one tile, whose partial is the serial loop's value.
TYPED_TEST(Dot, OneTileIsTheSerialFormAndQuickReturnsAreZero) {
  using T = TypeParam;
  worker_scope scope(1);
  const auto v = random_values<T>(2 * 1015, 3), w = random_values<T>(1015, 5);
  const T *x = v.data(), *y = w.data();
  for (int n : {9, 1015}) {
    EXPECT_TRUE(same_bits(dot(n, x, 1, y, -1), parallel::blas::dot_serial<T>(n, x, 1, y, -1)));
    EXPECT_TRUE(same_bits(dotc(n, x, 2, y, 1), parallel::blas::dot_serial<T, true>(n, x, 2, y, 1)));
  }
  for (int n : {0, -1}) {
    EXPECT_TRUE(same_bits(dot<T>(n, nullptr, 1, nullptr, 1), T{}));
    EXPECT_TRUE(same_bits(dotc<T>(n, nullptr, -1, nullptr, 0), T{}));
  }
  // (1,2)(2,1) + (3,-1)(0,1) = (1,8); conjugating x: (4,-3) + (-1,3) = (3,0).
  const std::vector<T> a = {make<T>(1, 2), make<T>(3, -1)}, b = {make<T>(2, 1), make<T>(0, 1)};
  EXPECT_TRUE(same_bits(dot(2, a.data(), 1, b.data(), 1), is_complex_v<T> ? make<T>(1, 8) : make<T>(2)));
  EXPECT_TRUE(same_bits(dotc(2, a.data(), 1, b.data(), 1), is_complex_v<T> ? make<T>(3, 0) : make<T>(2)));
}

// With every product 2, a call returns sb*(tiles + 1) + 2n in tiles but sb + 2n serially.
TEST(WideDots, QuickReturnsAndSbOncePerTileAndOnceInTheFold) {
  EXPECT_EQ((dsdot<float, double>(0, nullptr, 1, nullptr, 1)), 0.0);
  EXPECT_EQ((sdsdot<float, double>(-3, 2.5f, nullptr, 1, nullptr, 1)), 2.5f);
  const std::vector<float> ones(40, 1.0f), twos(40, 2.0f);
  const float sb = 0.5f;
  const int grain = kernels::get_kernel<float>()->tile_m;
  for (int workers : {2, 4}) {
    worker_scope scope(workers);
    EXPECT_EQ((sdsdot<float, double>(8, sb, ones.data(), 1, twos.data(), 1)), sb + 16.0f);
    for (int n : {9, 40}) {
      const float tiles = static_cast<float>(reduction_tiles(n, grain, workers).size());
      EXPECT_EQ((sdsdot<float, double>(n, sb, ones.data(), 1, twos.data(), 1)), sb * (tiles + 1) + 2.0f * n)
          << workers << " workers, n=" << n;
    }
  }
}

}  // namespace
}  // namespace kovra_test
