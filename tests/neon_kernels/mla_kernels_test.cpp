// kernel_neon_mla<float> and <double>: every operation they replace against a scalar model of the
// arithmetic they promise (product rounded, then added), bit for bit, and whole matrix products against
// the reference. These kernels need NEON only, so they run on every ARMv7 NEON processor.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "kernels/neon/kernel_neon_mla.h"
#include "neon_test_support.h"

namespace kovra_test {
using namespace kovra::kernels;
namespace {

using models::accumulation;

template <typename T> class mla_kernel : public ::testing::Test {
 protected:
  void SetUp() override { kernel = make_kernel_neon_mla<T>(); }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(mla_kernel, real_types);

// One element past a 16-byte boundary, so that nothing is vector-aligned, with the sentinel for three
// tile steps either side.
constexpr block_layout misaligned{3 * 8, 16, 1};

// The packers write to a destination with element alignment only.
TYPED_TEST(mla_kernel, packers_match_the_default_bodies) { check_packers(*this->kernel, misaligned, 1, 0); }

// The step counts exercise the singles (k mod 4) and the groups of four; panels and C are misaligned.
TYPED_TEST(mla_kernel, micro_kernel_matches_its_arithmetic) {
  check_real_micro_kernel<accumulation::rounded, accumulation::rounded>(
      *this->kernel, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 127, 128}, misaligned, misaligned);
}

// The vector stages of axpy round the product; the scalar tail (float: below n rounded down to 4;
// double: the odd last element) is fused.
TYPED_TEST(mla_kernel, axpy_kernel_runs_every_stage) {
  check_axpy_stages(*this->kernel,
                    [](int i, int n) { return sizeof(TypeParam) == 4 ? i >= n / 4 * 4 : i >= n / 2 * 2; });
}

// With alpha = x = 1 + e and y = -1, the exact result is 2e + e*e. Two roundings lose e*e (it is below
// half an ulp of the product), one keeps it: the first sixteen of seventeen floats, and the first two
// of three doubles, show 2e; the last ones show 2e + e*e.
TYPED_TEST(mla_kernel, axpy_kernel_rounds_the_tail_once) {
  using T = TypeParam;
  const T e = std::ldexp(T(1), sizeof(T) == 4 ? -12 : -27);
  const int n = sizeof(T) == 4 ? 17 : 3;
  const T alpha = 1 + e;
  const std::vector<T> x(n, 1 + e);
  std::vector<T> y(n, T(-1));
  this->kernel->axpy_kernel(n, &alpha, x.data(), y.data());
  for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], i < n - 1 ? 2 * e : 2 * e + e * e) << "i=" << i;
}

TYPED_TEST(mla_kernel, scal_kernel_scales_and_clears) { check_scal(*this->kernel); }

// Crossing blocks of every dimension, with every transpose, a clearing and an accumulating beta.
TYPED_TEST(mla_kernel, gemm_agrees_with_the_reference) {
  using T = TypeParam;
  check_gemm<T>(this->kernel,
                {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9}, {'C', 'C', 30, 17, 257},
                 {'N', 'N', 515, 13, 12}},
                {T(-0.625)}, {T(0), T(0.5)});
}

}  // namespace
}  // namespace kovra_test
