// IAMAX and IAMIN: the 0-based position, the measure |Re| + |Im|, first of equals, the NaN rules, the
// block scan and the two-step fold of the tiles' winners against the plain loop on vectors built to
// stress them (ties across blocks and tiles, NaN runs, infinities, rising values).
#include <gtest/gtest.h>

#include <algorithm>
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

namespace kovra_test {
namespace {

using parallel::blas::iamax;
using parallel::blas::iamin;

template <typename T>
class IndexSearch : public ::testing::Test {};
TYPED_TEST_SUITE(IndexSearch, element_types, element_type_names);

// Pattern 0: few distinct values (ties everywhere); 1: rising values; 2: mostly NaN; 3: a NaN first;
// 4: infinities among the values.
template <typename T>
std::vector<T> make_pattern(int p, int n, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_int_distribution<int> small(-3, 3);
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<T> v;
  for (int i = 0; i < n; ++i) {
    const int a = small(engine), b = small(engine);
    const bool other = p == 1 || (p == 2 && a != 3) || (p == 3 && i == 0) || (p == 4 && a == -3);
    v.push_back(!other ? make<T>(a, b)
                : p == 1 ? make<T>(i % 2 ? -i : i, a)
                : p == 4 ? make<T>(b > 0 ? inf : -inf, 1)
                         : nan_element<T>());
  }
  return v;
}

// Ties within and across tiles go to the first; a NaN opening a later tile is never chosen.
TYPED_TEST(IndexSearch, ExactPositions) {
  using T = TypeParam;
  worker_scope scope(4);
  const T nan = nan_element<T>();
  const std::vector<T> x = {make<T>(1), make<T>(3), make<T>(-3)};
  for (auto search : {&iamax<T>, &iamin<T>})
    for (int n : {0, -2, 1, 3})
      for (int inc : {1, 0, -1}) {
        if (n < 2 || inc < 1) { EXPECT_EQ(search(n, x.data(), inc), 0); }
      }
  EXPECT_EQ(iamax(3, x.data(), 1), 1);  // the first of equal measures
  EXPECT_EQ(iamin(3, x.data(), 1), 0);
  const std::vector<T> first = {nan, make<T>(2), make<T>(-7)}, later = {make<T>(1), nan, make<T>(0.5)};
  EXPECT_EQ(iamax(3, first.data(), 1), 0);  // a NaN in first place stays, a later one never wins
  EXPECT_EQ(iamin(3, first.data(), 1), 0);
  EXPECT_EQ(iamax(3, later.data(), 1), 0);
  EXPECT_EQ(iamin(3, later.data(), 1), 2);
  if constexpr (is_complex_v<T>) {
    // (3, 4) measures 7 and beats (5, 0), although its modulus is the same.
    const std::vector<T> z = {make<T>(5, 0), make<T>(3, -4), make<T>(-4, 3)};
    EXPECT_EQ(iamax(3, z.data(), 1), 1);
    EXPECT_EQ(iamin(3, z.data(), 1), 0);
  }
  const std::vector<T> equal(20, make<T>(-2, 1));
  EXPECT_EQ(iamax(20, equal.data(), 1), 0);
  EXPECT_EQ(iamin(20, equal.data(), 1), 0);
  std::vector<T> y(100, make<T>(1));
  for (int i : {93, 70, 31}) y[i] = make<T>(-5);
  y[50] = y[99] = make<T>(0.5);
  EXPECT_EQ(iamax(100, y.data(), 1), 31);
  EXPECT_EQ(iamin(100, y.data(), 1), 50);
  std::fill(y.begin(), y.end(), make<T>(1));
  const int second = reduction_tiles(100, kernels::get_kernel<T>()->tile_m, 4).at(1).begin;
  y[second] = nan;
  y[second + 1] = make<T>(9);
  EXPECT_EQ(iamax(100, y.data(), 1), 0);
  y[0] = make<T>(0.5);
  EXPECT_EQ(iamax(100, y.data(), 1), 1);
}

// Each tile scans its slice in blocks of 512; the tiles' winners are scanned again in tile order, so
// a NaN opening a later tile is never chosen. One worker is the block scan over the whole vector.
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

TYPED_TEST(IndexSearch, BlockScanAndTileFoldMatchThePlainLoop) {
  using T = TypeParam;
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (int p = 0; p < 5; ++p)
      for (int n : {2, 8, 9, 17, 33, 100, 511, 512, 513, 1025, 1537, 3000})
        for (int inc : {1, 3}) {
          SCOPED_TRACE(::testing::Message() << workers << " workers, pattern " << p << " n=" << n << " incx=" << inc);
          strided_vector<T> x(n, inc, make_pattern<T>(p, n, 100 + n));
          EXPECT_EQ(iamax(n, x.data(), inc), expected_search(x.logical(), true, workers));
          EXPECT_EQ(iamin(n, x.data(), inc), expected_search(x.logical(), false, workers));
        }
  }
  // The best measure in every block, and equal: only the first may win.
  std::vector<T> peaks(2000, make<T>(1));
  for (int i = 700; i < 2000; i += 300) peaks[i] = make<T>(-2);
  peaks[1999] = make<T>(0);
  worker_scope scope(1);
  EXPECT_EQ(iamax(2000, peaks.data(), 1), 700);
  EXPECT_EQ(iamin(2000, peaks.data(), 1), 1999);
}

}  // namespace
}  // namespace kovra_test
