// The block loop with its two tile stores: the row-major store (micro_kernel_t, for the image
// convolution) gives the column-major store's product laid out by rows, over a kernel of odd tiles whose
// blocks and edge tiles cut every dimension, with the first depth block clearing C or adding to it.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "gemm_call.h"
#include "parallel/blas/level3/block_driver.h"
#include "parallel/blas/level3/packing.h"
#include "support/element_types.h"
#include "support/values.h"

namespace kovra_test {
namespace {

template <typename T>
class BlockDriver : public ::testing::Test {};
TYPED_TEST_SUITE(BlockDriver, element_types, element_type_names);

TYPED_TEST(BlockDriver, RowMajorStoreIsTheTransposedLayoutOfTheColumnMajorOne) {
  using T = TypeParam;
  using namespace parallel::blas;
  // 5 by 3 tiles: a row of the edge tile fits in its leading dimension tile_m, as in every kernel.
  constexpr kernels::kernel_blocking odd_rows{10, 9, 7, 5, 3, 0, 0};
  static_assert(kernels::sound_blocking<T>(odd_rows));
  const auto kernel = std::make_shared<kernels::kernel_object<T>>(odd_rows);
  const auto s = std::make_unique<threading::scratch>();
  const block_buffers<T> buffers(*kernel, s.get());
  const int m = 23, n = 32, k = 17, pad = 3;
  // Small integers: every sum is exact, so the two stores must agree bit for bit.
  std::vector<T> a(m * k), b(k * n);
  for (int i = 0; i < m * k; ++i) a[i] = make<T>(i % 5 - 2, i % 3 - 1);
  for (int i = 0; i < k * n; ++i) b[i] = make<T>(i % 7 - 3, i % 2);
  const auto pack_a = [&](T* packed, int i, int l, int mb, int kb) {
    pack_a_block(*kernel, a.data() + i + m * l, m, packed, mb, kb);
  };
  const auto pack_b = [&](T* packed, int l, int j, int kb, int nb) {
    pack_b_block(*kernel, b.data() + l + k * j, k, packed, kb, nb);
  };
  for (bool clear : {true, false}) {
    std::vector<T> by_columns((m + pad) * n, make<T>(1, -1)), by_rows((n + pad) * m, make<T>(1, -1));
    if (clear) by_columns.assign(by_columns.size(), nan_element<T>()), by_rows.assign(by_rows.size(), nan_element<T>());
    for (int j = 0; j < n; ++j) by_columns[m + (m + pad) * j] = sentinel<T>();
    for (int i = 0; i < m; ++i) by_rows[n + (n + pad) * i] = sentinel<T>();
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b,
               column_major_store<T>{by_columns.data(), m + pad, T(1)});
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b, row_major_store<T>{by_rows.data(), n + pad});
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < n; ++j) {
        ASSERT_FALSE(has_nan(by_columns[i + (m + pad) * j])) << i << ", " << j << " clear " << clear;
        ASSERT_TRUE(same_bits(by_rows[j + (n + pad) * i], by_columns[i + (m + pad) * j])) << i << ", " << j;
      }
    for (int j = 0; j < n; ++j) EXPECT_TRUE(same_bits(by_columns[m + (m + pad) * j], sentinel<T>()));
    for (int i = 0; i < m; ++i) EXPECT_TRUE(same_bits(by_rows[n + (n + pad) * i], sentinel<T>()));
  }
}

}  // namespace
}  // namespace kovra_test
