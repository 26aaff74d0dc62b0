// The Level 2 vector primitives: where strided operands are read and written for every increment sign,
// zero scaling without reads, the updates that read nothing, and the summation order of the dots.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "parallel/blas/level2/vector_primitives.h"
#include "support/element_types.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

template <typename T>
class VectorPrimitives : public ::testing::Test {};
TYPED_TEST_SUITE(VectorPrimitives, element_types, element_type_names);

const int increments[] = {1, 2, -1, -3};

// A zero beta stores zeros over NaN; a non-positive increment is left alone; a strided beta multiplies.
TYPED_TEST(VectorPrimitives, ScaleStoresZerosUnreadAndSkipsNonPositiveIncrements) {
  using T = TypeParam;
  const int n = 9;
  const auto values = random_values<T>(n, 5);
  const T beta = make<T>(0.5, -2);
  for (int inc : {1, 2, -1, 3}) {
    strided_vector<T> nans(n, inc, std::vector<T>(n, nan_element<T>())), y(n, inc, values);
    vec_scale(n, T(0), nans.data(), inc);
    vec_scale(n, beta, y.data(), inc);
    std::vector<T> expected;
    for (const T& v : values) expected.push_back(inc < 1 ? v : helper::mul(beta, v));
    EXPECT_TRUE(all_same_bits(nans.logical(), std::vector<T>(n, inc < 1 ? nan_element<T>() : T(0)))) << inc;
    EXPECT_TRUE(inc == 1 ? all_near(y.logical(), expected, 16 * std::numeric_limits<real_t<T>>::epsilon())
                         : all_same_bits(y.logical(), expected)) << inc;
    EXPECT_TRUE(nans.guards_intact());
    EXPECT_TRUE(y.guards_intact());
  }
}

// Gather and scatter follow logical order. The strided updates are scalar fused steps, bit for bit; the
// unit-increment forms run the kernel's vector operation, which may round its products separately. A
// zero alpha or length reads nothing.
TYPED_TEST(VectorPrimitives, StridedOperandsAreReadAndWrittenInLogicalOrder) {
  using T = TypeParam;
  const int n = 11;
  const T alpha = make<T>(0.75, -0.5);
  const auto a = random_values<T>(n, 7), start = random_values<T>(n, 8);
  const std::vector<T> nans(n, nan_element<T>());
  const double tolerance = 4 * std::numeric_limits<real_t<T>>::epsilon();
  for (int inc : increments) {
    std::vector<T> forward, reversed;
    for (int i = 0; i < n; ++i) {
      forward.push_back(helper::multiply_add(alpha, a[i], start[i]));
      reversed.push_back(helper::multiply_add(alpha, a[n - 1 - i], start[i]));
    }
    const auto check = [&](const std::vector<T>& got, const std::vector<T>& want, bool exact) {
      EXPECT_TRUE(exact ? all_same_bits(got, want) : all_near(got, want, tolerance)) << "inc " << inc;
    };
    strided_vector<T> y(n, inc, start), rev(n, inc, start), x(n, inc, a), scattered(n, inc, nans);
    std::vector<T> buf(n + 1, sentinel<T>());
    vec_gather(n, x.data(), inc, buf.data());
    EXPECT_TRUE(same_bits(buf[n], sentinel<T>()));
    buf.pop_back();
    check(buf, a, true);
    vec_scatter(n, buf.data(), scattered.data(), inc);
    check(scattered.logical(), a, true);
    EXPECT_TRUE(scattered.guards_intact());
    vec_axpy(n, alpha, a.data(), y.data(), inc);
    check(y.logical(), forward, inc != 1);
    vec_axpy_rev(n, alpha, a.data(), rev.data(), inc);
    check(rev.logical(), reversed, true);
    std::vector<T> contiguous = start;
    vec_axpy_gather(n, alpha, x.data(), inc, contiguous.data());
    check(contiguous, forward, inc != 1);
    EXPECT_TRUE(y.guards_intact());
    EXPECT_TRUE(rev.guards_intact());

    strided_vector<T> idle(n, inc, start), nan_x(n, inc, nans);
    contiguous = start;
    vec_axpy(n, T(0), nans.data(), idle.data(), inc);
    vec_axpy_rev(n, T(0), nans.data(), idle.data(), inc);
    vec_axpy(0, T(1), nans.data(), idle.data(), inc);
    vec_axpy_gather(n, T(0), nan_x.data(), inc, contiguous.data());
    check(idle.logical(), start, true);
    check(contiguous, start, true);
  }
}

// One accumulator in index order: big + 1 rounds back to big, the next term cancels it and the last 1
// survives. Two accumulators, a pairwise sum or a reversed walk would give 2 or 0.
TYPED_TEST(VectorPrimitives, DotsSumInIndexOrderWithOneAccumulator) {
  using T = TypeParam;
  using R = real_t<T>;
  const R big = std::is_same_v<R, float> ? R(1e9) : R(1e17);
  const std::vector<T> ones(4, T(1)), terms = {make<T>(big), T(1), make<T>(-big), T(1)};
  for (int inc : increments) {
    strided_vector<T> x(4, inc, terms);
    EXPECT_TRUE(same_bits(vec_dot(4, ones.data(), x.data(), inc), T(1))) << inc;
    EXPECT_TRUE(same_bits(vec_dot_rev(4, ones.data(), x.data(), inc), T(1))) << inc;
  }
  const std::vector<T> reversed = {T(1), make<T>(-big), T(1), make<T>(big)};
  EXPECT_TRUE(same_bits(vec_dot_rev(4, reversed.data(), ones.data(), 1), T(1)));
  EXPECT_FALSE(same_bits(vec_dot(4, reversed.data(), ones.data(), 1), T(1)));
  EXPECT_TRUE(same_bits(vec_dot(0, reversed.data(), ones.data(), 1), T(0)));
}

// conj(a) . x = (1-2i)(2+i) + (3+i)(-1+4i) = -3+8i, a . x = 1+18i; reversed, conj(a[1]) x[0] +
// conj(a[0]) x[1] = (3+i)(2+i) + (1-2i)(-1+4i) = 12+11i.
TYPED_TEST(VectorPrimitives, ConjugatedDotsConjugateTheContiguousOperand) {
  using T = TypeParam;
  const std::vector<T> a = {make<T>(1, 2), make<T>(3, -1)}, x = {make<T>(2, 1), make<T>(-1, 4)};
  EXPECT_TRUE(same_bits(vec_dotc(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(-3, 8) : make<T>(-1)));
  EXPECT_TRUE(same_bits(vec_dot(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(1, 18) : make<T>(-1)));
  EXPECT_TRUE(same_bits(vec_dotc_rev(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(12, 11) : make<T>(5)));
}

}  // namespace
}  // namespace kovra_test
