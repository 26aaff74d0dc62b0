// kernel_neon_fma_scalar for the complex types: the micro kernels against a scalar model of their
// arithmetic (real sums by fused multiply-adds over the interleaved parts, then each type's own end
// step), bit for bit; the scaling of the complex<double> kernel by alpha.re * (1 + i alpha.im); whole
// matrix products against the reference. The kernels are built with VFPv4, so on a processor without
// it every test skips.
#include <gtest/gtest.h>

#include <complex>
#include <memory>
#include <vector>

#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "neon_test_support.h"

namespace kovra_test {
using namespace kovra::kernels;
namespace {

using models::accumulation;

template <typename T> class fma_scalar_complex_kernel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!processor_has_vfpv4()) GTEST_SKIP() << no_vfpv4;
    kernel = make_kernel_neon_fma_scalar<T>();
  }
  std::shared_ptr<kernel_object<T>> kernel;
};

using complex_types = ::testing::Types<std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(fma_scalar_complex_kernel, complex_types);

// Panels on a 32-byte boundary with 64 bytes of sentinel either side: the kernels read up to two A steps
// past a panel, and a sentinel that reached a result would show as NaN.
template <typename T> guarded_block<T> aligned_panel(const std::vector<T>& values) {
  return guarded_block<T>(values, block_layout{int(64 / sizeof(T)), 32, 0});
}
// C by itself, its rows between columns holding the sentinel.
constexpr block_layout bare{0, 1, 0};

// Step counts for the singles (k mod 4) and the groups of four.
TYPED_TEST(fma_scalar_complex_kernel, micro_kernel_matches_its_arithmetic) {
  check_complex_micro_kernel<accumulation::fused>(*this->kernel, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 63, 64},
                                                  aligned_panel<TypeParam>, bare);
}

class fma_scalar_cdouble_kernel : public fma_scalar_complex_kernel<std::complex<double>> {};

TEST_F(fma_scalar_cdouble_kernel, alpha_acts_as_its_real_part_times_one_plus_i_imaginary) {
  check_alpha_factor<accumulation::fused>(*kernel, aligned_panel<std::complex<double>>);
}

TYPED_TEST(fma_scalar_complex_kernel, gemm_agrees_with_the_reference) { check_complex_gemm(this->kernel); }

}  // namespace
}  // namespace kovra_test
