// COPY, SWAP and AXPBY against their definitions: every size class and increment, quick returns,
// the AXPBY scalar cases with NaN where it must and must not survive, guard zones, and tiles cut for
// several worker counts. None of them uses a kernel operation, so every result is compared bit for bit.
#include <gtest/gtest.h>

#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/swap.h"
#include "support/element_types.h"
#include "support/reference_level1.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra_test {
namespace {

template <typename T>
class VectorUpdates : public ::testing::Test {};
TYPED_TEST_SUITE(VectorUpdates, element_types, element_type_names);

struct increments {
  int x, y;
};

const int sizes[] = {1, 2, 4, 8, 9, 10, 17, 100, 1015};
// Increments of y stay non-zero: with incy == 0 every tile would write the same element.
const increments strides[] = {{1, 1}, {-1, 1}, {2, -3}, {-2, -2}, {0, 1}, {3, 2}};

template <typename T>
void check_copy(int n, increments inc) {
  SCOPED_TRACE(::testing::Message() << "copy n=" << n << " incx=" << inc.x << " incy=" << inc.y);
  strided_vector<T> x(n, inc.x, random_values<T>(n, n));
  strided_vector<T> y(n, inc.y, random_values<T>(n, n + 1));
  parallel::blas::copy(n, x.data(), inc.x, y.data(), inc.y);
  EXPECT_TRUE(all_same_bits(y.logical(), x.logical()));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

// x and y may not share an element, so x's increment stays non-zero too.
template <typename T>
void check_swap(int n, increments inc) {
  if (inc.x == 0) return;
  SCOPED_TRACE(::testing::Message() << "swap n=" << n << " incx=" << inc.x << " incy=" << inc.y);
  const auto from_x = random_values<T>(n, n), from_y = random_values<T>(n, n + 1);
  strided_vector<T> x(n, inc.x, from_x), y(n, inc.y, from_y);
  parallel::blas::swap(n, x.data(), inc.x, y.data(), inc.y);
  EXPECT_TRUE(all_same_bits(x.logical(), from_y));
  EXPECT_TRUE(all_same_bits(y.logical(), from_x));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

template <typename T>
void check_axpby(int n, T alpha, T beta, increments inc) {
  SCOPED_TRACE(::testing::Message() << "axpby n=" << n << " incx=" << inc.x << " incy=" << inc.y << " alpha="
                                    << describe(alpha) << " beta=" << describe(beta));
  strided_vector<T> x(n, inc.x, random_values<T>(n, n));
  strided_vector<T> y(n, inc.y, random_values<T>(n, n + 1));
  const auto expected = reference_axpby(alpha, x.logical(), beta, y.logical());
  parallel::blas::axpby(n, alpha, x.data(), inc.x, beta, y.data(), inc.y);
  EXPECT_TRUE(all_same_bits(y.logical(), expected));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

// The four cases of the scalars, with zeros of either sign.
template <typename T>
std::vector<std::pair<T, T>> axpby_scalars() {
  return {{make<T>(0.75, -1.25), make<T>(0.5, 0.25)},
          {make<T>(-1.5, 0.5), make<T>(-0.0, 0)},
          {make<T>(0, -0.0), make<T>(1.25, -0.75)},
          {make<T>(-0.0, 0), make<T>(0, 0)}};
}

TYPED_TEST(VectorUpdates, MatchDefinitionsForEverySizeAndIncrement) {
  using T = TypeParam;
  for (int n : sizes) {
    for (increments inc : strides) {
      check_copy<T>(n, inc);
      check_swap<T>(n, inc);
      for (auto [alpha, beta] : axpby_scalars<T>()) check_axpby(n, alpha, beta, inc);
    }
  }
}

TYPED_TEST(VectorUpdates, TilesMeetForAnyWorkerCount) {
  using T = TypeParam;
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers");
    worker_scope scope(workers);
    for (int n : {9, 33, 1015}) {
      for (increments inc : {increments{1, 1}, increments{-2, 3}}) {
        check_copy<T>(n, inc);
        check_swap<T>(n, inc);
        check_axpby(n, make<T>(0.75, -1.25), make<T>(0.5, 0.25), inc);
      }
    }
  }
}

TYPED_TEST(VectorUpdates, NonPositiveCountsTouchNothing) {
  using T = TypeParam;
  strided_vector<T> x(0, 1, {}), y(0, 1, {});
  for (int n : {0, -1}) {
    parallel::blas::copy<T>(n, nullptr, 1, y.data(), 1);
    parallel::blas::swap<T>(n, x.data(), 1, y.data(), 1);
    parallel::blas::axpby<T>(n, make<T>(1), nullptr, 1, make<T>(0), y.data(), 1);
  }
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

// A zero alpha never reads x (passed as null here); a zero beta with a non-zero alpha still multiplies
// y, so NaN in y survives it, while both zero store zeros over NaN.
TYPED_TEST(VectorUpdates, AxpbyNanOnlyVanishesWhenBothScalarsAreZero) {
  using T = TypeParam;
  for (int n : {3, 8, 9, 100}) {
    const std::vector<T> nans(n, nan_element<T>());
    strided_vector<T> cleared(n, 2, nans), kept(n, -1, nans), scaled(n, 1, nans);
    const std::vector<T> ones(n, make<T>(1));
    parallel::blas::axpby<T>(n, make<T>(0), nullptr, 1, make<T>(0, -0.0), cleared.data(), 2);
    parallel::blas::axpby<T>(n, make<T>(1), ones.data(), 1, make<T>(0), kept.data(), -1);
    parallel::blas::axpby<T>(n, make<T>(-0.0), nullptr, 1, make<T>(2), scaled.data(), 1);
    for (int i = 0; i < n; ++i) {
      EXPECT_TRUE(same_bits(cleared[i], T{})) << describe(cleared[i]);
      EXPECT_TRUE(has_nan(kept[i]));
      EXPECT_TRUE(has_nan(scaled[i]));
    }
    EXPECT_TRUE(cleared.guards_intact());
    EXPECT_TRUE(kept.guards_intact());
  }
}

}  // namespace
}  // namespace kovra_test
