// The block packers and the block loop on kernels of odd tiles. A packed block of op(A) holds (i, p) at
// panel i / MR, position p * MR + i % MR; one of op(B) holds (p, j) at panel j / NR, p * NR + j % NR; zeros
// pad the last panel and nothing is written past it. The row-major tile store gives the column-major
// store's product laid out by rows, clearing C or adding to it.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "odd_kernel.h"
#include "parallel/blas/level3/block_driver.h"
#include "parallel/blas/level3/packing.h"
#include "support/operands.h"

namespace kovra_test {
namespace {

using namespace parallel::blas;

template <typename T>
class Blocks : public ::testing::Test {};
TYPED_TEST_SUITE(Blocks, element_types, element_type_names);

// Packs an `outer` by `depth` block of op(X) with `pack` and compares with the layout of panels `width` wide.
template <typename T, typename Element>
void check_layout(block_packer<T> pack, const padded_matrix<T>& src, int width, int outer, int depth, bool conj,
                  Element element) {
  const int panels = (outer + width - 1) / width;
  const std::size_t used = std::size_t(panels) * width * depth;
  std::vector<T> dst(used + 8, sentinel<T>());
  EXPECT_EQ(pack(*odd_kernel<T>(), src.data(), src.ld(), dst.data(), src.rows(), src.cols()), long(used));
  std::vector<T> want(used + 8, sentinel<T>());
  for (int o = 0; o < panels * width; ++o)
    for (int p = 0; p < depth; ++p)
      want[std::size_t(o / width) * width * depth + std::size_t(p) * width + o % width] =
          o < outer ? (conj ? conj_of(element(o, p)) : element(o, p)) : T(0);
  EXPECT_TRUE(all_same_bits(dst, want)) << outer << " by " << depth;
}

TYPED_TEST(Blocks, PackersFollowThePanelLayout) {
  using T = TypeParam;
  // Whole tiles, a depth remainder, a row remainder, both, and one element.
  for (auto [outer, depth] : {std::pair{6, 10}, {6, 13}, {7, 10}, {8, 12}, {4, 13}, {1, 1}}) {
    padded_matrix<T> plain(outer, depth, outer + 2), flipped(depth, outer, depth + 1), b(depth, outer, depth + 2);
    plain.random(3), flipped.random(4), b.random(5);
    const auto at_plain = [&](int o, int p) { return plain.at(o, p); };
    const auto at_flipped = [&](int o, int p) { return flipped.at(p, o); };
    check_layout<T>(pack_a_block<T>, plain, 3, outer, depth, false, at_plain);
    check_layout<T>(pack_a_trans_block<T>, flipped, 3, outer, depth, false, at_flipped);
    check_layout<T>(pack_a_conj_trans_block<T>, flipped, 3, outer, depth, true, at_flipped);
    check_layout<T>(pack_b_block<T>, b, 5, outer, depth, false, [&](int o, int p) { return b.at(p, o); });
    check_layout<T>(pack_b_trans_block<T>, plain, 5, outer, depth, false, at_plain);
    check_layout<T>(pack_b_conj_trans_block<T>, plain, 5, outer, depth, true, at_plain);
  }
}

TYPED_TEST(Blocks, RowMajorStoreIsTheTransposedLayoutOfTheColumnMajorOne) {
  using T = TypeParam;
  // 5 by 3 tiles: a row of the edge tile fits in its leading dimension tile_m, as in every kernel.
  constexpr kernels::kernel_blocking odd_rows{10, 9, 7, 5, 3, 0, 0};
  static_assert(kernels::sound_blocking<T>(odd_rows));
  const auto kernel = std::make_shared<kernels::kernel_object<T>>(odd_rows);
  const auto s = std::make_unique<threading::scratch>();
  const block_buffers<T> buffers(*kernel, s.get());
  const int m = 23, n = 32, k = 17;
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
    padded_matrix<T> by_columns(m, n, m + 3), by_rows(n, m, n + 3);
    by_columns.fill(clear ? nan_element<T>() : make<T>(1, -1)), by_rows.fill(clear ? nan_element<T>() : make<T>(1, -1));
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b,
               column_major_store<T>{by_columns.data(), m + 3, T(1)});
    run_blocks(*kernel, buffers, 0, m, 0, n, k, clear, pack_a, pack_b, row_major_store<T>{by_rows.data(), n + 3});
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < n; ++j) {
        ASSERT_FALSE(has_nan(by_columns.at(i, j))) << i << ", " << j << " clear " << clear;
        ASSERT_TRUE(same_bits(by_rows.at(j, i), by_columns.at(i, j))) << i << ", " << j;
      }
    EXPECT_TRUE(by_columns.intact() && by_rows.intact());
  }
}

}  // namespace
}  // namespace kovra_test
