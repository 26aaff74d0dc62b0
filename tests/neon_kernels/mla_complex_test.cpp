// kernel_neon_mla for the complex types: the micro kernels against a scalar model of their arithmetic
// (real sums over the interleaved parts, each product rounded before it is added, then each type's own
// end step), bit for bit; the scaling of the complex<double> kernel by alpha.re * (1 + i alpha.im);
// whole matrix products against the reference. These kernels need NEON only, so they run everywhere.
#include <gtest/gtest.h>

#include <complex>
#include <memory>
#include <vector>

#include "kernels/neon/kernel_neon_mla_complex.h"
#include "neon_test_support.h"

namespace kovra_test {
using namespace kovra::kernels;
namespace {

using models::accumulation;

template <typename T> class mla_complex_kernel : public ::testing::Test {
 protected:
  void SetUp() override { kernel = make_kernel_neon_mla<T>(); }
  std::shared_ptr<kernel_object<T>> kernel;
};

using complex_types = ::testing::Types<std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(mla_complex_kernel, complex_types);

// Panels one real part past a 16-byte boundary, so that neither a vector nor a complex element boundary
// of twice the part's size holds, with 96 bytes of sentinel either side: the kernels read up to two A
// steps past a panel, and a sentinel that reached a result would show as NaN.
template <typename T> guarded_block<real_t<T>> misaligned_panel(const std::vector<T>& values) {
  return interleaved_block(values, block_layout{int(96 / sizeof(real_t<T>)), 16, 1});
}
// C one element into its buffer, its rows between columns holding the sentinel.
constexpr block_layout one_in{0, 1, 1};

// Step counts for the singles (k mod 4) and the groups of four, on panels and C off every vector
// boundary.
TYPED_TEST(mla_complex_kernel, micro_kernel_matches_its_arithmetic) {
  check_complex_micro_kernel<accumulation::rounded>(
      *this->kernel, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 63, 64, 131}, misaligned_panel<TypeParam>, one_in);
}

class mla_cdouble_kernel : public mla_complex_kernel<std::complex<double>> {};

TEST_F(mla_cdouble_kernel, alpha_acts_as_its_real_part_times_one_plus_i_imaginary) {
  check_alpha_factor<accumulation::rounded>(*kernel, misaligned_panel<std::complex<double>>);
}

TYPED_TEST(mla_complex_kernel, gemm_agrees_with_the_reference) { check_complex_gemm(this->kernel); }

}  // namespace
}  // namespace kovra_test
