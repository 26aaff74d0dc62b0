// The element-wise Level 1 updates (AXPY, AXPBY, SCAL, COPY, SWAP, ROT, ROTM) against their element
// steps, bit for bit, over one table of sizes and increments on several worker counts; then the scalar
// cases that decide what is read, and the doubled SCAL of short vectors.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include <cmath>
#include <limits>
#include <vector>

#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotm.h"
#include "parallel/blas/level1/scal.h"
#include "parallel/blas/level1/swap.h"
#include "support/cases.h"
#include "support/operands.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

struct shape {
  int n, incx, incy;
};

// Quick returns, the serial sizes, tiles of one grain and long uneven tiles; increments of either sign
// and a zero x increment (y's stays non-zero: tiles would race on one element).
std::vector<shape> shapes() {
  std::vector<shape> table;
  for (int n : {-1, 0, 1, 2, 7, 8, 9, 10, 17, 100, 1015})
    for (auto [incx, incy] : {std::pair{1, 1}, {-1, 1}, {2, -3}, {-2, -2}, {0, 1}, {3, 2}})
      table.push_back({n, incx, incy});
  return table;
}

// apply(n, x, incx, y, incy) must leave the logical x and y that step(x_i, y_i, shape) leaves, and every
// other position alone. `exact_unit` false allows the unit-increment real path, which runs the kernel's
// vector operation, a few roundings.
template <typename T, typename Apply, typename Step>
void check_updates(Apply apply, Step step, bool writes_x, bool exact_unit = true) {
  for_each_case(shapes(),
                [&](const shape& s) {
                  if (writes_x && s.incx == 0) return;
                  strided_vector<T> x(s.n, s.incx, random_values<T>(s.n, 5 + s.n)),
                      y(s.n, s.incy, random_values<T>(s.n, 7));
                  auto want_x = x.logical(), want_y = y.logical();
                  for (std::size_t i = 0; i < want_x.size(); ++i) step(want_x[i], want_y[i], s);
                  apply(s.n, x.data(), s.incx, y.data(), s.incy);
                  const bool exact = exact_unit || is_complex_v<T> || s.incx != 1 || s.incy != 1;
                  EXPECT_TRUE(exact ? all_same_bits(y.logical(), want_y)
                                    : all_near(y.logical(), want_y, 8 * std::numeric_limits<real_t<T>>::epsilon()));
                  EXPECT_TRUE(all_same_bits(x.logical(), want_x));
                  EXPECT_TRUE(x.intact() && y.intact());
                },
                {1, 2, 4});
}

template <typename T>
T fused(const T& a, const T& x, const T& y) {
  if constexpr (is_complex_v<T>)
    return plain_add(y, plain_mul(a, x));
  else
    return std::fma(a, x, y);
}

template <typename T>
class Updates : public ::testing::Test {};
TYPED_TEST_SUITE(Updates, element_types, element_type_names);

TYPED_TEST(Updates, AxpyAxpbyCopySwap) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -1.25), beta = make<T>(0.5, 0.25);
  check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { axpy(n, alpha, x, ix, y, iy); },
                   [&](T& x, T& y, const shape&) { y = fused(alpha, x, y); }, false, false);
  // AXPBY: beta*y rounded first, then fused (real) or two products and a sum (complex); a zero alpha
  // scales y alone, both zero store zeros.
  for (auto [a, b] : {std::pair{alpha, beta}, {alpha, make<T>(-0.0)}, {make<T>(0, -0.0), beta}, {make<T>(0), T{}}})
    check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { axpby(n, a, x, ix, b, y, iy); },
                     [&](T& x, T& y, const shape&) {
                       if (helper::is_zero(a))
                         y = helper::is_zero(b) ? T{} : plain_mul(y, b);
                       else
                         y = fused(a, x, plain_mul(b, y));
                     },
                     false);
  check_updates<T>([](int n, T* x, int ix, T* y, int iy) { copy(n, x, ix, y, iy); },
                   [](T& x, T& y, const shape&) { y = x; }, false);
  check_updates<T>([](int n, T* x, int ix, T* y, int iy) { swap(n, x, ix, y, iy); },
                   [](T& x, T& y, const shape&) { std::swap(x, y); }, true);
}

// SCAL leaves a non-positive increment alone and scales a vector of at most 8 elements twice, the
// second time through the launch; a real scale on a complex vector acts as (alpha, 0).
TYPED_TEST(Updates, ScalWithItsOwnTypeAndARealScale) {
  using T = TypeParam;
  const auto scaled_by = [](auto alpha) {
    check_updates<T>([&](int n, T* x, int ix, T*, int) { scal(n, alpha, x, ix); },
                     [&](T& x, T&, const shape& s) {
                       for (int pass = 0; s.incx > 0 && pass < (s.n <= 8 ? 2 : 1); ++pass)
                         x = helper::is_zero(alpha) ? T{} : plain_mul(T(alpha), x);
                     },
                     true);
  };
  scaled_by(make<T>(-1.25, 0.5));
  scaled_by(make<T>(0, -0.0));
  if constexpr (is_complex_v<T>) scaled_by(real_t<T>(0.75));
}

TYPED_TEST(Updates, RotAndRotm) {
  using T = TypeParam;
  using R = real_t<T>;
  const R c = 0.6, s = -0.8;
  // A real element rounds the s products and fuses the c ones; a complex one, part by part, the reverse.
  check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { rot(n, x, ix, y, iy, c, s); },
                   [&](T& x, T& y, const shape&) {
                     const T x0 = x, y0 = y;
                     if constexpr (is_complex_v<T>) {
                       x = T(std::fma(s, y0.real(), c * x0.real()), std::fma(s, y0.imag(), c * x0.imag()));
                       y = T(std::fma(-s, x0.real(), c * y0.real()), std::fma(-s, x0.imag(), c * y0.imag()));
                     } else {
                       x = std::fma(c, x0, s * y0);
                       y = std::fma(c, y0, -(s * x0));
                     }
                   },
                   true);
  if constexpr (!is_complex_v<T>) {
    // (flag, h11, h21, h12, h22): the entries a flag does not use hold NaN, which would show if read.
    const R nan = std::numeric_limits<R>::quiet_NaN();
    const R params[4][5] = {{-1, 0.75, -0.5, 0.25, 1.5},
                            {0, nan, -0.375, 0.625, nan},
                            {1, 0.875, nan, nan, -1.25},
                            {-2, nan, nan, nan, nan}};
    for (const R* p : params)
      check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { rotm(n, x, ix, y, iy, p); },
                       [&](T& x, T& y, const shape&) {
                         const R x0 = x, y0 = y;
                         if (p[0] == -1)
                           x = std::fma(x0, p[1], y0 * p[3]), y = std::fma(x0, p[2], y0 * p[4]);
                         else if (p[0] == 0)
                           x = std::fma(y0, p[3], x0), y = std::fma(x0, p[2], y0);
                         else if (p[0] == 1)
                           x = std::fma(x0, p[1], y0), y = std::fma(p[4], y0, -x0);
                       },
                       true);
  }
}

// What is not read: a zero alpha of any sign never touches x (null here) in AXPY or AXPBY, and a zero
// scale stores zeros over NaN and infinity; a NaN alpha is no zero, nor is a purely imaginary one.
TYPED_TEST(Updates, ZeroScalarsReadNothingAndClearNaN) {
  using T = TypeParam;
  const double inf = std::numeric_limits<double>::infinity();
  for (int n : {3, 8, 9, 100}) {
    const auto start = random_values<T>(n, 3);
    std::vector<T> bad(n, nan_element<T>());
    for (int i = 0; i < n; i += 2) bad[i] = make<T>(-inf, inf);
    for (T zero : {make<T>(0), make<T>(-0.0, 0), make<T>(0, -0.0), make<T>(-0.0, -0.0)}) {
      strided_vector<T> y(n, -2, start), cleared(n, 2, bad), scaled(n, 1, bad);
      axpy<T>(n, zero, nullptr, 1, y.data(), -2);
      EXPECT_TRUE(all_same_bits(y.logical(), start));
      axpby<T>(n, zero, nullptr, 1, zero, cleared.data(), 2);
      scal(n, zero, scaled.data(), 1);
      EXPECT_TRUE(all_same_bits(cleared.logical(), std::vector<T>(n)) && cleared.intact());
      EXPECT_TRUE(all_same_bits(scaled.logical(), std::vector<T>(n)) && y.intact());
    }
    strided_vector<T> y(n, 1, start), kept(n, -1, bad);
    axpy<T>(n, nan_element<T>(), start.data(), 1, y.data(), 1);
    axpby<T>(n, make<T>(1), start.data(), 1, make<T>(0), kept.data(), -1);  // 0 * NaN is NaN
    for (int i = 0; i < n; ++i) EXPECT_TRUE(has_nan(y[i]) && has_nan(kept[i]));
  }
}

// 2 * (inf, 1) is (2*inf - 0*1, 2*1 + 0*inf) = (inf, NaN), on the kernel path and the strided loop.
TEST(ScalRealScale, NonFinitePartSpreadsToTheOther) {
  using C = std::complex<double>;
  for (int incx : {1, 2}) {
    strided_vector<C> x(9, incx, std::vector<C>(9, C(std::numeric_limits<double>::infinity(), 1)));
    scal(9, 2.0, x.data(), incx);
    for (const C& v : x.logical()) EXPECT_TRUE(std::isinf(v.real()) && std::isnan(v.imag())) << incx;
  }
}

// Without a runtime the serial paths still work; SCAL alone launches for a short vector, after its first pass.
TEST(StoppedRuntime, OnlyScalNeedsItBelowTheCutoff) {
  worker_scope restart_afterwards(1);
  vesk_stop();
  std::vector<float> x(4, 1.0f), y(8, 1.0f), long_x(20, 1.0f);
  EXPECT_THROW(scal(4, 2.0f, x.data(), 1), vesk::api_exception);
  EXPECT_THROW(scal(20, 2.0f, long_x.data(), 1), vesk::api_exception);
  EXPECT_EQ(long_x, std::vector<float>(20, 1.0f));
  axpy(4, 1.0f, x.data(), 1, y.data(), 2);         // y = 3 1 3 1 3 1 3 1
  axpby(4, 1.0f, x.data(), 1, 2.0f, y.data(), 1);  // y = 8 4 8 4 3 1 3 1
  swap(4, x.data(), 1, y.data(), -2);              // x = 3 3 8 8, y = 2 4 2 4 2 1 2 1
  copy(4, x.data(), -1, y.data(), 2);              // y = 8 4 8 4 3 1 3 1
  EXPECT_EQ(x, (std::vector<float>{3, 3, 8, 8}));
  EXPECT_EQ(y, (std::vector<float>{8, 4, 8, 4, 3, 1, 3, 1}));
}

}  // namespace
}  // namespace kovra_test
