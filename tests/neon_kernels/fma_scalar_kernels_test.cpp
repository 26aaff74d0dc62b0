// kernel_neon_fma_scalar<float> and <double>: every operation they replace against a scalar model of
// the arithmetic they promise (fused multiply-adds throughout), bit for bit, and whole matrix products
// against the portable kernel. The kernels are built with VFPv4, so on a processor without it every
// test here skips.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "kernels/blocking.h"
#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "neon_test_support.h"

namespace kovra_test {
using namespace kovra::kernels;
namespace {

using models::accumulation;
using kovra_test::all_same_bits;
using kovra_test::random_values;
using kovra_test::sentinel;

template <typename T> class fma_scalar_kernel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!processor_has_vfpv4()) GTEST_SKIP() << no_vfpv4;
    kernel = make_kernel_neon_fma_scalar<T>();
  }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(fma_scalar_kernel, real_types);

// On a 32-byte boundary with 32 bytes of sentinel either side.
template <typename T> constexpr block_layout aligned{32 / sizeof(T), 32, 0};
// C by itself, its rows between columns holding the sentinel.
constexpr block_layout bare{0, 1, 0};

TYPED_TEST(fma_scalar_kernel, packers_match_the_default_bodies) {
  check_packers(*this->kernel, aligned<TypeParam>, 0, 0);
}

// The step counts exercise the singles (k mod 4) and the groups of four.
TYPED_TEST(fma_scalar_kernel, micro_kernel_matches_its_arithmetic) {
  check_real_micro_kernel<accumulation::fused, accumulation::fused>(
      *this->kernel, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 127, 128}, aligned<TypeParam>, bare);
}

TYPED_TEST(fma_scalar_kernel, axpy_kernel_runs_every_stage) {
  check_axpy_stages(*this->kernel, [](int, int) { return true; });
}

TYPED_TEST(fma_scalar_kernel, scal_kernel_scales_and_clears) { check_scal(*this->kernel); }

// Crossing blocks of every dimension, with every transpose, a clearing and an accumulating beta: the
// kernel's results and the portable kernel's agree with the reference to rounding.
TYPED_TEST(fma_scalar_kernel, gemm_agrees_with_the_portable_kernel) {
  using T = TypeParam;
  check_gemm<T>(this->kernel,
                {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9}, {'C', 'C', 30, 17, 257},
                 {'N', 'N', 515, 13, 12}},
                {T(-0.625)}, {T(0), T(0.5)}, std::make_shared<kernel_object<T>>(plain_blocking<T>::value));
}

class fma_scalar_float_kernel : public fma_scalar_kernel<float> {};

// micro_kernel_t: the same product without alpha, stored by rows, old C added with a plain addition.
TEST_F(fma_scalar_float_kernel, micro_kernel_t_stores_rows) {
  const int mr = 8, nr = 4, ldc = nr + 3;
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 33}) {
    const guarded_block<float> a(random_values<float>(mr * k, 41 + k), aligned<float>);
    const guarded_block<float> b(random_values<float>(nr * k, 42 + k), aligned<float>);
    for (bool clear : {false, true}) {
      std::vector<float> c(ldc * mr, sentinel<float>());
      const std::vector<float> old = random_values<float>(ldc * mr, 43 + k);
      std::vector<float> want = c;
      for (int i = 0; i < mr; ++i)
        for (int j = 0; j < nr; ++j) {
          const int at = j + i * ldc;
          const float sum = models::panel_sum<accumulation::fused>(k, a.data(), mr, i, b.data(), nr, j);
          c[at] = clear ? std::numeric_limits<float>::quiet_NaN() : old[at];
          want[at] = clear ? sum : old[at] + sum;
        }
      kernel->micro_kernel_t(k, a.data(), b.data(), c.data(), ldc, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

}  // namespace
}  // namespace kovra_test
