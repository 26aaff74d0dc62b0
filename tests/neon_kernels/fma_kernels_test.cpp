// kernel_neon_fma<float> and <double>: the packers against the default bodies byte for byte, the micro
// kernels against a scalar model of their arithmetic bit for bit, and whole matrix products against the
// reference. The kernels are built with VFPv4, so on a processor without it every test here skips.
//
// NEON flushes subnormals and returns the default NaN, unlike the scalar model; the inputs stay clear
// of subnormals, and where NaN appears only its presence matters.
#include <asm/hwcap.h>
#include <sys/auxv.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "kernels/blocking.h"
#include "kernels/neon/kernel_neon_fma.h"
#include "level3/gemm_call.h"
#include "support/reference_level3.h"
#include "support/values.h"

namespace kovra::kernels {
namespace {

using testing::all_same_bits;
using testing::random_values;
using testing::sentinel;

bool processor_has_vfpv4() { return (getauxval(AT_HWCAP) & HWCAP_VFPv4) != 0; }

template <typename T> class fma_kernel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!processor_has_vfpv4()) GTEST_SKIP() << "no VFPv4 fused multiply-add on this processor";
    kernel = make_kernel_neon_fma<T>();
  }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(fma_kernel, real_types);

// `count` elements one element past a 32-byte boundary (the kernels promise to need no more than
// element alignment), with the sentinel before and after them: the micro kernels read past their
// panels, and a sentinel there would show in a result.
template <typename T> struct guarded_block {
  static constexpr int guard = 64 / sizeof(T);
  std::vector<T> buffer;
  int start;
  explicit guarded_block(int count) : buffer(std::size_t(count) + 4 * guard, sentinel<T>()) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + guard);
    start = guard + int((32 - address % 32) % 32 / sizeof(T)) + 1;
  }
  T* data() { return buffer.data() + start; }
  void fill(const std::vector<T>& values) { std::copy(values.begin(), values.end(), data()); }
  std::vector<T> around(int count) const {
    return std::vector<T>(buffer.begin() + (start - guard), buffer.begin() + (start + count + guard));
  }
};

TYPED_TEST(fma_kernel, blocking_numbers) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const bool single = sizeof(T) == 4;
  EXPECT_EQ(kern.block_m, 512);
  EXPECT_EQ(kern.block_n, single ? 12 : 32);
  EXPECT_EQ(kern.block_k, 128);
  EXPECT_EQ(kern.tile_m, single ? 8 : 4);
  EXPECT_EQ(kern.tile_n, 4);
  EXPECT_EQ(kern.tile_size, kern.tile_m * kern.tile_n);
  EXPECT_EQ(kern.reserved_hint, single ? 16 : 32);
  EXPECT_EQ(kern.a_block_slack, 0);
}

// Each unrolled packer writes the bytes of the default body with the same tiles and
// nothing around them, from a source with element alignment only.
TYPED_TEST(fma_kernel, packers_match_the_default_bodies) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int ld = kern.tile_m + 5;
  const std::vector<T> source = random_values<T>(ld * kern.tile_m + 1, 7);
  using packer = void (kernel_object<T>::*)(const T*, int, T*) const;
  const struct {
    const char* name;
    packer op;
  } packers[] = {{"pack_a", &kernel_object<T>::pack_a},
                 {"pack_a_trans", &kernel_object<T>::pack_a_trans},
                 {"pack_b_trans", &kernel_object<T>::pack_b_trans},
                 {"pack_b", &kernel_object<T>::pack_b}};
  for (const auto& p : packers) {
    guarded_block<T> got(kern.tile_size), want(kern.tile_size);
    (kern.*p.op)(source.data() + 1, ld, got.data());
    (plain.*p.op)(source.data() + 1, ld, want.data());
    EXPECT_TRUE(all_same_bits(got.around(kern.tile_size), want.around(kern.tile_size))) << p.name;
  }
}

// micro_kernel over step counts that run only the single steps (1 to 3), only the groups of four (4, 8)
// and both, with and without clear. The steps past the panels and the rows between C's columns hold
// the sentinel, which may neither reach a result nor be overwritten. With clear, C starts as NaN.
TYPED_TEST(fma_kernel, micro_kernel_matches_its_arithmetic) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3;
  const T alpha = T(-1.375);
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 31, 128}) {
    guarded_block<T> a(mr * k), b(nr * k);
    a.fill(random_values<T>(mr * k, 11 + k));
    b.fill(random_values<T>(nr * k, 12 + k));
    for (bool clear : {false, true}) {
      std::vector<T> c(ldc * nr, sentinel<T>());
      const std::vector<T> old = random_values<T>(ldc * nr, 13 + k);
      std::vector<T> want = c;
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          // A sum of fused multiply-adds from +0 in order of depth, a rounded product with alpha, then
          // a plain addition of C.
          T sum = 0;
          for (int p = 0; p < k; ++p) sum = std::fma(a.data()[p * mr + i], b.data()[p * nr + j], sum);
          const int at = i + j * ldc;
          const T scaled = sum * alpha;
          c[at] = clear ? std::numeric_limits<T>::quiet_NaN() : old[at];
          want[at] = clear ? scaled : scaled + old[at];
        }
      kern.micro_kernel(&alpha, k, a.data(), b.data(), c.data(), ldc, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

// Whole products through the task path, crossing blocks of every dimension, with every transpose and
// with both a clearing and an accumulating beta: the kernel's results agree with the reference to
// rounding.
TYPED_TEST(fma_kernel, gemm_agrees_with_the_reference) {
  using T = TypeParam;
  const struct {
    char transa, transb;
    int m, n, k;
  } shapes[] = {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9},
                {'C', 'C', 30, 17, 257}, {'T', 'T', 515, 13, 12}};
  for (const auto& s : shapes)
    for (T beta : {T(0), T(0.5)}) {
      testing::gemm_case<T> run(s.transa, s.transb, s.m, s.n, s.k, 3);
      if (beta == 0) run.c.fill(std::numeric_limits<T>::quiet_NaN());
      const T alpha = T(-0.625);
      const auto want = testing::reference_gemm(s.transa, s.transb, s.m, s.n, s.k, alpha, run.a, run.b, beta, run.c);
      run.run_on(this->kernel, alpha, beta);
      EXPECT_TRUE(testing::matches(want, run.c)) << s.transa << s.transb << " m=" << s.m << " beta=" << beta;
      EXPECT_TRUE(run.c.guards_intact());
    }
}

}  // namespace
}  // namespace kovra::kernels
