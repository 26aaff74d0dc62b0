// kernel_neon_fma_scalar<float> and <double>: every operation they replace against a scalar model of
// the arithmetic they promise, bit for bit, and whole matrix products against the portable kernel.
// The kernels are built with VFPv4, so on a processor without it every test here skips.
//
// NEON flushes subnormals and returns the default NaN, unlike the scalar models; the inputs stay clear
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
#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "level3/gemm_call.h"
#include "support/reference_level3.h"
#include "support/values.h"

namespace kovra::kernels {
namespace {

using testing::all_same_bits;
using testing::random_values;
using testing::sentinel;

bool processor_has_vfpv4() { return (getauxval(AT_HWCAP) & HWCAP_VFPv4) != 0; }

template <typename T> class fma_scalar_kernel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!processor_has_vfpv4()) GTEST_SKIP() << "no VFPv4 fused multiply-add on this processor";
    kernel = make_kernel_neon_fma_scalar<T>();
  }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(fma_scalar_kernel, real_types);

// `count` elements starting on a 32-byte boundary, inside a buffer that holds the sentinel before and
// after them. The kernels read past their panels, and the sentinel there would show in a result.
template <typename T> struct aligned_block {
  static constexpr int guard = 32 / sizeof(T);
  std::vector<T> buffer;
  int start;
  explicit aligned_block(int count) : buffer(std::size_t(count) + 4 * guard, sentinel<T>()) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + guard);
    start = guard + int((32 - address % 32) % 32 / sizeof(T));
  }
  T* data() { return buffer.data() + start; }
  void fill(const std::vector<T>& values) { std::copy(values.begin(), values.end(), data()); }
  // The first `count` elements with a guard's worth either side.
  std::vector<T> around(int count) const {
    return std::vector<T>(buffer.begin() + (start - guard), buffer.begin() + (start + count + guard));
  }
};

// The kernel's arithmetic, one element at a time: a sum of fused multiply-adds from +0 in order of
// depth, then alpha once.
template <typename T> T panel_sum(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  T acc = 0;
  for (int p = 0; p < k; ++p) acc = std::fma(a[p * mr + i], b[p * nr + j], acc);
  return acc;
}

TYPED_TEST(fma_scalar_kernel, blocking_numbers) {
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

// Each unrolled packer writes the bytes of the default body with the same tiles, and nothing else.
TYPED_TEST(fma_scalar_kernel, packers_match_the_default_bodies) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int ld = kern.tile_m + 5;
  const std::vector<T> source = random_values<T>(ld * kern.tile_m, 7);
  using packer = void (kernel_object<T>::*)(const T*, int, T*) const;
  const struct {
    const char* name;
    packer op;
  } packers[] = {{"pack_a", &kernel_object<T>::pack_a},
                 {"pack_a_trans", &kernel_object<T>::pack_a_trans},
                 {"pack_b_trans", &kernel_object<T>::pack_b_trans},
                 {"pack_b", &kernel_object<T>::pack_b}};
  for (const auto& p : packers) {
    aligned_block<T> got(kern.tile_size), want(kern.tile_size);
    (kern.*p.op)(source.data(), ld, got.data());
    (plain.*p.op)(source.data(), ld, want.data());
    EXPECT_TRUE(all_same_bits(got.around(kern.tile_size), want.around(kern.tile_size))) << p.name;
  }
}

// micro_kernel over the step counts that exercise the singles (k mod 4) and the groups of four, with
// and without clear. The steps past the panels and the rows between C's columns hold NaN: none of it
// may reach a result or be written. With clear, C itself starts as NaN.
TYPED_TEST(fma_scalar_kernel, micro_kernel_matches_its_arithmetic) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3;
  const T alpha = T(-1.375);
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 127, 128}) {
    aligned_block<T> a(mr * k), b(nr * k);
    a.fill(random_values<T>(mr * k, 11 + k));
    b.fill(random_values<T>(nr * k, 12 + k));
    for (bool clear : {false, true}) {
      std::vector<T> c(ldc * nr, sentinel<T>());
      const std::vector<T> old = random_values<T>(ldc * nr, 13 + k);
      std::vector<T> want = c;
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const int at = i + j * ldc;
          const T sum = panel_sum(k, a.data(), mr, i, b.data(), nr, j);
          if (clear) {
            c[at] = std::numeric_limits<T>::quiet_NaN();
            want[at] = sum * alpha;
          } else {
            c[at] = old[at];
            want[at] = std::fma(alpha, sum, old[at]);
          }
        }
      kern.micro_kernel(&alpha, k, a.data(), b.data(), c.data(), ldc, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

TYPED_TEST(fma_scalar_kernel, axpy_kernel_runs_every_stage) {
  using T = TypeParam;
  const T alpha = T(0.8125);
  for (int n : {0, 1, 2, 3, 4, 5, 15, 16, 17, 35, 71}) {
    // One element in, so the vectors are not on a 16-byte boundary.
    const std::vector<T> x = random_values<T>(n + 1, 21 + n);
    std::vector<T> y = random_values<T>(n + 1, 22 + n);
    y.push_back(sentinel<T>());
    std::vector<T> want = y;
    for (int i = 1; i <= n; ++i) want[i] = std::fma(alpha, x[i], y[i]);
    this->kernel->axpy_kernel(n, &alpha, x.data() + 1, y.data() + 1);
    EXPECT_TRUE(all_same_bits(y, want)) << "n=" << n;
  }
}

// x times alpha, and alpha equal to zero (either sign) leaving +0 in place of NaN and infinity.
TYPED_TEST(fma_scalar_kernel, scal_kernel_scales_and_clears) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity();
  for (T alpha : {T(-2.75), T(0), T(-0.0)}) {
    for (int n : {0, 1, 3, 4, 5, 15, 16, 17, 38}) {
      std::vector<T> x = random_values<T>(n + 1, 31 + n);
      for (int i = 1; i <= n; i += 3) x[i] = alpha == 0 ? std::numeric_limits<T>::quiet_NaN() : x[i];
      if (alpha == 0 && n > 1) x[2] = -inf;
      x.push_back(sentinel<T>());
      std::vector<T> want = x;
      for (int i = 1; i <= n; ++i) want[i] = alpha == 0 ? T(0) : x[i] * alpha;
      this->kernel->scal_kernel(n, &alpha, x.data() + 1);
      EXPECT_TRUE(all_same_bits(x, want)) << "alpha=" << alpha << " n=" << n;
    }
  }
}

// Whole products through the task path, crossing blocks of every dimension, with every transpose and
// with both a clearing and an accumulating beta: the kernel's results and the portable kernel's agree
// with the reference to rounding.
TYPED_TEST(fma_scalar_kernel, gemm_agrees_with_the_portable_kernel) {
  using T = TypeParam;
  const auto plain = std::make_shared<kernel_object<T>>(plain_blocking<T>::value);
  const struct {
    char transa, transb;
    int m, n, k;
  } shapes[] = {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9},
                {'C', 'C', 30, 17, 257}, {'N', 'N', 515, 13, 12}};
  for (const auto& s : shapes)
    for (T beta : {T(0), T(0.5)}) {
      testing::gemm_case<T> neon(s.transa, s.transb, s.m, s.n, s.k, 3), portable = neon;
      if (beta == 0) {
        neon.c.fill(std::numeric_limits<T>::quiet_NaN());
        portable.c.fill(std::numeric_limits<T>::quiet_NaN());
      }
      const T alpha = T(-0.625);
      const auto want = testing::reference_gemm(s.transa, s.transb, s.m, s.n, s.k, alpha, neon.a, neon.b, beta, neon.c);
      neon.run_on(this->kernel, alpha, beta);
      portable.run_on(plain, alpha, beta);
      const char* what = beta == 0 ? "beta 0" : "beta 0.5";
      EXPECT_TRUE(testing::matches(want, neon.c)) << s.transa << s.transb << " m=" << s.m << " " << what;
      EXPECT_TRUE(testing::matches(want, portable.c)) << s.transa << s.transb << " m=" << s.m << " " << what;
      EXPECT_TRUE(neon.c.guards_intact());
    }
}

class fma_scalar_float_kernel : public fma_scalar_kernel<float> {};

// micro_kernel_t: the same product without alpha, stored by rows, old C added with a plain addition.
TEST_F(fma_scalar_float_kernel, micro_kernel_t_stores_rows) {
  const int mr = 8, nr = 4, ldc = nr + 3;
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 33}) {
    aligned_block<float> a(mr * k), b(nr * k);
    a.fill(random_values<float>(mr * k, 41 + k));
    b.fill(random_values<float>(nr * k, 42 + k));
    for (bool clear : {false, true}) {
      std::vector<float> c(ldc * mr, sentinel<float>());
      const std::vector<float> old = random_values<float>(ldc * mr, 43 + k);
      std::vector<float> want = c;
      for (int i = 0; i < mr; ++i)
        for (int j = 0; j < nr; ++j) {
          const int at = j + i * ldc;
          const float sum = panel_sum(k, a.data(), mr, i, b.data(), nr, j);
          c[at] = clear ? std::numeric_limits<float>::quiet_NaN() : old[at];
          want[at] = clear ? sum : old[at] + sum;
        }
      kernel->micro_kernel_t(k, a.data(), b.data(), c.data(), ldc, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

}  // namespace
}  // namespace kovra::kernels
