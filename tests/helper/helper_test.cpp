// The helpers every routine rests on: the full complex product and Smith's quotient with their recoveries of
// NaN results, the aligned blocks and the two reporters' texts.
#include "helper/helper.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "error/error.h"
#include "helper/aligned.h"
#include "helper/complex_arith.h"
#include "support/cases.h"
#include "support/values.h"

namespace kovra_test {
namespace {

template <typename R>
class ComplexArith : public testing::Test {};
TYPED_TEST_SUITE(ComplexArith, real_types);

// Each row: x op y and the exact parts expected (NaN matches NaN; -0 is not +0). Products: each operation
// rounded by itself; both parts NaN with an infinite operand (a NaN part of it counting as 0) or an
// overflowed partial product is recomputed; one NaN part stands. Quotients: Smith's form on both sides
// (equal magnitudes take the second), no overflow of |c|^2 + |d|^2, division by zero gives infinity with
// the divisor's sign, an infinite dividend or divisor is recovered, infinite over infinite is not.
TYPED_TEST(ComplexArith, ProductsAndQuotients) {
  using R = TypeParam;
  using C = std::complex<R>;
  const R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN(), z = R(-0.0);
  const R big = std::numeric_limits<R>::max() / 4;
  const R x = R(1) + std::ldexp(R(1), -(std::numeric_limits<R>::digits + 1) / 2);
  struct row {
    bool divide;
    C x, y;
    R re, im;
  };
  // clang-format off
  const row rows[] = {
      {false, {1, 2}, {3, 4}, -5, 10}, {false, {x, x}, {x, x}, 0, x * x + x * x},
      {false, {inf, inf}, {1, 0}, inf, inf}, {false, {inf, nan}, {2, 3}, inf, inf},
      {false, {2, 3}, {-inf, nan}, -inf, -inf}, {false, {-inf, 0}, {nan, 1}, nan, -inf},
      {false, {inf, nan}, {inf, nan}, inf, nan}, {false, {2 * big, nan}, {2 * big, 1}, inf, inf},
      {false, {nan, 1}, {1, 1}, nan, nan}, {false, {inf, 0}, {1, 0}, inf, nan}, {true, {5, 5}, {1, 2}, 3, -1},
      {true, {5, 5}, {2, 1}, 3, 1}, {true, {0, z}, {1, -1}, 0, 0}, {true, {big, big}, {big, big}, 1, 0},
      {true, {big, -big}, {-big, -big}, z, 1}, {true, {1, -2}, {0, 0}, inf, -inf}, {true, {1, -2}, {z, 0}, -inf, inf},
      {true, {nan, 1}, {0, 0}, nan, inf}, {true, {0, 0}, {0, 0}, nan, nan}, {true, {inf, nan}, {1, 1}, inf, -inf},
      {true, {-inf, inf}, {0, 2}, inf, inf}, {true, {1, 1}, {inf, inf}, 0, 0}, {true, {2, 1}, {-inf, inf}, z, z},
      {true, {inf, 0}, {inf, 0}, nan, nan}, {true, {inf, 0}, {1, 0}, inf, nan}};
  // clang-format on
  const auto same = [](R got, R want) {
    return std::isnan(want) ? std::isnan(got) : got == want && std::signbit(got) == std::signbit(want);
  };
  for (const row& r : rows) {
    const C got = r.divide ? helper::cdiv(r.x, r.y) : helper::cmul(r.x, r.y);
    EXPECT_TRUE(same(got.real(), r.re) && same(got.imag(), r.im))
        << r.x << (r.divide ? " / " : " * ") << r.y << " = " << got;
  }
}

// Smith's form with each operation rounded by itself, also in a loop that the compiler vectorises (x86
// has fused multiply-add-subtract instructions that fit its sums).
TYPED_TEST(ComplexArith, QuotientStaysUnfusedInLoops) {
  using R = TypeParam;
  using C = std::complex<R>;
  constexpr int n = 64;
  volatile int stride = 2;  // unknown to the compiler: the loop stays a general strided one
  const int inc = stride;
  C x[n * 2], q[n * 2];
  for (int i = 0; i < n * 2; ++i) x[i] = C(R(1) / R(3 + i), R(i % 7) - R(2.5) / R(5 + i));
  for (const C& y : {C(R(0.7), R(-1.3)), C(R(-1.9), R(0.3))}) {  // one for each form
    for (int i = 0; i < n; ++i) q[i * inc] = helper::cdiv(x[i * inc], y);
    for (int i = 0; i < n; ++i) {
      const R a = x[i * inc].real(), b = x[i * inc].imag(), c = y.real(), d = y.imag();
      const bool first = std::fabs(c) < std::fabs(d);
      const volatile R r = first ? c / d : d / c, t = first ? c * r : d * r, s = first ? t + d : t + c;
      const volatile R ar = a * r, br = b * r;
      const C want = first ? C((ar + b) / s, (br - a) / s) : C((br + a) / s, (b - ar) / s);
      EXPECT_TRUE(same_bits(q[i * inc], want)) << i;
    }
  }
}

template <typename T>
class AlignedArray : public testing::Test {};
TYPED_TEST_SUITE(AlignedArray, element_types, element_type_names);

// 64-byte aligned, the whole count usable (a sanitizer build faults otherwise), released with free.
TYPED_TEST(AlignedArray, AlignedAndWholeCountUsable) {
  using T = TypeParam;
  for (int count : {1, 3, 17, 4096}) {
    T* block = nullptr;
    EXPECT_EQ(stderr_of([&] { block = helper::aligned_array<T>(count); }), "");
    ASSERT_TRUE(block != nullptr && reinterpret_cast<std::uintptr_t>(block) % 64 == 0) << count;
    for (int i = 0; i < count; ++i) block[i] = T(i);
    EXPECT_EQ(block[count - 1], T(count - 1));
    std::free(block);
  }
}

// An impossible size, or (on a 32-bit target) a byte count that would wrap, is reported and gives null.
TEST(AlignedElements, ImpossibleSizesAreReported) {
  const std::string text = "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n";
  void* block = &block;
  EXPECT_EQ(stderr_of([&] { block = helper::aligned_elements(-1, 8); }), text);
  EXPECT_EQ(block, nullptr);
  if (sizeof(std::size_t) > 4) return;
  EXPECT_EQ(stderr_of([&] { block = helper::aligned_array<std::complex<double>>(INT_MAX); }), text);
  EXPECT_EQ(block, nullptr);
}

TEST(Reporters, ExactTexts) {
  EXPECT_EQ(stderr_of([] {
              error::xerbla("GEMM ", 4);
              error::kovra_error("Pointer to image is NULL");
            }),
            report("GEMM ", 4) + "** KOVRA SYSTEM ERROR! Pointer to image is NULL\n");
  EXPECT_EQ(report("TPSV ", 11), "** KOVRA Error!  On Entry to TPSV  parameter number 11 had an illegal value!\n");
}

}  // namespace
}  // namespace kovra_test
