// The kovra::helper functions through which generic code treats real and complex elements alike.
#include <cerrno>
#include <cmath>
#include <complex>
#include <limits>

#include <gtest/gtest.h>

#include "helper/helper.h"

namespace {

using namespace kovra::helper;

TEST(Helper, MaxMinOfSignedInts) {
  EXPECT_EQ(MAX(1, -5), 1);
  EXPECT_EQ(MAX(-7, -5), -5);
  EXPECT_EQ(MIN(1, -5), -5);
  EXPECT_EQ(MIN(3, 3), 3);
}

template <typename T> class ConjgTest : public testing::Test {};
using ElementTypes = testing::Types<float, double, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(ConjgTest, ElementTypes);

TYPED_TEST(ConjgTest, NegatesImaginaryPartOnlyWhenAskedAndOnlyForComplex) {
  using T = TypeParam;
  if constexpr (kovra::is_complex_v<T>) {
    const T v(1.5, -2.25);
    EXPECT_EQ(CONJG<T>(true, v), T(1.5, 2.25));
    EXPECT_EQ(CONJG<T>(false, v), v);
    // A +0 imaginary part comes out as -0.
    EXPECT_TRUE(std::signbit(CONJG<T>(true, T(3, 0)).imag()));
  } else {
    EXPECT_EQ(CONJG<T>(true, T(-1.5)), T(-1.5));
    EXPECT_EQ(CONJG<T>(false, T(2)), T(2));
    EXPECT_TRUE(std::signbit(CONJG<T>(true, T(-0.0))));
  }
}

TEST(Helper, RealImagGiveTheAbsoluteSumOfPartsForEveryType) {
  // ABS(REAL(v)) + ABS(IMAG(v)) is the one formula of ASUM and IAMAX for real and complex elements.
  EXPECT_EQ(ABS(REAL(-3.0f)) + ABS(IMAG(-3.0f)), 3.0f);
  EXPECT_EQ(ABS(REAL(-3.0)) + ABS(IMAG(-3.0)), 3.0);
  EXPECT_EQ(ABS(REAL(std::complex<float>(-3, 4))) + ABS(IMAG(std::complex<float>(-3, 4))), 7.0f);
  EXPECT_EQ(ABS(REAL(std::complex<double>(3, -4))) + ABS(IMAG(std::complex<double>(3, -4))), 7.0);
}

TEST(Helper, AbsAndSqrtFollowIeee) {
  EXPECT_FALSE(std::signbit(ABS(-0.0f)));
  EXPECT_EQ(ABS(-std::numeric_limits<double>::infinity()), std::numeric_limits<double>::infinity());
  EXPECT_EQ(SQRT(6.25f), 2.5f);
  EXPECT_EQ(SQRT(2.0), std::sqrt(2.0));
  errno = 0;
  EXPECT_TRUE(std::isnan(SQRT(-1.0)));
  EXPECT_EQ(errno, EDOM);
  errno = 0;
  EXPECT_TRUE(std::isnan(SQRT(-4.0f)));
  EXPECT_EQ(errno, EDOM);
}

TEST(Helper, IsZeroIsExactOnBothParts) {
  EXPECT_TRUE(is_zero(-0.0));
  EXPECT_FALSE(is_zero(std::numeric_limits<float>::denorm_min()));
  EXPECT_FALSE(is_zero(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(is_zero(std::complex<float>(0.0f, -0.0f)));
  EXPECT_TRUE(is_zero(std::complex<double>(-0.0, 0.0)));
  EXPECT_FALSE(is_zero(std::complex<double>(0.0, 1e-300)));
  EXPECT_FALSE(is_zero(std::complex<float>(std::numeric_limits<float>::quiet_NaN(), 0.0f)));
}

}  // namespace
