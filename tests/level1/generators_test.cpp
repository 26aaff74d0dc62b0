// ROTG and ROTMG: exact values where the arithmetic is fixed: the signs and z of ROTG, the real-part
// measure of the complex ROTG, and for ROTMG every flag with its partial stores of param and both
// rescaling loops in each precision.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>

#include "parallel/blas/level1/rotg.h"
#include "parallel/blas/level1/rotmg.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using parallel::blas::rotg;
using parallel::blas::rotmg;

template <typename R>
class Generators : public ::testing::Test {};
using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Generators, real_types);

// r takes the sign of the larger of a and b; z is s when |a| > |b|, else 1/c, or 1 when c is 0.
TYPED_TEST(Generators, RotgSignsAndZ) {
  using R = TypeParam;
  struct rotg_case {
    R a, b, r, c, s, z;
  };
  const rotg_case cases[] = {{0, 0, 0, 1, 0, 0}, {3, 4, 5, 0.6, 0.8, R(1) / R(0.6)}, {-4, 3, -5, 0.8, -0.6, -0.6},
                             {-0.0, -2, -2, 0, 1, 1}, {R(0.3), R(0.4), R(0.5), R(0.6), R(0.8), R(1) / R(0.6)}};
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

// The lower bound is the decimal 5.9604645e-8 in each type: 2^-24 itself in float, a little above in
// double. So a d1 one step above 2^-24 is rescaled in double only; y1 is small enough that d1 reaches
// the loop unchanged.
TYPED_TEST(Generators, RotmgLowerBoundIsTheDecimalInEachType) {
  using R = TypeParam;
  for (R d1 : {R(0x1p-24), std::nextafter(R(0x1p-24), R(1))}) {
    R d = d1, d2 = 1, x1 = 1, param[5] = {};
    rotmg(&d, &d2, &x1, R(0x1p-40), param);
    const bool rescaled = d1 == R(0x1p-24) || std::is_same_v<R, double>;
    EXPECT_EQ(param[0], rescaled ? -1 : 0) << describe(d1);
    EXPECT_TRUE(same_bits(d, rescaled ? d1 * R(0x1p24) : d1)) << describe(d);
    EXPECT_EQ(x1, rescaled ? R(0x1p-12) : R(1));
  }
}

}  // namespace
}  // namespace kovra_test
