// The x86-64 kernels, bit for bit, by the checks of every vector kernel (support/vector_kernel_checks.h). A kernel
// of a set this processor lacks is skipped.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#include "kernels/x86/kernel_x86.h"
#include "kovra/cpu_features.h"
#include "support/vector_kernel_checks.h"

namespace kovra_test {
namespace {

using kernels::avx2_fma;
using kernels::avx512;

// (element type, instruction set)
using cases =
    ::testing::Types<std::pair<float, avx2_fma>, std::pair<double, avx2_fma>, std::pair<std::complex<float>, avx2_fma>,
                     std::pair<std::complex<double>, avx2_fma>, std::pair<float, avx512>, std::pair<double, avx512>,
                     std::pair<std::complex<float>, avx512>, std::pair<std::complex<double>, avx512>>;

template <typename C> class X86Kernels : public ::testing::Test {
 protected:
  void SetUp() override {  // the instruction sets and register state the selection asks the probe for
    constexpr bool wide = std::is_same_v<typename C::second_type, avx512>;
    const std::uint64_t needs =
        X86_FEATURE_AVX2 | X86_FEATURE_FMA | X86_FEATURE_OS_YMM | (wide ? X86_FEATURE_AVX512F | X86_FEATURE_OS_ZMM : 0);
    if ((android_getCpuFeatures() & needs) != needs)
      GTEST_SKIP() << (wide ? "AVX-512" : "AVX2 with FMA") << " is not usable on this processor and system";
  }
  const kernels::x86_kernel<typename C::first_type, typename C::second_type> kern;
};
TYPED_TEST_SUITE(X86Kernels, cases);

TYPED_TEST(X86Kernels, MicroKernelsMatchTheModelAndThePortableBodies) { check_micro_kernels(this->kern, "x86"); }

TYPED_TEST(X86Kernels, AxpyAndScalMatchThePortableKernel) { check_axpy_and_scal(this->kern); }

TYPED_TEST(X86Kernels, MicroKernelsReadNothingPastThePanels) { check_panel_ends(this->kern); }

TYPED_TEST(X86Kernels, TilePackersMatchThePortableOnes) { check_tile_packers(this->kern); }

}  // namespace
}  // namespace kovra_test
