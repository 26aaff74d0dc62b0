// The six tile packers of the default kernel: each tile element lands at its panel position, the source
// is read only inside the tile (ld larger than the tile), and nothing outside tile_size is written.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/element_types.h"
#include "support/values.h"
#include "kernels/kernel_object.h"

namespace {

using namespace kovra_test;
using kovra::kernels::kernel_object;

template <typename T> class Packers : public testing::Test {};
TYPED_TEST_SUITE(Packers, element_types, element_type_names);

template <typename T> struct packer_case {
  const char* name;
  void (kernel_object<T>::*pack)(const T*, int, T*) const;
  bool packs_a;     // an A tile (MR rows by NR depth) or a B tile (MR depth by NR columns)
  bool transposed;  // the source holds the transpose of op(X)
  bool conjugated;
};

template <typename T> std::vector<packer_case<T>> packer_cases() {
  using K = kernel_object<T>;
  return {{"pack_a", &K::pack_a, true, false, false},
          {"pack_a_trans", &K::pack_a_trans, true, true, false},
          {"pack_a_conj_trans", &K::pack_a_conj_trans, true, true, true},
          {"pack_b_trans", &K::pack_b_trans, false, true, false},
          {"pack_b_conj_trans", &K::pack_b_conj_trans, false, true, true},
          {"pack_b", &K::pack_b, false, false, false}};
}

TYPED_TEST(Packers, TileLandsInPanelOrderAndNothingElseIsTouched) {
  using T = TypeParam;
  // The plain kernel's 8 by 4 tile and an odd 3 by 5 one: the bodies must follow the object's numbers.
  const kernel_object<T> kernels[] = {kernel_object<T>(kovra::kernels::plain_blocking<T>::value),
                                      kernel_object<T>(15, 10, 7, 3, 5)};
  value_source values(11);
  for (const kernel_object<T>& kernel : kernels) {
    const int mr = kernel.tile_m, nr = kernel.tile_n;
    for (const packer_case<T>& c : packer_cases<T>()) {
      // op(X) of a tile is MR by NR for both (A: rows by depth, B: depth by columns). The source holds
      // op(X) or its transpose, with NaN in the rows between its last row and ld.
      const int src_rows = c.transposed ? nr : mr, src_cols = c.transposed ? mr : nr;
      const int ld = src_rows + 3;
      std::vector<T> src(static_cast<std::size_t>(ld) * src_cols, sentinel<T>());
      for (int col = 0; col < src_cols; ++col)
        for (int row = 0; row < src_rows; ++row) src[row + col * ld] = values.next<T>();
      auto op_x = [&](int r, int s) { return c.transposed ? src[s + r * ld] : src[r + s * ld]; };

      const int guard = 5;
      std::vector<T> dst(kernel.tile_size + 2 * guard, sentinel<T>());
      std::vector<T> expected = dst;
      for (int r = 0; r < mr; ++r)
        for (int s = 0; s < nr; ++s) {
          // A: element (i = r, p = s) at p*MR + i. B: element (p = r, j = s) at p*NR + j.
          const int position = c.packs_a ? s * mr + r : r * nr + s;
          expected[guard + position] = c.conjugated ? conj_of(op_x(r, s)) : op_x(r, s);
        }

      (kernel.*c.pack)(src.data(), ld, dst.data() + guard);
      EXPECT_TRUE(all_same_bits(dst, expected)) << c.name << ", tile " << mr << "x" << nr;
    }
  }
}

}  // namespace
