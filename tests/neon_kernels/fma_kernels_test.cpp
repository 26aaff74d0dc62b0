// kernel_neon_fma<float> and <double>: the packers against the default bodies byte for byte, the micro
// kernels against a scalar model of their arithmetic bit for bit, and whole matrix products against the
// reference. The kernels are built with VFPv4, so on a processor without it every test here skips.
#include <gtest/gtest.h>

#include <memory>

#include "kernels/neon/kernel_neon_fma.h"
#include "neon_test_support.h"

namespace kovra_test {
using namespace kovra::kernels;
namespace {

using models::accumulation;

template <typename T> class fma_kernel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!processor_has_vfpv4()) GTEST_SKIP() << no_vfpv4;
    kernel = make_kernel_neon_fma<T>();
  }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(fma_kernel, real_types);

// One element past a 32-byte boundary (the kernels promise to need no more than element alignment),
// with 64 bytes of sentinel either side.
template <typename T> constexpr block_layout misaligned{64 / sizeof(T), 32, 1};
// C by itself, its rows between columns holding the sentinel.
constexpr block_layout bare{0, 1, 0};

// From a source with element alignment only.
TYPED_TEST(fma_kernel, packers_match_the_default_bodies) {
  check_packers(*this->kernel, misaligned<TypeParam>, 1, 1);
}

// Step counts that run only the single steps (1 to 3), only the groups of four (4, 8) and both: a sum of
// fused multiply-adds from +0 in order of depth, a rounded product with alpha, then a plain addition of
// C.
TYPED_TEST(fma_kernel, micro_kernel_matches_its_arithmetic) {
  check_real_micro_kernel<accumulation::fused, accumulation::rounded>(
      *this->kernel, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 31, 128}, misaligned<TypeParam>, bare);
}

// Crossing blocks of every dimension, with every transpose, a clearing and an accumulating beta.
TYPED_TEST(fma_kernel, gemm_agrees_with_the_reference) {
  using T = TypeParam;
  check_gemm<T>(this->kernel,
                {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9}, {'C', 'C', 30, 17, 257},
                 {'T', 'T', 515, 13, 12}},
                {T(-0.625)}, {T(0), T(0.5)});
}

}  // namespace
}  // namespace kovra_test
