// The six block packers on a test kernel with 3 by 5 tiles, checked element by element against the
// panel layout: op(A)(i, p) of an mb-by-kb block at panel i / MR, position p * MR + i % MR; op(B)(p, j)
// at panel j / NR, position p * NR + j % NR; zeros pad the last panel, and nothing is written past it.
#include <gtest/gtest.h>

#include <vector>

#include "gemm_call.h"
#include "parallel/blas/level3/packing.h"
#include "support/element_types.h"

namespace kovra_test {
namespace {

template <typename T>
class GemmPacking : public ::testing::Test {};
TYPED_TEST_SUITE(GemmPacking, element_types, element_type_names);

template <typename T>
T conj_if(bool conjugate, const T& v) {
  if constexpr (is_complex_v<T>) return conjugate ? T(v.real(), -v.imag()) : v;
  else return v;
}

// Packs one block with `pack` and compares with the layout. `width` is the panel width (MR or NR),
// `outer` the number of rows (A) or columns (B) of the op block, `depth` its depth; `element(o, p)`
// gives the expected value before conjugation.
template <typename T, typename Element>
void check_layout(parallel::blas::block_packer<T> pack, const kernels::kernel_object<T>& kernel, const padded_matrix<T>& src,
                  int width, int outer, int depth, bool conjugate, Element element) {
  const int panels = (outer + width - 1) / width;
  const std::size_t used = std::size_t(panels) * width * depth;
  std::vector<T> dst(used + 8, sentinel<T>());
  const long written = pack(kernel, src.data(), src.ld(), dst.data(), src.rows(), src.cols());
  EXPECT_EQ(written, static_cast<long>(used));
  for (int o = 0; o < panels * width; ++o)
    for (int p = 0; p < depth; ++p) {
      const std::size_t at = std::size_t(o / width) * width * depth + std::size_t(p) * width + o % width;
      const T want = o < outer ? conj_if(conjugate, element(o, p)) : T(0);
      ASSERT_TRUE(same_bits(dst[at], want)) << "outer " << o << " depth " << p << " of " << outer << "x" << depth;
    }
  for (std::size_t i = used; i < dst.size(); ++i) EXPECT_TRUE(same_bits(dst[i], sentinel<T>()));
}

TYPED_TEST(GemmPacking, BlocksOfAFollowThePanelLayout) {
  using T = TypeParam;
  const auto kernel = odd_kernel<T>();
  // rows of op(A) by depth: whole tiles, a depth remainder, a row remainder, and both.
  for (auto [mb, kb] : {std::pair{6, 10}, std::pair{6, 13}, std::pair{7, 10}, std::pair{8, 12}, std::pair{1, 1}}) {
    padded_matrix<T> a(mb, kb, mb + 2);
    a.random(3);
    check_layout<T>(parallel::blas::pack_a_block<T>, *kernel, a, 3, mb, kb, false,
                    [&](int i, int p) { return a.at(i, p); });
    padded_matrix<T> at(kb, mb, kb + 1);
    at.random(4);
    check_layout<T>(parallel::blas::pack_a_trans_block<T>, *kernel, at, 3, mb, kb, false,
                    [&](int i, int p) { return at.at(p, i); });
    check_layout<T>(parallel::blas::pack_a_conj_trans_block<T>, *kernel, at, 3, mb, kb, true,
                    [&](int i, int p) { return at.at(p, i); });
  }
}

TYPED_TEST(GemmPacking, BlocksOfBFollowThePanelLayout) {
  using T = TypeParam;
  const auto kernel = odd_kernel<T>();
  // depth by columns of op(B).
  for (auto [kb, nb] : {std::pair{6, 10}, std::pair{7, 10}, std::pair{6, 12}, std::pair{4, 13}, std::pair{1, 1}}) {
    padded_matrix<T> b(kb, nb, kb + 2);
    b.random(5);
    check_layout<T>(parallel::blas::pack_b_block<T>, *kernel, b, 5, nb, kb, false,
                    [&](int j, int p) { return b.at(p, j); });
    padded_matrix<T> bt(nb, kb, nb + 3);
    bt.random(6);
    check_layout<T>(parallel::blas::pack_b_trans_block<T>, *kernel, bt, 5, nb, kb, false,
                    [&](int j, int p) { return bt.at(j, p); });
    check_layout<T>(parallel::blas::pack_b_conj_trans_block<T>, *kernel, bt, 5, nb, kb, true,
                    [&](int j, int p) { return bt.at(j, p); });
  }
}

}  // namespace
}  // namespace kovra_test
