// ROT and ROTM bit for bit against their element steps: sizes on both sides of the serial cut-off,
// increments of either sign, tiles for several worker counts, each ROTM flag form with NaN in the
// entries it must not read, quick returns, and the guards between strided elements.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotm.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra_test {
namespace {

using parallel::blas::rot;
using parallel::blas::rotm;

struct increments {
  int x, y;
};

// 1 to 8 run serially, 9 and up in tiles. The inputs of every size share their first elements, so
// the 8- and 9-element calls meeting one step also shows the two paths agree.
const int sizes[] = {1, 2, 7, 8, 9, 10, 17, 100, 1015};
const increments strides[] = {{1, 1}, {-1, 1}, {1, -1}, {2, -3}, {-2, -2}, {3, 2}};

// Runs apply(n, x, incx, y, incy) for every size, increment pair and worker count, and expects the
// logical elements that step(x_i, y_i) gives, with every other position untouched.
template <typename T, typename Apply, typename Step>
void check_against_step(Apply apply, Step step) {
  for (int workers : {1, 2, 4}) {
    worker_scope scope(workers);
    for (int n : sizes)
      for (increments inc : strides) {
        SCOPED_TRACE(::testing::Message() << workers << " workers, n=" << n << " incx=" << inc.x << " incy=" << inc.y);
        auto want_x = random_values<T>(n, 5), want_y = random_values<T>(n, 7);
        strided_vector<T> x(n, inc.x, want_x), y(n, inc.y, want_y);
        for (int i = 0; i < n; ++i) step(want_x[i], want_y[i]);
        apply(n, x.data(), inc.x, y.data(), inc.y);
        EXPECT_TRUE(all_same_bits(x.logical(), want_x));
        EXPECT_TRUE(all_same_bits(y.logical(), want_y));
        EXPECT_TRUE(x.guards_intact() && y.guards_intact());
      }
  }
}

template <typename T>
class Rot : public ::testing::Test {};
TYPED_TEST_SUITE(Rot, element_types, element_type_names);

// x' = c*x + s*y, y' = c*y - s*x: a real element rounds the s products and fuses the c ones; a complex
// element, part by part, the other way round.
TYPED_TEST(Rot, MatchesTheElementStep) {
  using T = TypeParam;
  using R = real_t<T>;
  const R c = 0.6, s = -0.8;
  check_against_step<T>([&](int n, T* x, int ix, T* y, int iy) { rot(n, x, ix, y, iy, c, s); },
                        [&](T& x, T& y) {
                          const T x0 = x, y0 = y;
                          if constexpr (is_complex_v<T>) {
                            x = T(std::fma(s, y0.real(), c * x0.real()), std::fma(s, y0.imag(), c * x0.imag()));
                            y = T(std::fma(-s, x0.real(), c * y0.real()), std::fma(-s, x0.imag(), c * y0.imag()));
                          } else {
                            x = std::fma(c, x0, s * y0);
                            y = std::fma(c, y0, -(s * x0));
                          }
                        });
  for (int n : {0, -1}) rot<T>(n, nullptr, 1, nullptr, 1, c, s);
}

template <typename R>
class Rotm : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Rotm, real_types);

// (flag, h11, h21, h12, h22): the entries a form does not use hold NaN, which would show if read.
TYPED_TEST(Rotm, EachFlagFormMatchesItsStep) {
  using R = TypeParam;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  const R params[3][5] = {{-1, 0.75, -0.5, 0.25, 1.5}, {0, nan, -0.375, 0.625, nan}, {1, 0.875, nan, nan, -1.25}};
  for (const R* p : params) {
    SCOPED_TRACE(::testing::Message() << "flag " << p[0]);
    check_against_step<R>([&](int n, R* x, int ix, R* y, int iy) { rotm(n, x, ix, y, iy, p); },
                          [&](R& x, R& y) {
                            const R x0 = x, y0 = y;
                            if (p[0] < 0) x = std::fma(x0, p[1], y0 * p[3]), y = std::fma(x0, p[2], y0 * p[4]);
                            else if (p[0] == 0) x = std::fma(y0, p[3], x0), y = std::fma(x0, p[2], y0);
                            else x = std::fma(x0, p[1], y0), y = std::fma(p[4], y0, -x0);
                          });
  }
}

// Flag -2 is the identity: nothing is written for any n and nothing but the flag is read. A
// non-positive n returns whatever the flag.
TYPED_TEST(Rotm, IdentityAndEmptyCallsWriteNothing) {
  using R = TypeParam;
  const R nan = std::numeric_limits<R>::quiet_NaN(), identity[5] = {-2, nan, nan, nan, nan}, full[5] = {-1, 1, 1, 1, 1};
  for (int n : {1, 8, 9, 1015}) {
    const auto x0 = random_values<R>(n, 17), y0 = random_values<R>(n, 19);
    strided_vector<R> x(n, -2, x0), y(n, 1, y0);
    rotm(n, x.data(), -2, y.data(), 1, identity);
    EXPECT_TRUE(all_same_bits(x.logical(), x0) && all_same_bits(y.logical(), y0)) << n;
    EXPECT_TRUE(x.guards_intact() && y.guards_intact());
  }
  for (int n : {0, -3}) rotm<R>(n, nullptr, 1, nullptr, 1, full);
}

}  // namespace
}  // namespace kovra_test
