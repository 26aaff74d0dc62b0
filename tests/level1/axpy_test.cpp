// AXPY against the reference loop: quick returns, the serial path, the tiled path and the boundary
// between them, every kind of increment, guard zones, and tiles cut for several worker counts.
#include <gtest/gtest.h>

#include <limits>

#include "parallel/blas/level1/axpy.h"
#include "support/element_types.h"
#include "support/reference_level1.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra_test {
namespace {

using parallel::blas::axpy;

template <typename T>
class Axpy : public ::testing::Test {};
TYPED_TEST_SUITE(Axpy, element_types, element_type_names);

struct increments {
  int x, y;
};

// Sizes 1 to 8 run serially, 9 and up in tiles of uneven length.
const int sizes[] = {1, 2, 3, 5, 7, 8, 9, 10, 17, 33, 100, 1015};
// A zero y increment would make tiles race on one element; it is not a case the routine supports.
const increments strides[] = {{1, 1}, {2, 3}, {-1, 1}, {1, -2}, {-3, -1}, {0, 1}, {0, -2}};

// One call on fresh data, checked against the reference and the guards. Strided real elements are one
// fused multiply-add each and must match bit for bit; with unit increments a real type runs through the
// kernel's vector operation, whose NEON forms may round the product separately, hence the tolerance.
template <typename T>
void check_axpy(int n, T alpha, increments inc) {
  SCOPED_TRACE(::testing::Message() << "n=" << n << " incx=" << inc.x << " incy=" << inc.y);
  strided_vector<T> x(n, inc.x, random_values<T>(n, 11 + n));
  strided_vector<T> y(n, inc.y, random_values<T>(n, 29 + n));
  const auto expected = reference_axpy(alpha, x.logical(), y.logical());
  axpy(n, alpha, x.data(), inc.x, y.data(), inc.y);
  if (!is_complex_v<T> && inc.x == 1 && inc.y == 1)
    EXPECT_TRUE(all_near(y.logical(), expected, 8 * std::numeric_limits<real_t<T>>::epsilon()));
  else
    EXPECT_TRUE(all_same_bits(y.logical(), expected));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

TYPED_TEST(Axpy, QuickReturnsLeaveYAsItWasAndNeverReadX) {
  using T = TypeParam;
  strided_vector<T> empty(0, 1, {});
  for (int n : {0, -1, -9}) axpy<T>(n, make<T>(1, 1), nullptr, 1, empty.data(), 1);
  EXPECT_TRUE(empty.guards_intact());

  // Every signed zero is zero; x is passed as null, so any read of it would fault.
  for (T alpha : {make<T>(0, 0), make<T>(-0.0, 0), make<T>(0, -0.0), make<T>(-0.0, -0.0)}) {
    for (int n : {5, 100}) {
      const auto before = random_values<T>(n, 3);
      strided_vector<T> y(n, -2, before);
      axpy<T>(n, alpha, nullptr, 1, y.data(), -2);
      EXPECT_TRUE(all_same_bits(y.logical(), before));
      EXPECT_TRUE(y.guards_intact());
    }
  }
}

TYPED_TEST(Axpy, NanAlphaAndPurelyImaginaryAlphaAreNotZero) {
  using T = TypeParam;
  for (int n : {5, 100}) {
    std::vector<T> ones(n, make<T>(1, 1));
    strided_vector<T> y(n, 1, ones);
    axpy<T>(n, nan_element<T>(), ones.data(), 1, y.data(), 1);
    for (const T& v : y.logical()) EXPECT_TRUE(has_nan(v));
    if constexpr (is_complex_v<T>) check_axpy(n, make<T>(0, 1.5), {2, -1});
  }
}

TYPED_TEST(Axpy, MatchesReferenceForEverySizeAndIncrement) {
  for (int n : sizes)
    for (increments inc : strides) check_axpy(n, make<TypeParam>(0.75, -1.25), inc);
}

TYPED_TEST(Axpy, TilesMeetForAnyWorkerCount) {
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers");
    worker_scope scope(workers);
    for (int n : {9, 17, 33, 1015})
      for (increments inc : {increments{1, 1}, increments{-2, 3}, increments{0, -1}})
        check_axpy(n, make<TypeParam>(-0.5, 2), inc);
  }
}

}  // namespace
}  // namespace kovra_test
