// The vector kernels of the default kernel (axpy_kernel, scal_kernel) against reference loops, bit for
// bit, and the routing of every complex body through the full complex product.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/element_types.h"
#include "support/values.h"
#include "kernels/kernel_object.h"

namespace {

using namespace kovra_test;
using kovra::kernels::kernel_object;

template <typename T> class VectorKernels : public testing::Test {
 protected:
  const kernel_object<T> kernel{kovra::kernels::plain_blocking<T>::value};
  static constexpr int guard = 3;
};
TYPED_TEST_SUITE(VectorKernels, element_types, element_type_names);

// Counts below 1 must leave everything alone, like the reference loops.
TYPED_TEST(VectorKernels, AxpyAddsAlphaTimesX) {
  using T = TypeParam;
  value_source values(31);
  for (int n : {-3, 0, 1, 7, 33}) {
    const std::size_t len = std::max(n, 0);
    const std::vector<T> x = values.vector<T>(len + 1);
    const T alpha = values.next<T>();
    std::vector<T> y = values.vector<T>(len);
    y.resize(len + this->guard, sentinel<T>());
    std::vector<T> expected = y;
    for (int i = 0; i < n; ++i) {
      if constexpr (kovra::is_complex_v<T>) expected[i] = plain_add(y[i], plain_mul(alpha, x[i]));
      else expected[i] = std::fma(x[i], alpha, y[i]);
    }
    this->kernel.axpy_kernel(n, &alpha, x.data(), y.data());
    EXPECT_TRUE(all_same_bits(y, expected)) << "n=" << n;
  }
}

TYPED_TEST(VectorKernels, ScalMultipliesByAlpha) {
  using T = TypeParam;
  value_source values(32);
  std::vector<T> alphas{values.next<T>()};
  // A complex alpha with real part zero is not zero: it scales.
  if constexpr (kovra::is_complex_v<T>) alphas.push_back(T(0, 2));
  for (const T& alpha : alphas)
    for (int n : {-3, 0, 1, 7, 33}) {
      const std::size_t len = std::max(n, 0);
      std::vector<T> x = values.vector<T>(len);
      x.resize(len + this->guard, sentinel<T>());
      std::vector<T> expected = x;
      for (int i = 0; i < n; ++i) expected[i] = plain_mul(alpha, x[i]);
      this->kernel.scal_kernel(n, &alpha, x.data());
      EXPECT_TRUE(all_same_bits(x, expected)) << "n=" << n << " alpha=" << describe(alpha);
    }
}

TYPED_TEST(VectorKernels, ScalByZeroClearsNaNAndInfinityWithoutReading) {
  using T = TypeParam;
  using R = kovra::real_t<T>;
  const R inf = std::numeric_limits<R>::infinity();
  std::vector<T> zeros;
  if constexpr (kovra::is_complex_v<T>) zeros = {T(0, 0), T(0, R(-0.0)), T(R(-0.0), 0), T(R(-0.0), R(-0.0))};
  else zeros = {T(0), T(-0.0)};
  for (const T& alpha : zeros)
    for (int n : {-3, 0, 6}) {
      std::vector<T> x(6 + this->guard, sentinel<T>());
      x[1] = T(inf);
      x[2] = T(-inf);
      x[3] = T(1);
      std::vector<T> expected = x;
      for (int i = 0; i < n; ++i) expected[i] = T(0);
      this->kernel.scal_kernel(n, &alpha, x.data());
      EXPECT_TRUE(all_same_bits(x, expected)) << "n=" << n << " alpha=" << describe(alpha);
    }
}

template <typename T> class ComplexBodies : public testing::Test {};
using ComplexTypes = testing::Types<std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(ComplexBodies, ComplexTypes);

// (2 + 3i) times (inf + NaN i) is NaN in both parts by the bare formula; the full product recovers
// (inf, inf), and so must every complex body that multiplies.
TYPED_TEST(ComplexBodies, MultiplyThroughTheFullProduct) {
  using T = TypeParam;
  using R = typename T::value_type;
  const R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN();
  const T alpha(2, 3), infinite(inf, nan), one(1, 1);
  const T expected(inf, inf);
  const kernel_object<T> kernel(1, 1, 1, 1, 1);

  T c = one;
  const T b(1, 0);
  kernel.micro_kernel(&alpha, 1, &infinite, &b, &c, 1, false);
  EXPECT_TRUE(same_bits(c, expected)) << "micro_kernel " << c;

  c = one;
  kernel.micro_kernel_t(1, &infinite, &alpha, &c, 1, false);
  EXPECT_TRUE(same_bits(c, expected)) << "micro_kernel_t " << c;

  T y = one;
  kernel.axpy_kernel(1, &alpha, &infinite, &y);
  EXPECT_TRUE(same_bits(y, expected)) << "axpy_kernel " << y;

  T x = infinite;
  kernel.scal_kernel(1, &alpha, &x);
  EXPECT_TRUE(same_bits(x, expected)) << "scal_kernel " << x;
}

}  // namespace
