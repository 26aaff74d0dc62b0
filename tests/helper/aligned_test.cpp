// The aligned helpers: 64-byte alignment, usable memory released with free, and the report when a
// block cannot be had.
#include <climits>
#include <complex>
#include <cstdint>
#include <cstdlib>

#include <gtest/gtest.h>

#include "helper/aligned.h"
#include "support/element_types.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

template <typename T> class AlignedArray : public testing::Test {};
TYPED_TEST_SUITE(AlignedArray, kovra_test::element_types, kovra_test::element_type_names);

TYPED_TEST(AlignedArray, SixtyFourByteAlignedAndWholeCountUsable) {
  using T = TypeParam;
  for (int count : {1, 3, 17, 4096}) {
    CaptureStderr();
    T* block = kovra::helper::aligned_array<T>(count);
    EXPECT_EQ(GetCapturedStderr(), "");
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u) << count;
    // The sanitizer build faults here if the block is shorter than count elements.
    for (int i = 0; i < count; ++i) block[i] = T(i);
    EXPECT_EQ(block[count - 1], T(count - 1));
    std::free(block);
  }
}

TEST(AlignedElements, ImpossibleSizeIsReportedAndGivesNull) {
  CaptureStderr();
  void* block = kovra::helper::aligned_elements(-1, 8);
  EXPECT_EQ(GetCapturedStderr(), "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n");
  EXPECT_EQ(block, nullptr);
}

TEST(AlignedElements, ByteCountOverflowIsReportedNotWrapped) {
  if (sizeof(std::size_t) > 4) GTEST_SKIP() << "INT_MAX elements of 16 bytes fit a 64-bit size_t";
  // On a 32-bit target INT_MAX * 16 wraps to a small number of bytes.
  CaptureStderr();
  void* block = kovra::helper::aligned_array<std::complex<double>>(INT_MAX);
  EXPECT_EQ(GetCapturedStderr(), "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n");
  EXPECT_EQ(block, nullptr);
}

}  // namespace
