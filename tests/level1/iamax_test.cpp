// IAMAX and IAMIN: the 0-based position, the measure |Re| + |Im|, first-of-equals and the NaN rules,
// the block scan against the plain loop on vectors built to stress it (ties across blocks, NaN runs,
// infinities, rising values), and the two-step fold of the tiles' winners for several worker counts.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

#include "kernels/get_kernel.h"
#include "parallel/blas/level1/iamax.h"
#include "support/element_types.h"
#include "support/reference_reductions.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

using parallel::blas::iamax;
using parallel::blas::iamin;
using parallel::blas::index_scan;
using parallel::blas::largest_first;
using parallel::blas::smallest_first;

template <typename T>
class IndexSearch : public ::testing::Test {};
TYPED_TEST_SUITE(IndexSearch, element_types, element_type_names);

// Vectors whose best measure repeats, hides behind NaNs or infinities, or rises steadily.
enum class pattern { few_values, rising, mostly_nan, nan_first, with_infinity };

template <typename T>
std::vector<T> make_pattern(pattern p, int n, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_int_distribution<int> small(-3, 3);
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<T> v;
  for (int i = 0; i < n; ++i) {
    const int a = small(engine), b = small(engine);
    switch (p) {
      case pattern::few_values: v.push_back(make<T>(a, b)); break;
      case pattern::rising: v.push_back(make<T>(i % 2 ? -i : i, a)); break;
      case pattern::mostly_nan: v.push_back(a == 3 ? make<T>(a, b) : nan_element<T>()); break;
      case pattern::nan_first: v.push_back(i == 0 ? nan_element<T>() : make<T>(a, b)); break;
      case pattern::with_infinity: v.push_back(a == -3 ? make<T>(b > 0 ? inf : -inf, 1) : make<T>(a, b)); break;
    }
  }
  return v;
}

const pattern patterns[] = {pattern::few_values, pattern::rising, pattern::mostly_nan, pattern::nan_first,
                            pattern::with_infinity};

TYPED_TEST(IndexSearch, QuickReturnsGivePositionZero) {
  using T = TypeParam;
  const std::vector<T> x = {make<T>(1), make<T>(5), make<T>(9)};
  for (auto search : {&iamax<T>, &iamin<T>}) {
    EXPECT_EQ(search(0, x.data(), 1), 0);
    EXPECT_EQ(search(-2, x.data(), 1), 0);
    EXPECT_EQ(search(1, x.data() + 2, 1), 0);
    EXPECT_EQ(search(3, x.data(), 0), 0);
    EXPECT_EQ(search(3, x.data(), -1), 0);
  }
  EXPECT_EQ(iamax<T>(3, x.data(), 1), 2);
}

TYPED_TEST(IndexSearch, FirstOfEqualMeasuresAndTheSumOfAbsoluteParts) {
  using T = TypeParam;
  const std::vector<T> x = {make<T>(1), make<T>(3), make<T>(-3)};
  EXPECT_EQ(iamax(3, x.data(), 1), 1);
  EXPECT_EQ(iamin(3, x.data(), 1), 0);
  if constexpr (is_complex_v<T>) {
    // (3, 4) measures 7 and beats (5, 0), although its modulus is the same.
    const std::vector<T> z = {make<T>(5, 0), make<T>(3, -4), make<T>(-4, 3)};
    EXPECT_EQ(iamax(3, z.data(), 1), 1);
    EXPECT_EQ(iamin(3, z.data(), 1), 0);
  }
}

TYPED_TEST(IndexSearch, NanInFirstPlaceStaysAndALaterNanNeverWins) {
  using T = TypeParam;
  const T nan = nan_element<T>();
  const std::vector<T> first = {nan, make<T>(2), make<T>(-7)}, later = {make<T>(1), nan, make<T>(0.5)};
  EXPECT_EQ(iamax(3, first.data(), 1), 0);
  EXPECT_EQ(iamin(3, first.data(), 1), 0);
  EXPECT_EQ(iamax(3, later.data(), 1), 0);
  EXPECT_EQ(iamin(3, later.data(), 1), 2);
}

// The block scan must give the plain loop's position on every pattern, across block boundaries.
TYPED_TEST(IndexSearch, BlockScanGivesThePlainLoopsPosition) {
  using T = TypeParam;
  for (pattern p : patterns)
    for (int n : {2, 3, 16, 17, 33, 511, 512, 513, 514, 1025, 1537, 3000})
      for (int inc : {1, 3}) {
        SCOPED_TRACE(::testing::Message() << "pattern " << int(p) << " n=" << n << " incx=" << inc);
        strided_vector<T> x(n, inc, make_pattern<T>(p, n, 100 + n));
        EXPECT_EQ(index_scan<largest_first>(n, x.data(), inc), reference_index(x.logical(), true));
        EXPECT_EQ(index_scan<smallest_first>(n, x.data(), inc), reference_index(x.logical(), false));
      }
  // The best measure in every block, and equal: only the first may win.
  std::vector<T> peaks(2000, make<T>(1));
  for (int i = 700; i < 2000; i += 300) peaks[i] = make<T>(-2);
  EXPECT_EQ(index_scan<largest_first>(2000, peaks.data(), 1), 700);
  peaks[1999] = make<T>(0);
  EXPECT_EQ(index_scan<smallest_first>(2000, peaks.data(), 1), 1999);
}

// The tiles' winners folded in two steps: each tile scans its own slice, the winners are scanned
// again in tile order. Without NaNs this is the serial scan's position.
template <typename T>
int expected_search(const std::vector<T>& x, bool largest, int workers) {
  const int n = static_cast<int>(x.size());
  if (n <= serial_cutoff) return reference_index(x, largest);
  std::vector<int> winners;
  std::vector<T> values;
  for (tile_bounds t : reduction_tiles(n, kernels::get_kernel<T>()->tile_m, workers)) {
    winners.push_back(t.begin + reference_index(slice(x, t), largest));
    values.push_back(x[winners.back()]);
  }
  return winners[reference_index(values, largest)];
}

TYPED_TEST(IndexSearch, TilesFoldToTheLowestPositionForEveryWorkerCount) {
  using T = TypeParam;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (pattern p : patterns)
      for (int n : {8, 9, 17, 20, 33, 100, 1015, 3000})
        for (int inc : {1, 2}) {
          SCOPED_TRACE(::testing::Message() << workers << " workers, pattern " << int(p) << " n=" << n << " incx=" << inc);
          strided_vector<T> x(n, inc, make_pattern<T>(p, n, 200 + n));
          const auto xl = x.logical();
          EXPECT_EQ(iamax(n, x.data(), inc), expected_search(xl, true, workers));
          EXPECT_EQ(iamin(n, x.data(), inc), expected_search(xl, false, workers));
          if (p == pattern::few_values || p == pattern::rising) {
            EXPECT_EQ(iamax(n, x.data(), inc), reference_index(xl, true));
            EXPECT_EQ(iamin(n, x.data(), inc), reference_index(xl, false));
          }
        }
  }
}

TYPED_TEST(IndexSearch, EqualElementsAndTiesAcrossTiles) {
  using T = TypeParam;
  worker_scope scope(4);
  const std::vector<T> equal(20, make<T>(-2, 1));
  EXPECT_EQ(iamax(20, equal.data(), 1), 0);
  EXPECT_EQ(iamin(20, equal.data(), 1), 0);
  std::vector<T> x(100, make<T>(1));
  for (int i : {93, 70, 31}) x[i] = make<T>(-5);
  x[50] = make<T>(0.5);
  x[99] = make<T>(0.5);
  EXPECT_EQ(iamax(100, x.data(), 1), 31);
  EXPECT_EQ(iamin(100, x.data(), 1), 50);
  // A NaN that opens a later tile is that tile's winner and is never chosen in the fold.
  const int grain = kernels::get_kernel<T>()->tile_m;
  const int second = reduction_tiles(100, grain, 4).at(1).begin;
  std::vector<T> y(100, make<T>(1));
  y[second] = nan_element<T>();
  y[second + 1] = make<T>(9);
  EXPECT_EQ(iamax(100, y.data(), 1), 0);
  y[0] = make<T>(0.5);
  EXPECT_EQ(iamax(100, y.data(), 1), 1);
}

}  // namespace
}  // namespace kovra::testing
