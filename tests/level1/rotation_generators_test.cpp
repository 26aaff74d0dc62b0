// ROTG and ROTMG: the rotation each generator returns, with exact values where the arithmetic is fixed:
// signs and the z of ROTG, the real-part measure of the complex ROTG, and for ROTMG every flag with its
// partial stores of param and both rescaling loops in each precision.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>

#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotmg.h"
#include "support/values.h"

namespace kovra::testing {
namespace {

using parallel::blas::rotg;
using parallel::blas::rotmg;

template <typename R>
class RealGenerators : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RealGenerators, real_types);

template <typename R>
struct rotg_result {
  R r, z, c, s;
};

template <typename R>
rotg_result<R> run_rotg(R a, R b) {
  rotg_result<R> out{a, b, sentinel<R>(), sentinel<R>()};
  rotg(&out.r, &out.z, &out.c, &out.s);
  return out;
}

TYPED_TEST(RealGenerators, RotgSignsAndZ) {
  using R = TypeParam;
  const R eps = std::numeric_limits<R>::epsilon();

  const auto zero = run_rotg<R>(0, 0);
  EXPECT_EQ(zero.c, 1);
  EXPECT_EQ(zero.s, 0);
  EXPECT_EQ(zero.r, 0);
  EXPECT_EQ(zero.z, 0);

  // |b| >= |a|: r takes the sign of b, z is 1/c. In float r comes out exactly 5.
  const auto wide = run_rotg<R>(3, 4);
  EXPECT_NEAR(wide.r, 5, 8 * eps);
  EXPECT_NEAR(wide.c, 0.6, 2 * eps);
  EXPECT_NEAR(wide.s, 0.8, 2 * eps);
  EXPECT_EQ(wide.c, R(3) / wide.r);
  EXPECT_EQ(wide.s, R(4) / wide.r);
  EXPECT_EQ(wide.z, R(1) / wide.c);
  if constexpr (std::is_same_v<R, float>) {
    EXPECT_EQ(wide.r, 5.0f);
    EXPECT_EQ(wide.c, 0.6f);
    EXPECT_EQ(wide.s, 0.8f);
  }

  // |a| > |b|: r takes the sign of a, z is s.
  const auto tall = run_rotg<R>(-4, 3);
  EXPECT_NEAR(tall.r, -5, 8 * eps);
  EXPECT_NEAR(tall.c, 0.8, 2 * eps);
  EXPECT_NEAR(tall.s, -0.6, 2 * eps);
  EXPECT_TRUE(same_bits(tall.z, tall.s));

  // b alone (a is -0): r takes the sign of b, c = 0, so z stays 1 rather than 1/c.
  const auto vertical = run_rotg<R>(-0.0, -2);
  EXPECT_EQ(vertical.r, -2);
  EXPECT_EQ(vertical.c, 0);
  EXPECT_EQ(vertical.s, 1);
  EXPECT_EQ(vertical.z, 1);
}

template <typename R>
class ComplexRotg : public ::testing::Test {};
TYPED_TEST_SUITE(ComplexRotg, real_types);

TYPED_TEST(ComplexRotg, ZeroRealPartCopiesCb) {
  using R = TypeParam;
  using T = std::complex<R>;
  T ca(0, 1), cb(2.5, -1.5), s = sentinel<T>();
  R c = sentinel<R>();
  rotg(&ca, &cb, &c, &s);
  EXPECT_EQ(c, 0);
  EXPECT_TRUE(same_bits(s, T(0, 0)));
  EXPECT_TRUE(same_bits(ca, T(2.5, -1.5)));
  EXPECT_TRUE(same_bits(cb, T(2.5, -1.5)));
}

// With imaginary parts the rotation measures |Re ca| and |Re cb| only: for ca = (3, 4), cb = (4, -2)
// the norm is 5 (a modulus-based one would be sqrt(45)), c = 3/5, s = (ca/3)*conj(cb)/5 and
// ca := 5*ca/3. The oracle is the same formula in long double.
TYPED_TEST(ComplexRotg, MeasuresRealPartsOnly) {
  using R = TypeParam;
  using T = std::complex<R>;
  using L = long double;
  T ca(3, 4), cb(4, -2), s;
  R c;
  rotg(&ca, &cb, &c, &s);

  const L norm = 7 * std::sqrt(L(9) / 49 + L(16) / 49);
  const std::complex<L> alpha(1, L(4) / 3);
  const std::complex<L> want_s = alpha * std::complex<L>(4, 2) / norm;
  const std::complex<L> want_ca = norm * alpha;
  const double tol = 8 * std::numeric_limits<R>::epsilon();
  EXPECT_NEAR(c, 3 / norm, tol);
  EXPECT_NEAR(s.real(), want_s.real(), tol * 2);
  EXPECT_NEAR(s.imag(), want_s.imag(), tol * 8);
  EXPECT_NEAR(ca.real(), want_ca.real(), tol * 8);
  EXPECT_NEAR(ca.imag(), want_ca.imag(), tol * 8);
  EXPECT_TRUE(same_bits(cb, T(4, -2)));
}

// One ROTMG call: inputs, and what d1, d2, x1 and param must hold afterwards. param starts as the
// sentinel, so entries that the flag does not store must come back with its bits.
template <typename R>
struct rotmg_case {
  const char* what;
  R d1, d2, x1, y1;
  R want_d1, want_d2, want_x1;
  R want_param[5];
};

template <typename R>
void check_rotmg(const rotmg_case<R>& t) {
  SCOPED_TRACE(t.what);
  R d1 = t.d1, d2 = t.d2, x1 = t.x1;
  R param[5];
  for (R& p : param) p = sentinel<R>();
  rotmg(&d1, &d2, &x1, t.y1, param);
  EXPECT_TRUE(same_bits(d1, t.want_d1)) << describe(d1);
  EXPECT_TRUE(same_bits(d2, t.want_d2)) << describe(d2);
  EXPECT_TRUE(same_bits(x1, t.want_x1)) << describe(x1);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(same_bits(param[i], t.want_param[i])) << i << ": " << describe(param[i]);
}

TYPED_TEST(RealGenerators, RotmgFlagsAndPartialStores) {
  using R = TypeParam;
  const R S = sentinel<R>();
  const R u = R(1.25);  // 1 + h12*(-h21) = 1 + 0.25 in the two unscaled cases below
  const R inf = std::numeric_limits<R>::infinity();
  const rotmg_case<R> cases[] = {
      {"negative d1", -1, 2, 3, 4, 0, 0, 0, {-1, 0, 0, 0, 0}},
      {"zero d2", 2, 0, 3, 4, 2, 0, 3, {-2, S, S, S, S}},
      {"zero y1", 2, 5, 3, 0, 2, 5, 3, {-2, S, S, S, S}},
      {"|q1| > |q2|: flag 0", 1, 1, 2, 1, 1 / u, 1 / u, 2 * u, {0, S, -0.5, 0.5, S}},
      {"|q1| <= |q2|: flag 1", 1, 1, 1, 2, 1 / u, 1 / u, 2 * u, {1, 0.5, S, S, 0.5}},
      {"negative q2: zeroed", 1, -4, 1, 1, 0, 0, 0, {-1, 0, 0, 0, 0}},
      // No power of gam brings an infinite d1 into range: the call returns with d1 as it is.
      {"infinite d1", inf, 1, 1, 1, inf, 1, 1, {0, S, -1, 0, S}},
  };
  for (const auto& t : cases) check_rotmg(t);
}

// The rescaling loops work in exact powers of two (gam = 2^12), so every expected value is exact. u is
// recomputed in R: 1 + 2^-30 is exact in double and rounds to 1 in float.
TYPED_TEST(RealGenerators, RotmgRescalingLoops) {
  using R = TypeParam;
  const R u30 = R(1) + R(0x1p-30), u50 = R(1) + R(0x1p-50);
  const rotmg_case<R> cases[] = {
      // d2 too small after flag 0: h11 = h22 = 1 are filled in, d2 gains 2^24, row 2 of H loses 2^12.
      {"small d2", 1, 0x1p-30, 1, 1, 1 / u30, R(0x1p-30) / u30 * R(0x1p24), u30, {-1, 1, -0x1p-12, 0x1p-30, 0x1p-12}},
      // d1 too large after flag 1: h21 = -1, h12 = 1 are filled in, d1 loses 2^24, x1 and row 1 gain 2^12.
      {"large d1", 1, 0x1p30, 1, 1, R(0x1p30) / u30 * R(0x1p-24), 1 / u30, u30 * 4096,
       {-1, R(0x1p-30) * 4096, -1, 4096, 1}},
      // Two passes of the first loop: the second fills in h21 = -1 and h12 = 1 again before scaling.
      {"large d1, twice", 1, 0x1p50, 1, 1, R(0x1p50) / u50 * R(0x1p-48), 1 / u50, u50 * R(0x1p24),
       {-1, R(0x1p-50) * R(0x1p24), -1, 4096, 1}},
      // Both loops: the second fills in h21 = -1, h12 = 1 over the first loop's scaled h12.
      {"small d1 and d2", 0x1p-30, 0x1p-30, 2, 1, R(0x1p-30) / 1.25f * R(0x1p24), R(0x1p-30) / 1.25f * R(0x1p24),
       R(2.5) * R(0x1p-12), {-1, 0x1p-12, -0x1p-12, 1, 0x1p-12}},
  };
  for (const auto& t : cases) check_rotmg(t);
}

// The lower bound is the decimal 5.9604645e-8 in each type: 2^-24 itself in float, a little above 2^-24
// in double. A d1 one step above 2^-24 is rescaled in double only; 2^-24 itself in both. y1 is so small
// that u rounds to 1 and d1 reaches the loop unchanged.
TYPED_TEST(RealGenerators, RotmgLowerBoundIsTheDecimalInEachType) {
  using R = TypeParam;
  const R y1 = R(0x1p-40);
  for (R d1 : {R(0x1p-24), std::nextafter(R(0x1p-24), R(1))}) {
    SCOPED_TRACE(describe(d1));
    R d = d1, d2 = 1, x1 = 1;
    R param[5] = {};
    rotmg(&d, &d2, &x1, y1, param);
    const bool rescaled = d1 == R(0x1p-24) || std::is_same_v<R, double>;
    EXPECT_EQ(param[0], rescaled ? -1 : 0);
    EXPECT_TRUE(same_bits(d, rescaled ? d1 * R(0x1p24) : d1)) << describe(d);
    EXPECT_EQ(x1, rescaled ? R(0x1p-12) : R(1));
  }
}

}  // namespace
}  // namespace kovra::testing
