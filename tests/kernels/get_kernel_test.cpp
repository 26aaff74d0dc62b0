// get_kernel<T>: one shared object per type, made once even when the first calls race, with the
// portable kernel's numbers on a processor without NEON.
#include <complex>
#include <cstring>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "element_values.h"
#include "kernels/get_kernel.h"
#include "kovra/cpu_features.h"
#include "platform.h"

namespace {

using namespace kernel_testing;
using kovra::kernels::get_kernel;
using kovra::kernels::kernel_object;

template <typename T> class GetKernel : public testing::Test {};
TYPED_TEST_SUITE(GetKernel, ElementTypes);

// First in this file, and no other test of the binary calls get_kernel, so the threads here make the
// first calls of every type at once.
TYPED_TEST(GetKernel, RacingFirstCallsShareOneObject) {
  using T = TypeParam;
  constexpr int threads = 8;
  std::vector<const kernel_object<T>*> seen(threads);
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) pool.emplace_back([&seen, t] { seen[t] = get_kernel<T>().get(); });
  for (std::thread& thread : pool) thread.join();
  const auto kernel = get_kernel<T>();
  for (const kernel_object<T>* p : seen) EXPECT_EQ(p, kernel.get());
}

TYPED_TEST(GetKernel, RepeatedCallsReturnReferencesToTheSameObject) {
  using T = TypeParam;
  const auto first = get_kernel<T>();
  const auto second = get_kernel<T>();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first.get(), second.get());
  // The singleton's own reference plus these two.
  EXPECT_GE(first.use_count(), 3);
}

TYPED_TEST(GetKernel, PortableKernelHasEightByFourTilesAndFitsTheScratch) {
  using T = TypeParam;
  // A NEON processor gets a NEON kernel; selection_tests check those.
  if (KOVRA_ARM32 && (android_getCpuFeatures() & ARM_FEATURE_NEON)) GTEST_SKIP() << "this processor has NEON";
  const auto kernel = get_kernel<T>();
  ASSERT_NE(kovra::kernels::kernel_name.load(), nullptr);
  EXPECT_STREQ(kovra::kernels::kernel_name.load(), "none");
  EXPECT_EQ(kernel->tile_m, 8);
  EXPECT_EQ(kernel->tile_n, 4);
  EXPECT_EQ(kernel->tile_size, kernel->tile_m * kernel->tile_n);
  EXPECT_EQ(kernel->block_m, 512);
  EXPECT_EQ(kernel->block_n, 16);
  EXPECT_EQ(kernel->block_n % kernel->tile_n, 0);
  EXPECT_EQ(kernel->reserved_hint, 0);
  EXPECT_EQ(kernel->a_block_slack, 0);
  // block_k follows the element width: the packed A block is 512 KiB for every type.
  EXPECT_EQ(std::size_t(kernel->block_m) * kernel->block_k * sizeof(T), std::size_t(512) * 1024);
  const kovra::helper::block_layout layout = kovra::kernels::plan_blocks(*kernel);
  EXPECT_LE(layout.end, kovra::helper::scratch_bytes);
}

}  // namespace
