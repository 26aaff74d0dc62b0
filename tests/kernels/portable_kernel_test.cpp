// The portable kernel against reference loops with its prescribed arithmetic, bit for bit, on the plain
// 8 by 4 tile and an odd 3 by 5 one: the tile packers, the two micro kernels (NaN around C, and inside it
// where clear must not read it), the vector kernels, the full complex product in every complex body, and
// one shared kernel per type even when the first calls race.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "kernels/get_kernel.h"
#include "kernels/kernel_object.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using kernels::kernel_object;

template <typename T>
class PortableKernel : public testing::Test {
 protected:
  const kernel_object<T> kernels[2] = {kernel_object<T>(kovra::kernels::plain_blocking<T>::value),
                                       kernel_object<T>(15, 10, 7, 3, 5)};
};
TYPED_TEST_SUITE(PortableKernel, element_types, element_type_names);

// The first calls of every type race (no other test of this binary calls get_kernel first).
TYPED_TEST(PortableKernel, RacingFirstCallsShareOneObject) {
  std::vector<const kernel_object<TypeParam>*> seen(8);
  std::vector<std::thread> pool;
  for (int t = 0; t < 8; ++t) pool.emplace_back([&seen, t] { seen[t] = kernels::get_kernel<TypeParam>().get(); });
  for (std::thread& thread : pool) thread.join();
  for (const auto* p : seen) EXPECT_EQ(p, kernels::get_kernel<TypeParam>().get());
}

// The check every kernel's blocking table passes at compile time: 1 by 1 tiles are sound; no tile, a block
// that is no multiple of its tile, or blocks too large for the scratch are not.
TYPED_TEST(PortableKernel, BlockingCheck) {
  using b = kernels::kernel_blocking;
  EXPECT_TRUE(kernels::sound_blocking<TypeParam>(b{1, 1, 1, 1, 1, 0, 0}));
  for (const b& bad :
       {b{8, 4, 8, 0, 4, 0, 0}, b{9, 4, 8, 8, 4, 0, 0}, b{8, 5, 8, 8, 4, 0, 0}, b{4096, 4, 4096, 8, 4, 0, 0}})
    EXPECT_FALSE(kernels::sound_blocking<TypeParam>(bad));
}

// op(X) of a tile is MR by NR (A: rows by depth at p*MR + i; B: depth by columns at p*NR + j), read from
// op(X) or its transpose; the rows between the source's last row and ld hold a NaN that must not be
// copied, and nothing outside the tile is written.
TYPED_TEST(PortableKernel, PackersPutTheTileInPanelOrder) {
  using T = TypeParam;
  using K = kernel_object<T>;
  struct packer {
    void (K::*pack)(const T*, int, T*) const;
    bool packs_a, transposed, conjugated;
  };
  const packer packers[] = {{&K::pack_a, true, false, false},           {&K::pack_a_trans, true, true, false},
                            {&K::pack_a_conj_trans, true, true, true},  {&K::pack_b_trans, false, true, false},
                            {&K::pack_b_conj_trans, false, true, true}, {&K::pack_b, false, false, false}};
  for (const K& kernel : this->kernels)
    for (const packer& c : packers) {
      const int mr = kernel.tile_m, nr = kernel.tile_n, rows = c.transposed ? nr : mr, ld = rows + 3;
      std::vector<T> src(ld * (c.transposed ? mr : nr), nan_element<T>());
      const auto values = random_values<T>(int(src.size()), 11);
      for (std::size_t p = 0; p < src.size(); ++p)
        if (int(p % ld) < rows) src[p] = values[p];
      const auto op_x = [&](int r, int s) { return c.transposed ? src[s + r * ld] : src[r + s * ld]; };
      std::vector<T> dst(kernel.tile_size + 10, sentinel<T>()), want = dst;
      for (int r = 0; r < mr; ++r)
        for (int s = 0; s < nr; ++s)
          want[5 + (c.packs_a ? s * mr + r : r * nr + s)] = c.conjugated ? conj_of(op_x(r, s)) : op_x(r, s);
      (kernel.*c.pack)(src.data(), ld, dst.data() + 5);
      EXPECT_TRUE(all_same_bits(dst, want)) << mr << "x" << nr;
    }
}

// micro_kernel: C += (alpha*a)*b over the depth, by columns; micro_kernel_t: C += b*a without alpha, by
// rows. With clear the tile starts from +0 without being read (it holds NaN); with no depth the tile
// stays, or is cleared.
TYPED_TEST(PortableKernel, MicroKernelsByColumnsAndByRows) {
  using T = TypeParam;
  for (const kernel_object<T>& kernel : this->kernels)
    for (bool rows : {false, true})
      for (int k : {-1, 0, 1, 2, 9})
        for (bool clear : {false, true}) {
          const int mr = kernel.tile_m, nr = kernel.tile_n, lines = rows ? mr : nr, length = rows ? nr : mr,
                    ld = length + 2;
          const auto a = random_values<T>(mr * std::max(k, 0), 21 + k),
                     b = random_values<T>(nr * std::max(k, 0), 22 + k);
          const T alpha = make<T>(-0.75, 1.25);
          const auto values = random_values<T>(ld * lines, 23);
          std::vector<T> c(ld * lines + 4, sentinel<T>()), want;
          for (int l = 0; l < lines; ++l)
            for (int e = 0; e < length; ++e) c[e + l * ld] = clear && k > 0 ? nan_element<T>() : values[e + l * ld];
          want = c;
          for (int i = 0; i < mr; ++i)
            for (int j = 0; j < nr; ++j) {
              T& out = want[rows ? j + i * ld : i + j * ld];
              T sum = clear ? T(0) : out;
              for (int p = 0; p < k; ++p)
                sum = rows ? multiply_add(b[p * nr + j], a[p * mr + i], sum)
                           : multiply_add(plain_mul(alpha, a[p * mr + i]), b[p * nr + j], sum);
              out = sum;
            }
          if (rows)
            kernel.micro_kernel_t(k, a.data(), b.data(), c.data(), ld, clear);
          else
            kernel.micro_kernel(&alpha, k, a.data(), b.data(), c.data(), ld, clear);
          EXPECT_TRUE(all_same_bits(c, want))
              << mr << "x" << nr << (rows ? " by rows" : " by columns") << " k=" << k << " clear=" << clear;
        }
}

// AXPY fuses (real) or adds the full product (complex); SCAL multiplies, and a zero of either sign clears
// NaN and infinity; counts below 1 leave everything alone; a complex alpha with real part 0 still scales.
TYPED_TEST(PortableKernel, VectorKernels) {
  using T = TypeParam;
  const T alpha = make<T>(0.625, -1.5);
  for (int n : {-3, 0, 1, 7, 33}) {
    const int len = std::max(n, 0);
    const auto x = random_values<T>(len, 31);
    std::vector<T> y = random_values<T>(len, 32), s = x, z(len, nan_element<T>());
    for (int i = 0; i < len; i += 2) z[i] = make<T>(INFINITY, -INFINITY);
    y.push_back(sentinel<T>()), s.push_back(sentinel<T>()), z.push_back(sentinel<T>());
    std::vector<T> want_y = y, want_s = s, want_z = z;
    for (int i = 0; i < n; ++i) {
      want_y[i] = multiply_add(alpha, x[i], y[i]);
      want_s[i] = plain_mul(alpha, x[i]);
      want_z[i] = T(0);
    }
    this->kernels[0].axpy_kernel(n, &alpha, x.data(), y.data());
    this->kernels[0].scal_kernel(n, &alpha, s.data());
    for (T zero : {make<T>(0), make<T>(-0.0, -0.0)}) this->kernels[0].scal_kernel(n, &zero, z.data());
    EXPECT_TRUE(all_same_bits(y, want_y) && all_same_bits(s, want_s) && all_same_bits(z, want_z)) << n;
  }
  if constexpr (is_complex_v<T>) {
    // (2 + 3i)(inf + NaN i) is NaN in both parts by the bare formula and (inf, inf) by the full product.
    using R = real_t<T>;
    const T a(2, 3), inf(std::numeric_limits<R>::infinity(), std::numeric_limits<R>::quiet_NaN()), one(1, 1);
    const T want(std::numeric_limits<R>::infinity(), std::numeric_limits<R>::infinity()), unit(1, 0);
    const kernel_object<T> kernel(1, 1, 1, 1, 1);
    T c = one, ct = one, y = one, x = inf;
    kernel.micro_kernel(&a, 1, &inf, &unit, &c, 1, false);
    kernel.micro_kernel_t(1, &inf, &a, &ct, 1, false);
    kernel.axpy_kernel(1, &a, &inf, &y);
    kernel.scal_kernel(1, &a, &x);
    EXPECT_TRUE(same_bits(c, want) && same_bits(ct, want) && same_bits(y, want) && same_bits(x, want));
  }
}

}  // namespace
}  // namespace kovra_test
