// ROT and ROTM against their element steps, bit for bit: every size class around the serial cut-off,
// increments of either sign, tiles cut for several worker counts, the flag forms of ROTM with NaN in
// the entries a form must not read, quick returns, and the guards between strided elements.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <utility>
#include <vector>

#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotm.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra::testing {
namespace {

using parallel::blas::rot;
using parallel::blas::rotm;

struct increments {
  int x, y;
};

// 1 to 8 run serially, 9 and up in tiles. Increments stay non-zero: with a zero one every tile would
// rewrite the same element.
const int sizes[] = {1, 2, 7, 8, 9, 10, 17, 100, 1015};
const increments strides[] = {{1, 1}, {-1, 1}, {1, -1}, {2, -3}, {-2, -2}, {3, 2}};

template <typename T>
using vector_pair = std::pair<std::vector<T>, std::vector<T>>;

// x' = c*x + s*y and y' = c*y - s*x. A real element rounds the s products and fuses the c ones; a
// complex element, part by part, the other way round.
template <typename T>
vector_pair<T> reference_rot(real_t<T> c, real_t<T> s, std::vector<T> x, std::vector<T> y) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    const T x0 = x[i], y0 = y[i];
    if constexpr (is_complex_v<T>) {
      x[i] = T(std::fma(s, y0.real(), c * x0.real()), std::fma(s, y0.imag(), c * x0.imag()));
      y[i] = T(std::fma(-s, x0.real(), c * y0.real()), std::fma(-s, x0.imag(), c * y0.imag()));
    } else {
      x[i] = std::fma(c, x0, s * y0);
      y[i] = std::fma(c, y0, -(s * x0));
    }
  }
  return {x, y};
}

template <typename T>
void check_rot(int n, increments inc) {
  SCOPED_TRACE(::testing::Message() << "rot n=" << n << " incx=" << inc.x << " incy=" << inc.y);
  const real_t<T> c = 0.6, s = -0.8;
  strided_vector<T> x(n, inc.x, random_values<T>(n, 5 + n)), y(n, inc.y, random_values<T>(n, 7 + n));
  const auto [want_x, want_y] = reference_rot(c, s, x.logical(), y.logical());
  rot(n, x.data(), inc.x, y.data(), inc.y, c, s);
  EXPECT_TRUE(all_same_bits(x.logical(), want_x));
  EXPECT_TRUE(all_same_bits(y.logical(), want_y));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

template <typename T>
class Rot : public ::testing::Test {};
TYPED_TEST_SUITE(Rot, element_types, element_type_names);

TYPED_TEST(Rot, MatchesTheElementStepForEverySizeAndIncrement) {
  for (int n : sizes)
    for (increments inc : strides) check_rot<TypeParam>(n, inc);
}

TYPED_TEST(Rot, TilesMeetForAnyWorkerCount) {
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers");
    worker_scope scope(workers);
    for (int n : {9, 33, 1015})
      for (increments inc : {increments{1, 1}, increments{-1, 1}, increments{-2, 3}}) check_rot<TypeParam>(n, inc);
  }
}

// The first 8 logical elements of a 9-element (tiled) call come out as the 8-element (serial) call
// leaves them: one element step for both paths.
TYPED_TEST(Rot, SerialAndTiledPathsAgree) {
  using T = TypeParam;
  for (increments inc : {increments{1, 1}, increments{-2, 1}}) {
    const auto x0 = random_values<T>(9, 1), y0 = random_values<T>(9, 2);
    strided_vector<T> x8(8, inc.x, x0), y8(8, inc.y, y0), x9(9, inc.x, x0), y9(9, inc.y, y0);
    rot(8, x8.data(), inc.x, y8.data(), inc.y, real_t<T>(0.28), real_t<T>(0.96));
    rot(9, x9.data(), inc.x, y9.data(), inc.y, real_t<T>(0.28), real_t<T>(0.96));
    for (int i = 0; i < 8; ++i) {
      EXPECT_TRUE(same_bits(x8[i], x9[i])) << i;
      EXPECT_TRUE(same_bits(y8[i], y9[i])) << i;
    }
  }
}

TYPED_TEST(Rot, NonPositiveCountsReadNothing) {
  for (int n : {0, -1}) rot<TypeParam>(n, nullptr, 1, nullptr, 1, 0.6, 0.8);
}

// Written on bare arrays, independent of strided_vector: with incx = -1 logical element 0 of x is its
// last array element, in the serial and in the tiled path.
TEST(Drot, NegativeIncrementPairsTheLastElementOfXWithTheFirstOfY) {
  const double c = 0.6, s = 0.8;
  for (int n : {5, 100}) {
    const auto x0 = random_values<double>(n, 3), y0 = random_values<double>(n, 4);
    auto x = x0, y = y0;
    rot(n, x.data(), -1, y.data(), 1, c, s);
    for (int i = 0; i < n; ++i) {
      const double xl = x0[n - 1 - i], yl = y0[i];
      EXPECT_TRUE(same_bits(x[n - 1 - i], std::fma(c, xl, s * yl))) << "n=" << n << " i=" << i;
      EXPECT_TRUE(same_bits(y[i], std::fma(c, yl, -(s * xl)))) << "n=" << n << " i=" << i;
    }
  }
}

template <typename R>
class Rotm : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Rotm, real_types);

// The step of each flag form, from the entries that form defines.
template <typename R>
vector_pair<R> reference_rotm(const R* p, std::vector<R> x, std::vector<R> y) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    const R x0 = x[i], y0 = y[i];
    if (p[0] < 0) {
      x[i] = std::fma(x0, p[1], y0 * p[3]);
      y[i] = std::fma(x0, p[2], y0 * p[4]);
    } else if (p[0] == 0) {
      x[i] = std::fma(y0, p[3], x0);
      y[i] = std::fma(x0, p[2], y0);
    } else {
      x[i] = std::fma(x0, p[1], y0);
      y[i] = std::fma(p[4], y0, -x0);
    }
  }
  return {x, y};
}

// (flag, h11, h21, h12, h22) for each form; the entries a form does not use hold NaN, which would show
// in every result if they were read.
template <typename R>
std::vector<std::vector<R>> rotm_params() {
  const R nan = std::numeric_limits<R>::quiet_NaN();
  return {{-1, 0.75, -0.5, 0.25, 1.5}, {0, nan, -0.375, 0.625, nan}, {1, 0.875, nan, nan, -1.25}};
}

template <typename R>
void check_rotm(int n, increments inc, const std::vector<R>& param) {
  SCOPED_TRACE(::testing::Message() << "rotm flag=" << param[0] << " n=" << n << " incx=" << inc.x
                                    << " incy=" << inc.y);
  strided_vector<R> x(n, inc.x, random_values<R>(n, 9 + n)), y(n, inc.y, random_values<R>(n, 13 + n));
  const auto [want_x, want_y] = reference_rotm(param.data(), x.logical(), y.logical());
  rotm(n, x.data(), inc.x, y.data(), inc.y, param.data());
  EXPECT_TRUE(all_same_bits(x.logical(), want_x));
  EXPECT_TRUE(all_same_bits(y.logical(), want_y));
  EXPECT_TRUE(x.guards_intact());
  EXPECT_TRUE(y.guards_intact());
}

TYPED_TEST(Rotm, EachFlagFormMatchesItsStep) {
  for (const auto& param : rotm_params<TypeParam>())
    for (int n : sizes)
      for (increments inc : strides) check_rotm(n, inc, param);
}

TYPED_TEST(Rotm, TilesMeetForAnyWorkerCount) {
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers");
    worker_scope scope(workers);
    for (const auto& param : rotm_params<TypeParam>())
      for (increments inc : {increments{1, 1}, increments{-1, 2}}) check_rotm(1015, inc, param);
  }
}

// Flag -2 is the identity: nothing is written for any n, and only the flag is read (the rest is NaN).
// A non-positive n is a quick return whatever the flag.
TYPED_TEST(Rotm, IdentityAndEmptyCallsWriteNothing) {
  using R = TypeParam;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  const R identity[5] = {-2, nan, nan, nan, nan};
  for (int n : {1, 8, 9, 1015}) {
    const auto x0 = random_values<R>(n, 17), y0 = random_values<R>(n, 19);
    strided_vector<R> x(n, -2, x0), y(n, 1, y0);
    rotm(n, x.data(), -2, y.data(), 1, identity);
    EXPECT_TRUE(all_same_bits(x.logical(), x0)) << n;
    EXPECT_TRUE(all_same_bits(y.logical(), y0)) << n;
    EXPECT_TRUE(x.guards_intact());
    EXPECT_TRUE(y.guards_intact());
  }
  const R full[5] = {-1, 1, 1, 1, 1};
  for (int n : {0, -3}) rotm<R>(n, nullptr, 1, nullptr, 1, full);
}

}  // namespace
}  // namespace kovra::testing
