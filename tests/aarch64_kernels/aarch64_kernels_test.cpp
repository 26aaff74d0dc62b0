// The AArch64 kernels, bit for bit, by the checks of every vector kernel (support/vector_kernel_checks.h): their
// depths run the tiles' loops of eight steps none to two rounds with every remainder, the float tile's A registers
// ending in either triple.
#include <gtest/gtest.h>

#include "kernels/aarch64/kernel_aarch64.h"
#include "support/vector_kernel_checks.h"

namespace kovra_test {
namespace {

template <typename T> class AArch64Kernels : public ::testing::Test {
 protected:
  const kernels::aarch64_kernel<T> kern;
};
TYPED_TEST_SUITE(AArch64Kernels, element_types, element_type_names);

TYPED_TEST(AArch64Kernels, MicroKernelsMatchTheModelAndThePortableBodies) { check_micro_kernels(this->kern, "a64"); }

TYPED_TEST(AArch64Kernels, AxpyAndScalMatchThePortableKernel) { check_axpy_and_scal(this->kern); }

TYPED_TEST(AArch64Kernels, MicroKernelsReadNothingPastThePanels) { check_panel_ends(this->kern); }

TYPED_TEST(AArch64Kernels, TilePackersMatchThePortableOnes) { check_tile_packers(this->kern); }

}  // namespace
}  // namespace kovra_test
