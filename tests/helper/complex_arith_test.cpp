// The full complex product and Smith's quotient: plain rounding, and every recovery of a result whose
// two parts came out NaN, each with its exact expected value.
#include <cmath>
#include <complex>
#include <limits>

#include <gtest/gtest.h>

#include "helper/complex_arith.h"

namespace {

template <typename R> class ComplexArith : public testing::Test {
 protected:
  static constexpr R inf = std::numeric_limits<R>::infinity();
  static constexpr R nan = std::numeric_limits<R>::quiet_NaN();
  using C = std::complex<R>;
};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexArith, RealTypes);

// A part matches when both are NaN, or when they are equal with the same sign (so -0 is not +0).
template <typename R> bool same_part(R got, R expected) {
  if (std::isnan(expected)) return std::isnan(got);
  return got == expected && std::signbit(got) == std::signbit(expected);
}

#define EXPECT_PARTS(got, re, im)                                                  \
  do {                                                                             \
    const auto g = (got);                                                          \
    EXPECT_TRUE(same_part(g.real(), TypeParam(re)) && same_part(g.imag(), TypeParam(im))) \
        << #got << " = " << g << ", expected (" << (re) << "," << (im) << ")";     \
  } while (0)

TYPED_TEST(ComplexArith, ProductRoundsEachOperationByItself) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  EXPECT_PARTS(kovra::helper::cmul(C(1, 2), C(3, 4)), -5, 10);
  // x*x is inexact here; ac - bd with ac == bd is exactly 0 only if neither product is fused into the
  // subtraction.
  const R x = R(1) + std::ldexp(R(1), -(std::numeric_limits<R>::digits + 1) / 2);
  const R square = x * x;
  ASSERT_NE(std::fma(x, x, -square), R(0));
  EXPECT_PARTS(kovra::helper::cmul(C(x, x), C(x, x)), 0, square + square);
}

TYPED_TEST(ComplexArith, ProductRecoversInfiniteOperands) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  const R inf = TestFixture::inf, nan = TestFixture::nan;
  // First operand infinite, the other finite.
  EXPECT_PARTS(kovra::helper::cmul(C(inf, inf), C(1, 0)), inf, inf);
  // NaN part of an infinite operand counts as 0.
  EXPECT_PARTS(kovra::helper::cmul(C(inf, nan), C(2, 3)), inf, inf);
  // Second operand infinite, with signs kept.
  EXPECT_PARTS(kovra::helper::cmul(C(2, 3), C(-inf, nan)), -inf, -inf);
  // The NaN part of the finite operand becomes 0; the recomputed product may still hold one NaN.
  EXPECT_PARTS(kovra::helper::cmul(C(-inf, 0), C(nan, 1)), nan, -inf);
  // Both operands infinite.
  EXPECT_PARTS(kovra::helper::cmul(C(inf, nan), C(inf, nan)), inf, nan);
}

TYPED_TEST(ComplexArith, ProductRecoversOverflowedPartialProducts) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  const R big = std::numeric_limits<R>::max() / 2, nan = TestFixture::nan, inf = TestFixture::inf;
  // No operand is infinite, but big*big is; the NaN part is then taken as 0.
  EXPECT_PARTS(kovra::helper::cmul(C(big, nan), C(big, 1)), inf, inf);
}

TYPED_TEST(ComplexArith, ProductLeavesOtherNaNResultsAsTheyAre) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  const R inf = TestFixture::inf, nan = TestFixture::nan;
  // Both parts NaN, nothing infinite anywhere: no recovery.
  EXPECT_PARTS(kovra::helper::cmul(C(nan, 1), C(1, 1)), nan, nan);
  // Only one part NaN: the plain result stands although an operand is infinite.
  EXPECT_PARTS(kovra::helper::cmul(C(inf, 0), C(1, 0)), inf, nan);
}

TYPED_TEST(ComplexArith, QuotientUsesSmithsFormOnBothSides) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  EXPECT_PARTS(kovra::helper::cdiv(C(5, 5), C(1, 2)), 3, -1);
  EXPECT_PARTS(kovra::helper::cdiv(C(5, 5), C(2, 1)), 3, 1);
  // Equal magnitudes take the second form; the first would give an imaginary part of -0 here.
  EXPECT_PARTS(kovra::helper::cdiv(C(0, R(-0.0)), C(1, -1)), 0, 0);
  // |c|^2 + |d|^2 would overflow here; the scaled form does not.
  const R big = std::numeric_limits<R>::max() / 4;
  EXPECT_PARTS(kovra::helper::cdiv(C(big, big), C(big, big)), 1, 0);
  EXPECT_PARTS(kovra::helper::cdiv(C(big, -big), C(-big, -big)), R(-0.0), 1);
}

// Smith's form with each operation rounded by itself, also where the calls sit in a loop that the
// compiler vectorises (x86 has fused multiply-add-subtract instructions that fit its sums).
TYPED_TEST(ComplexArith, QuotientStaysUnfusedInLoops) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  constexpr int n = 64;
  volatile int stride = 2;  // not known to the compiler: the loop below stays a general strided one
  const int inc = stride;
  C x[n * 2], q[n * 2];
  for (int i = 0; i < n * 2; ++i) x[i] = C(R(1) / R(3 + i), R(i % 7) - R(2.5) / R(5 + i));
  const C divisors[] = {C(R(0.7), R(-1.3)), C(R(-1.9), R(0.3))};  // one for each form
  for (const C& y : divisors) {
    for (int i = 0; i < n; ++i) q[i * inc] = kovra::helper::cdiv(x[i * inc], y);
    for (int i = 0; i < n; ++i) {
      const R a = x[i * inc].real(), b = x[i * inc].imag(), c = y.real(), d = y.imag();
      volatile R r, s, ar, br;
      if (std::fabs(c) < std::fabs(d)) {
        r = c / d;
        const volatile R cr = c * r;
        s = cr + d;
        ar = a * r;
        br = b * r;
        EXPECT_PARTS(q[i * inc], (ar + b) / s, (br - a) / s);
      } else {
        r = d / c;
        const volatile R dr = d * r;
        s = dr + c;
        ar = a * r;
        br = b * r;
        EXPECT_PARTS(q[i * inc], (br + a) / s, (b - ar) / s);
      }
    }
  }
}

TYPED_TEST(ComplexArith, QuotientByZeroIsInfinityWithTheSignOfTheDivisor) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  const R inf = TestFixture::inf, nan = TestFixture::nan;
  EXPECT_PARTS(kovra::helper::cdiv(C(1, -2), C(0, 0)), inf, -inf);
  EXPECT_PARTS(kovra::helper::cdiv(C(1, -2), C(R(-0.0), 0)), -inf, inf);
  // A dividend that is not all NaN still gets the infinite factor, part by part.
  EXPECT_PARTS(kovra::helper::cdiv(C(nan, 1), C(0, 0)), nan, inf);
  EXPECT_PARTS(kovra::helper::cdiv(C(0, 0), C(0, 0)), nan, nan);
  EXPECT_PARTS(kovra::helper::cdiv(C(nan, nan), C(0, 0)), nan, nan);
}

TYPED_TEST(ComplexArith, QuotientRecoversInfiniteOperands) {
  using R = TypeParam;
  using C = typename TestFixture::C;
  const R inf = TestFixture::inf, nan = TestFixture::nan;
  // Infinite dividend over a finite divisor.
  EXPECT_PARTS(kovra::helper::cdiv(C(inf, nan), C(1, 1)), inf, -inf);
  EXPECT_PARTS(kovra::helper::cdiv(C(-inf, inf), C(0, 2)), inf, inf);
  // Finite dividend over an infinite divisor: zeros, signed by the plain formula.
  EXPECT_PARTS(kovra::helper::cdiv(C(1, 1), C(inf, inf)), 0, 0);
  EXPECT_PARTS(kovra::helper::cdiv(C(2, 1), C(-inf, inf)), R(-0.0), R(-0.0));
  // Infinite over infinite fits neither rule.
  EXPECT_PARTS(kovra::helper::cdiv(C(inf, 0), C(inf, 0)), nan, nan);
  // Only one part NaN: the plain result stands.
  EXPECT_PARTS(kovra::helper::cdiv(C(inf, 0), C(1, 0)), inf, nan);
}

}  // namespace
