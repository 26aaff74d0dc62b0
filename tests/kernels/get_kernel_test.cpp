// get_kernel<T>: one shared object per type, made once even when the first calls race.
#include <complex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/element_types.h"
#include "support/values.h"
#include "kernels/get_kernel.h"

namespace {

using namespace kovra_test;
using kovra::kernels::get_kernel;
using kovra::kernels::kernel_object;

template <typename T> class GetKernel : public testing::Test {};
TYPED_TEST_SUITE(GetKernel, element_types, element_type_names);

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

}  // namespace
