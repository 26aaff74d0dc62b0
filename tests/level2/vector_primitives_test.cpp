// The order of the Level 2 dots, which no tolerance shows: one accumulator in index order. big + 1 rounds
// back to big, the next term cancels it and the last 1 survives; two accumulators, a pairwise sum or a
// walk in the other direction would give 2 or 0. The conjugated forms conjugate the contiguous operand.
#include "parallel/blas/level2/vector_primitives.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/operands.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

template <typename T>
class VectorPrimitives : public ::testing::Test {};
TYPED_TEST_SUITE(VectorPrimitives, element_types, element_type_names);

TYPED_TEST(VectorPrimitives, DotsSumInIndexOrderWithOneAccumulator) {
  using T = TypeParam;
  using R = real_t<T>;
  const R big = std::is_same_v<R, float> ? R(1e9) : R(1e17);
  const std::vector<T> ones(4, T(1)), terms = {make<T>(big), T(1), make<T>(-big), T(1)};
  for (int inc : {1, 2, -1, -3}) {
    strided_vector<T> x(4, inc, terms);
    EXPECT_TRUE(same_bits(vec_dot(4, ones.data(), x.data(), inc), T(1))) << inc;
    EXPECT_TRUE(same_bits(vec_dot_rev(4, ones.data(), x.data(), inc), T(1))) << inc;
  }
  const std::vector<T> reversed = {T(1), make<T>(-big), T(1), make<T>(big)};
  EXPECT_TRUE(same_bits(vec_dot_rev(4, reversed.data(), ones.data(), 1), T(1)));
  EXPECT_FALSE(same_bits(vec_dot(4, reversed.data(), ones.data(), 1), T(1)));
  // conj(a) . x = (1-2i)(2+i) + (3+i)(-1+4i) = -3+8i; reversed, (3+i)(2+i) + (1-2i)(-1+4i) = 12+11i.
  const std::vector<T> a = {make<T>(1, 2), make<T>(3, -1)}, x = {make<T>(2, 1), make<T>(-1, 4)};
  EXPECT_TRUE(same_bits(vec_dotc(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(-3, 8) : make<T>(-1)));
  EXPECT_TRUE(same_bits(vec_dotc_rev(2, a.data(), x.data(), 1), is_complex_v<T> ? make<T>(12, 11) : make<T>(5)));
}

}  // namespace
}  // namespace kovra_test
