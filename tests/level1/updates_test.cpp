// The element-wise Level 1 updates (AXPY, AXPBY, SCAL, COPY, SWAP, ROT, ROTM) against their element steps,
// bit for bit, over one table of sizes and increments on several worker counts; the scalar cases that decide
// what is read; the doubled SCAL of short vectors; the exact values of the generators ROTG and ROTMG.
#include <gtest/gtest.h>
#include <vesk/exceptions.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "parallel/blas/level1/axpby.h"
#include "parallel/blas/level1/axpy.h"
#include "parallel/blas/level1/copy.h"
#include "parallel/blas/level1/rot.h"
#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotm.h"
#include "parallel/blas/level1/rotmg.h"
#include "parallel/blas/level1/scal.h"
#include "parallel/blas/level1/swap.h"
#include "support/cases.h"
#include "support/operands.h"
#include "support/values.h"

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
class Updates : public ::testing::Test {};
TYPED_TEST_SUITE(Updates, element_types, element_type_names);

TYPED_TEST(Updates, AxpyAxpbyCopySwap) {
  using T = TypeParam;
  const T alpha = make<T>(0.75, -1.25), beta = make<T>(0.5, 0.25);
  check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { axpy(n, alpha, x, ix, y, iy); },
                   [&](T& x, T& y, const shape&) { y = multiply_add(alpha, x, y); }, false, false);
  // AXPBY: beta*y rounded first, then fused (real) or two products and a sum (complex); a zero alpha
  // scales y alone, both zero store zeros.
  for (const auto& scalars :
       {std::pair{alpha, beta}, {alpha, make<T>(-0.0)}, {make<T>(0, -0.0), beta}, {make<T>(0), T{}}})
    check_updates<T>([&](int n, T* x, int ix, T* y, int iy) { axpby(n, scalars.first, x, ix, scalars.second, y, iy); },
                     [&](T& x, T& y, const shape&) {
                       if (helper::is_zero(scalars.first))
                         y = helper::is_zero(scalars.second) ? T{} : plain_mul(y, scalars.second);
                       else
                         y = multiply_add(scalars.first, x, plain_mul(scalars.second, y));
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
  rot(8, y.data(), 1, y.data(), 1, 1.0f, 0.0f);    // the largest serial rotations need no runtime either
  const float identity[5] = {-1, 1, 0, 0, 1};
  rotm(8, y.data(), 1, y.data(), 1, identity);
  EXPECT_EQ(x, (std::vector<float>{3, 3, 8, 8}));
  EXPECT_EQ(y, (std::vector<float>{8, 4, 8, 4, 3, 1, 3, 1}));
}

template <typename R>
class Generators : public ::testing::Test {};
TYPED_TEST_SUITE(Generators, real_types);

// r takes the sign of the larger of a and b; z is s when |a| > |b|, else 1/c, or 1 when c is 0.
TYPED_TEST(Generators, RotgSignsAndZ) {
  using R = TypeParam;
  struct rotg_case {
    R a, b, r, c, s, z;
  };
  const rotg_case cases[] = {{0, 0, 0, 1, 0, 0},
                             {3, 4, 5, 0.6, 0.8, R(1) / R(0.6)},
                             {-4, 3, -5, 0.8, -0.6, -0.6},
                             {-0.0, -2, -2, 0, 1, 1},
                             {R(0.3), R(0.4), R(0.5), R(0.6), R(0.8), R(1) / R(0.6)}};
  const R tol = 8 * std::numeric_limits<R>::epsilon();
  for (const auto& t : cases) {
    SCOPED_TRACE(::testing::Message() << "a=" << t.a << " b=" << t.b);
    R r = t.a, z = t.b, c = sentinel<R>(), s = sentinel<R>();
    rotg(&r, &z, &c, &s);
    EXPECT_TRUE(std::fabs(r - t.r) <= tol && std::fabs(c - t.c) <= tol && std::fabs(s - t.s) <= tol &&
                std::fabs(z - t.z) <= tol)
        << r << " " << c << " " << s << " " << z;
  }
}

// A zero real part of ca gives c = 0, s = 0 and ca := cb. Otherwise only |Re ca| and |Re cb| are
// measured: for ca = (3, 4), cb = (4, -2) the norm is 5 (not sqrt(45)), c = 3/5, s = (ca/3)*conj(cb)/5
// and ca := 5*ca/3. cb is never written.
TYPED_TEST(Generators, ComplexRotgMeasuresRealPartsOnly) {
  using R = TypeParam;
  using T = std::complex<R>;
  T ca(0, 1), cb(2.5, -1.5), s = sentinel<T>();
  R c = sentinel<R>();
  rotg(&ca, &cb, &c, &s);
  EXPECT_TRUE(c == 0 && same_bits(s, T(0, 0)) && same_bits(ca, cb) && same_bits(cb, T(2.5, -1.5)));

  ca = T(3, 4);
  cb = T(4, -2);
  rotg(&ca, &cb, &c, &s);
  const std::complex<long double> alpha(1, 4.0L / 3), want_s = alpha * std::complex<long double>(4, 2) / 5.0L;
  const double tol = 8 * std::numeric_limits<R>::epsilon();
  EXPECT_TRUE(std::fabs(c - 0.6L) <= tol && std::abs(std::complex<long double>(s) - want_s) <= 8 * tol);
  EXPECT_TRUE(std::abs(std::complex<long double>(ca) - std::complex<long double>(5, 20.0L / 3)) <= 8 * tol);
  EXPECT_TRUE(same_bits(cb, T(4, -2)));
}

// One ROTMG call and what d1, d2, x1 and param hold afterwards. param starts as the sentinel S, so an
// entry that the flag does not store must keep its bits. The rescaling works in exact powers of two
// (gam = 2^12), so every value is exact; 1 + 2^-30 is exact in double and rounds to 1 in float.
TYPED_TEST(Generators, RotmgFlagsPartialStoresAndRescaling) {
  using R = TypeParam;
  const R S = sentinel<R>(), u = 1.25, inf = std::numeric_limits<R>::infinity();
  const R u30 = R(1) + R(0x1p-30), u50 = R(1) + R(0x1p-50);
  struct rotmg_case {
    const char* what;
    R d1, d2, x1, y1, want_d1, want_d2, want_x1, want_param[5];
  };
  // clang-format off
  const rotmg_case cases[] = {
      {"negative d1", -1, 2, 3, 4, 0, 0, 0, {-1, 0, 0, 0, 0}},
      {"zero d2", 2, 0, 3, 4, 2, 0, 3, {-2, S, S, S, S}},
      {"zero y1", 2, 5, 3, 0, 2, 5, 3, {-2, S, S, S, S}},
      {"|q1| > |q2|: flag 0", 1, 1, 2, 1, 1 / u, 1 / u, 2 * u, {0, S, -0.5, 0.5, S}},
      {"|q1| <= |q2|: flag 1", 1, 1, 1, 2, 1 / u, 1 / u, 2 * u, {1, 0.5, S, S, 0.5}},
      {"negative q2: zeroed", 1, -4, 1, 1, 0, 0, 0, {-1, 0, 0, 0, 0}},
      {"infinite d1 left alone", inf, 1, 1, 1, inf, 1, 1, {0, S, -1, 0, S}},
      // Flag 0, then d2 too small: h11 = h22 = 1 filled in, d2 gains 2^24, row 2 of H loses 2^12.
      {"small d2", 1, 0x1p-30, 1, 1, 1 / u30, R(0x1p-30) / u30 * R(0x1p24), u30, {-1, 1, -0x1p-12, 0x1p-30, 0x1p-12}},
      // Flag 1, then d1 too large: h21 = -1, h12 = 1 filled in, d1 loses 2^24, x1 and row 1 gain 2^12.
      {"large d1", 1, 0x1p30, 1, 1, R(0x1p30) / u30 * R(0x1p-24), 1 / u30, u30 * 4096,
       {-1, R(0x1p-30) * 4096, -1, 4096, 1}},
      // Two passes of the first loop, each filling in h21 = -1 and h12 = 1 before scaling.
      {"large d1, twice", 1, 0x1p50, 1, 1, R(0x1p50) / u50 * R(0x1p-48), 1 / u50, u50 * R(0x1p24),
       {-1, R(0x1p-50) * R(0x1p24), -1, 4096, 1}},
      // Both loops: the second fills in h21 = -1, h12 = 1 over the first loop's scaled h12.
      {"small d1 and d2", 0x1p-30, 0x1p-30, 2, 1, R(0x1p-30) / 1.25f * R(0x1p24), R(0x1p-30) / 1.25f * R(0x1p24),
       R(2.5) * R(0x1p-12), {-1, 0x1p-12, -0x1p-12, 1, 0x1p-12}}};
  // clang-format on
  for (const auto& t : cases) {
    SCOPED_TRACE(t.what);
    R d1 = t.d1, d2 = t.d2, x1 = t.x1, param[5] = {S, S, S, S, S};
    rotmg(&d1, &d2, &x1, t.y1, param);
    EXPECT_TRUE(same_bits(d1, t.want_d1) && same_bits(d2, t.want_d2) && same_bits(x1, t.want_x1))
        << describe(d1) << " " << describe(d2) << " " << describe(x1);
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(same_bits(param[i], t.want_param[i])) << i << ": " << describe(param[i]);
  }
}

// The lower threshold is the decimal 5.9604645e-8: 2^-24 itself in float, a little above it in double, so a
// d1 one step above 2^-24 is rescaled in double only (y1 is small enough that d1 reaches the loop as it is).
TYPED_TEST(Generators, RotmgLowerThresholdIsTheDecimalInEachType) {
  using R = TypeParam;
  for (R d1 : {R(0x1p-24), std::nextafter(R(0x1p-24), R(1))}) {
    R d = d1, d2 = 1, x1 = 1, param[5] = {};
    rotmg(&d, &d2, &x1, R(0x1p-40), param);
    const bool rescaled = d1 == R(0x1p-24) || std::is_same_v<R, double>;
    EXPECT_TRUE(param[0] == (rescaled ? -1 : 0) && same_bits(d, rescaled ? d1 * R(0x1p24) : d1)) << describe(d1);
    EXPECT_EQ(x1, rescaled ? R(0x1p-12) : R(1));
  }
}

}  // namespace
}  // namespace kovra_test
