// The kovra::helper predicates that every routine's quick returns and conjugations rest on.
#include <cmath>
#include <complex>
#include <limits>

#include <gtest/gtest.h>

#include "helper/helper.h"

namespace {

using namespace kovra::helper;

TEST(Helper, ConjgNegatesTheImaginaryPartOnlyWhenAskedAndOnlyForComplex) {
  EXPECT_EQ(CONJG(true, std::complex<double>(1.5, -2.25)), std::complex<double>(1.5, 2.25));
  EXPECT_EQ(CONJG(false, std::complex<float>(1.5, -2.25)), std::complex<float>(1.5, -2.25));
  // A +0 imaginary part comes out as -0; a real value is left as it is, sign of zero included.
  EXPECT_TRUE(std::signbit(CONJG(true, std::complex<float>(3, 0)).imag()));
  EXPECT_TRUE(std::signbit(CONJG(true, -0.0)));
}

TEST(Helper, ZeroAndOneAreExactOnBothParts) {
  EXPECT_TRUE(is_zero(-0.0));
  EXPECT_FALSE(is_zero(std::numeric_limits<float>::denorm_min()));
  EXPECT_FALSE(is_zero(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(is_zero(std::complex<float>(0.0f, -0.0f)));
  EXPECT_FALSE(is_zero(std::complex<double>(0.0, 1e-300)));
  EXPECT_FALSE(is_zero(std::complex<float>(std::numeric_limits<float>::quiet_NaN(), 0.0f)));
  EXPECT_TRUE(is_one(std::complex<double>(1.0, -0.0)));
  EXPECT_FALSE(is_one(std::complex<double>(1.0, 1e-300)));
  EXPECT_FALSE(is_one(1.0f + std::numeric_limits<float>::epsilon()));
}

}  // namespace
