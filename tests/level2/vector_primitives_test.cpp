// The Level 2 vector primitives: where strided operands are read and written for every increment sign,
// the quick returns, zero scaling without reads, and the summation order of the dots.
#include <gtest/gtest.h>

#include <complex>
#include <limits>
#include <vector>

#include "parallel/blas/level2/vector_primitives.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra::testing {
namespace {

using namespace parallel::blas;

template <typename T>
class VectorPrimitives : public ::testing::Test {};
TYPED_TEST_SUITE(VectorPrimitives, element_types, element_type_names);

const int increments[] = {1, 2, -1, -3};

// y + alpha*v as the scalar loops compute it: one fused step, or the full complex product and two sums.
template <typename T>
T fused_step(T alpha, T v, T y) {
  return helper::multiply_add(alpha, v, y);
}

TYPED_TEST(VectorPrimitives, GatherAndScatterFollowLogicalOrder) {
  using T = TypeParam;
  const int n = 7;
  const auto values = random_values<T>(n, 3);
  for (int inc : increments) {
    SCOPED_TRACE(::testing::Message() << "inc=" << inc);
    strided_vector<T> x(n, inc, values);
    std::vector<T> buf(n + 1, sentinel<T>());
    vec_gather(n, x.data(), inc, buf.data());
    EXPECT_TRUE(all_same_bits(std::vector<T>(buf.begin(), buf.begin() + n), values));
    EXPECT_TRUE(same_bits(buf[n], sentinel<T>()));

    strided_vector<T> y(n, inc, std::vector<T>(n, T(0)));
    vec_scatter(n, buf.data(), y.data(), inc);
    EXPECT_TRUE(all_same_bits(y.logical(), values));
    EXPECT_TRUE(y.guards_intact());
  }
}

TYPED_TEST(VectorPrimitives, ScaleByZeroStoresZerosUnreadAndSkipsNonPositiveIncrements) {
  using T = TypeParam;
  const int n = 9;
  for (int inc : {1, 2}) {
    strided_vector<T> y(n, inc, std::vector<T>(n, nan_element<T>()));
    vec_scale(n, T(0), y.data(), inc);
    EXPECT_TRUE(all_same_bits(y.logical(), std::vector<T>(n, T(0)))) << "inc=" << inc;
    EXPECT_TRUE(y.guards_intact());
  }
  const auto values = random_values<T>(n, 5);
  strided_vector<T> backwards(n, -1, values);
  vec_scale(n, make<T>(2, 1), backwards.data(), -1);
  EXPECT_TRUE(all_same_bits(backwards.logical(), values));

  strided_vector<T> strided(n, 3, values);
  const T beta = make<T>(0.5, -2);
  vec_scale(n, beta, strided.data(), 3);
  std::vector<T> expected;
  for (const T& v : values) expected.push_back(helper::mul(beta, v));
  EXPECT_TRUE(all_same_bits(strided.logical(), expected));
  EXPECT_TRUE(strided.guards_intact());
}

// The strided updates are scalar fused steps and must match them bit for bit; the unit-increment forms
// run the selected kernel's vector operation, which may round its products separately.
TYPED_TEST(VectorPrimitives, AxpyFormsUpdateTheRightElements) {
  using T = TypeParam;
  const int n = 11;
  const T alpha = make<T>(0.75, -0.5);
  const auto a = random_values<T>(n, 7);
  const auto start = random_values<T>(n, 8);
  const double tolerance = 4 * std::numeric_limits<real_t<T>>::epsilon();
  for (int inc : increments) {
    SCOPED_TRACE(::testing::Message() << "inc=" << inc);
    std::vector<T> forward, reversed;
    for (int i = 0; i < n; ++i) {
      forward.push_back(fused_step(alpha, a[i], start[i]));
      reversed.push_back(fused_step(alpha, a[n - 1 - i], start[i]));
    }
    strided_vector<T> y(n, inc, start);
    vec_axpy(n, alpha, a.data(), y.data(), inc);
    if (inc == 1) EXPECT_TRUE(all_near(y.logical(), forward, tolerance));
    else EXPECT_TRUE(all_same_bits(y.logical(), forward));
    EXPECT_TRUE(y.guards_intact());

    strided_vector<T> rev(n, inc, start);
    vec_axpy_rev(n, alpha, a.data(), rev.data(), inc);
    EXPECT_TRUE(all_same_bits(rev.logical(), reversed));
    EXPECT_TRUE(rev.guards_intact());

    strided_vector<T> x(n, inc, a);
    std::vector<T> contiguous = start;
    vec_axpy_gather(n, alpha, x.data(), inc, contiguous.data());
    if (inc == 1) EXPECT_TRUE(all_near(contiguous, forward, tolerance));
    else EXPECT_TRUE(all_same_bits(contiguous, forward));
  }
}

TYPED_TEST(VectorPrimitives, ZeroAlphaOrEmptyUpdatesReadNothing) {
  using T = TypeParam;
  const std::vector<T> poison(4, nan_element<T>());
  const std::vector<T> start = random_values<T>(4, 9);
  for (int inc : {1, -2}) {
    strided_vector<T> y(4, inc, start);
    vec_axpy(4, T(0), poison.data(), y.data(), inc);
    vec_axpy_rev(4, T(0), poison.data(), y.data(), inc);
    vec_axpy(0, T(1), poison.data(), y.data(), inc);
    EXPECT_TRUE(all_same_bits(y.logical(), start));
    std::vector<T> contiguous = start;
    vec_axpy_gather(4, T(0), poison.data(), inc, contiguous.data());
    EXPECT_TRUE(all_same_bits(contiguous, start));
  }
  EXPECT_TRUE(same_bits(vec_dot(0, poison.data(), poison.data(), 1), T(0)));
}

// One accumulator in index order: 1e16 + 1 rounds back to 1e16, the next term cancels it and the last
// 1 survives. Two accumulators, a pairwise sum or a reversed walk would give 2 or 0.
TYPED_TEST(VectorPrimitives, DotsSumInIndexOrderWithOneAccumulator) {
  using T = TypeParam;
  using R = real_t<T>;
  const R big = std::is_same_v<R, float> ? R(1e9) : R(1e17);
  const std::vector<T> ones(4, T(1));
  const std::vector<T> terms = {make<T>(big), T(1), make<T>(-big), T(1)};
  for (int inc : increments) {
    strided_vector<T> x(4, inc, terms);
    EXPECT_TRUE(same_bits(vec_dot(4, ones.data(), x.data(), inc), T(1))) << "inc=" << inc;
    EXPECT_TRUE(same_bits(vec_dot_rev(4, ones.data(), x.data(), inc), T(1))) << "inc=" << inc;
  }
  // With a read backwards the first term met is the last of `a`.
  const std::vector<T> reversed_terms = {T(1), make<T>(-big), T(1), make<T>(big)};
  EXPECT_TRUE(same_bits(vec_dot_rev(4, reversed_terms.data(), ones.data(), 1), T(1)));
  EXPECT_FALSE(same_bits(vec_dot(4, reversed_terms.data(), ones.data(), 1), T(1)));
}

TYPED_TEST(VectorPrimitives, ConjugatedDotsConjugateTheContiguousOperand) {
  using T = TypeParam;
  const std::vector<T> a = {make<T>(1, 2), make<T>(3, -1)};
  const std::vector<T> x = {make<T>(2, 1), make<T>(-1, 4)};
  // conj(a) . x = (1-2i)(2+i) + (3+i)(-1+4i) = (4-3i) + (-7+11i); a . x = (0+5i) + (1+13i).
  const T conjugated = is_complex_v<T> ? make<T>(-3, 8) : make<T>(-1);
  const T plain = is_complex_v<T> ? make<T>(1, 18) : make<T>(-1);
  EXPECT_TRUE(same_bits(vec_dotc(2, a.data(), x.data(), 1), conjugated));
  EXPECT_TRUE(same_bits(vec_dot(2, a.data(), x.data(), 1), plain));
  // Reversed: conj(a[1]) x[0] + conj(a[0]) x[1] = (3+i)(2+i) + (1-2i)(-1+4i) = (5+5i) + (7+6i).
  const T conjugated_rev = is_complex_v<T> ? make<T>(12, 11) : make<T>(3 * 2 + 1 * -1);
  EXPECT_TRUE(same_bits(vec_dotc_rev(2, a.data(), x.data(), 1), conjugated_rev));
}

}  // namespace
}  // namespace kovra::testing
