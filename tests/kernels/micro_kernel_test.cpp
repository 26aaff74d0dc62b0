// The two micro kernels of the default kernel against a reference loop with the prescribed arithmetic
// (bit for bit), on the plain 8 by 4 tile and an odd 3 by 5 one, with NaN around and inside C.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "support/element_types.h"
#include "support/values.h"
#include "kernels/kernel_object.h"

namespace {

using namespace kovra_test;
using kovra::kernels::kernel_object;

template <typename T> class MicroKernels : public testing::Test {
 protected:
  const kernel_object<T> kernels[2] = {kernel_object<T>(kovra::kernels::plain_blocking<T>::value),
                                       kernel_object<T>(15, 10, 7, 3, 5)};
};
TYPED_TEST_SUITE(MicroKernels, element_types, element_type_names);

// c + s*t as the contract has it: one fused multiply-add for real types; for complex ones the product
// with each operation rounded, then two additions.
template <typename T> T accumulate(const T& s, const T& t, const T& c) {
  if constexpr (kovra::is_complex_v<T>) return plain_add(c, plain_mul(s, t));
  else return std::fma(s, t, c);
}

// A C buffer whose tile is `lines` lines of `length` elements, `ld` apart; everything else is NaN.
// The tile holds values, or NaN when `nan_tile` is set.
template <typename T>
std::vector<T> make_c(int lines, int length, int ld, bool nan_tile, value_source& values) {
  std::vector<T> c(static_cast<std::size_t>(ld) * lines + 4, sentinel<T>());
  if (!nan_tile)
    for (int l = 0; l < lines; ++l)
      for (int e = 0; e < length; ++e) c[e + l * ld] = values.next<T>();
  return c;
}

TYPED_TEST(MicroKernels, ColumnTileGetsAlphaTimesPanelProduct) {
  using T = TypeParam;
  value_source values(21);
  for (const kernel_object<T>& kernel : this->kernels) {
    const int mr = kernel.tile_m, nr = kernel.tile_n, ldc = mr + 2;
    for (int k : {1, 2, 9}) {
      for (bool clear : {false, true}) {
        const std::vector<T> a = values.vector<T>(mr * k), b = values.vector<T>(nr * k);
        const T alpha = values.next<T>();
        // With clear set the tile starts as NaN: it must never be read.
        std::vector<T> c = make_c<T>(nr, mr, ldc, clear, values);
        std::vector<T> expected = c;
        for (int j = 0; j < nr; ++j)
          for (int i = 0; i < mr; ++i) {
            T sum = clear ? T(0) : c[i + j * ldc];
            for (int p = 0; p < k; ++p) sum = accumulate(plain_mul(alpha, a[p * mr + i]), b[p * nr + j], sum);
            expected[i + j * ldc] = sum;
          }
        kernel.micro_kernel(&alpha, k, a.data(), b.data(), c.data(), ldc, clear);
        EXPECT_TRUE(all_same_bits(c, expected)) << mr << "x" << nr << " k=" << k << " clear=" << clear;
      }
    }
  }
}

TYPED_TEST(MicroKernels, RowTileGetsPanelProductWithoutAlpha) {
  using T = TypeParam;
  value_source values(22);
  for (const kernel_object<T>& kernel : this->kernels) {
    const int mr = kernel.tile_m, nr = kernel.tile_n, ldc = nr + 3;
    for (int k : {1, 2, 9}) {
      for (bool clear : {false, true}) {
        const std::vector<T> a = values.vector<T>(mr * k), b = values.vector<T>(nr * k);
        std::vector<T> c = make_c<T>(mr, nr, ldc, clear, values);
        std::vector<T> expected = c;
        for (int i = 0; i < mr; ++i)
          for (int j = 0; j < nr; ++j) {
            T sum = clear ? T(0) : c[j + i * ldc];
            for (int p = 0; p < k; ++p) sum = accumulate(b[p * nr + j], a[p * mr + i], sum);
            expected[j + i * ldc] = sum;
          }
        kernel.micro_kernel_t(k, a.data(), b.data(), c.data(), ldc, clear);
        EXPECT_TRUE(all_same_bits(c, expected)) << mr << "x" << nr << " k=" << k << " clear=" << clear;
      }
    }
  }
}

TYPED_TEST(MicroKernels, NoDepthLeavesTheTileOrClearsIt) {
  using T = TypeParam;
  value_source values(23);
  const T alpha = values.next<T>();
  const std::vector<T> panel(64, sentinel<T>());
  for (const kernel_object<T>& kernel : this->kernels) {
    const int mr = kernel.tile_m, nr = kernel.tile_n;
    for (int k : {0, -1}) {
      // Column tile (micro_kernel): lines are the NR columns; row tile (micro_kernel_t): the MR rows.
      for (bool rows : {false, true}) {
        const int lines = rows ? mr : nr, length = rows ? nr : mr, ld = length + 2;
        std::vector<T> c = make_c<T>(lines, length, ld, false, values);
        c[0] = sentinel<T>();  // a NaN in the tile: kept without clear, gone with it
        const std::vector<T> before = c;
        std::vector<T> cleared = c;
        for (int l = 0; l < lines; ++l)
          for (int e = 0; e < length; ++e) cleared[e + l * ld] = T(0);

        for (bool clear : {false, true}) {
          c = before;
          if (rows) kernel.micro_kernel_t(k, panel.data(), panel.data(), c.data(), ld, clear);
          else kernel.micro_kernel(&alpha, k, panel.data(), panel.data(), c.data(), ld, clear);
          EXPECT_TRUE(all_same_bits(c, clear ? cleared : before))
              << mr << "x" << nr << " k=" << k << (rows ? " micro_kernel_t" : " micro_kernel") << " clear=" << clear;
        }
      }
    }
  }
}

}  // namespace
