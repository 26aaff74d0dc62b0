// kernel_neon_mla<float> and <double>: every operation they replace against a scalar model of the
// arithmetic they promise (product rounded, then added), bit for bit, and whole matrix products against
// the reference. These kernels need NEON only, so they run on every ARMv7 NEON processor.
//
// NEON flushes subnormals and returns the default NaN, unlike the scalar models; the inputs stay clear
// of subnormals, and where NaN appears only its presence matters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "kernels/blocking.h"
#include "kernels/neon/kernel_neon_mla.h"
#include "level3/gemm_call.h"
#include "support/reference_level3.h"
#include "support/values.h"

namespace kovra::kernels {
namespace {

using testing::all_same_bits;
using testing::random_values;
using testing::sentinel;

template <typename T> class mla_kernel : public ::testing::Test {
 protected:
  void SetUp() override { kernel = make_kernel_neon_mla<T>(); }
  std::shared_ptr<kernel_object<T>> kernel;
};

using real_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(mla_kernel, real_types);

// `count` elements one element past a 16-byte boundary, so that nothing is vector-aligned, with the
// sentinel for three tile steps either side: the kernels read past their panels, and a sentinel read
// there would show in a result.
template <typename T> struct misaligned_block {
  static constexpr int guard = 3 * 8;
  std::vector<T> buffer;
  int start;
  explicit misaligned_block(int count) : buffer(std::size_t(count) + 2 * guard + 16, sentinel<T>()) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + guard);
    start = guard + int((16 - address % 16) % 16 / sizeof(T)) + 1;
  }
  T* data() { return buffer.data() + start; }
  void fill(const std::vector<T>& values) { std::copy(values.begin(), values.end(), data()); }
  std::vector<T> around(int count) const {
    return std::vector<T>(buffer.begin() + (start - guard), buffer.begin() + (start + count + guard));
  }
};

// The multiply-accumulate the kernels promise: the product rounded on its own, then added.
template <typename T> T mla(T acc, T x, T y) {
  const T product = x * y;
  return acc + product;
}

template <typename T> T panel_sum(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  T acc = 0;
  for (int p = 0; p < k; ++p) acc = mla(acc, a[p * mr + i], b[p * nr + j]);
  return acc;
}

TYPED_TEST(mla_kernel, blocking_numbers) {
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

// Each packer writes the bytes of the default body, and nothing else, to a destination with element
// alignment only.
TYPED_TEST(mla_kernel, packers_match_the_default_bodies) {
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
    misaligned_block<T> got(kern.tile_size), want(kern.tile_size);
    (kern.*p.op)(source.data() + 1, ld, got.data());
    (plain.*p.op)(source.data() + 1, ld, want.data());
    EXPECT_TRUE(all_same_bits(got.around(kern.tile_size), want.around(kern.tile_size))) << p.name;
  }
}

// micro_kernel over the step counts that exercise the singles (k mod 4) and the groups of four, with
// and without clear, on misaligned panels and C. The steps past the panels and the rows between C's
// columns hold NaN: none of it may reach a result or be written. With clear, C itself starts as NaN.
TYPED_TEST(mla_kernel, micro_kernel_matches_its_arithmetic) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3;
  const T alpha = T(-1.375);
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 127, 128}) {
    misaligned_block<T> a(mr * k), b(nr * k);
    a.fill(random_values<T>(mr * k, 11 + k));
    b.fill(random_values<T>(nr * k, 12 + k));
    for (bool clear : {false, true}) {
      misaligned_block<T> c(ldc * nr);
      const std::vector<T> old = random_values<T>(ldc * nr, 13 + k);
      std::vector<T> want = c.buffer;
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const int at = i + j * ldc;
          const T sum = panel_sum(k, a.data(), mr, i, b.data(), nr, j);
          c.data()[at] = clear ? std::numeric_limits<T>::quiet_NaN() : old[at];
          want[c.start + at] = clear ? sum * alpha : mla(old[at], alpha, sum);
        }
      kern.micro_kernel(&alpha, k, a.data(), b.data(), c.data(), ldc, clear);
      EXPECT_TRUE(all_same_bits(c.buffer, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

// The vector stages of axpy round the product; the scalar tail (float: below n rounded down to 4;
// double: the odd last element) is fused.
template <typename T> bool axpy_tail(int i, int n) {
  return sizeof(T) == 4 ? i >= n / 4 * 4 : i >= n / 2 * 2;
}

TYPED_TEST(mla_kernel, axpy_kernel_runs_every_stage) {
  using T = TypeParam;
  const T alpha = T(0.8125);
  for (int n : {0, 1, 2, 3, 4, 5, 15, 16, 17, 35, 71}) {
    // One element in, so the vectors are not on a 16-byte boundary.
    const std::vector<T> x = random_values<T>(n + 1, 21 + n);
    std::vector<T> y = random_values<T>(n + 1, 22 + n);
    y.push_back(sentinel<T>());
    std::vector<T> want = y;
    for (int i = 1; i <= n; ++i)
      want[i] = axpy_tail<T>(i - 1, n) ? std::fma(alpha, x[i], y[i]) : mla(y[i], alpha, x[i]);
    this->kernel->axpy_kernel(n, &alpha, x.data() + 1, y.data() + 1);
    EXPECT_TRUE(all_same_bits(y, want)) << "n=" << n;
  }
}

// With alpha = x = 1 + e and y = -1, the exact result is 2e + e*e. Two roundings lose e*e (it is below
// half an ulp of the product), one keeps it: the first sixteen of seventeen floats, and the first two
// of three doubles, show 2e; the last ones show 2e + e*e.
TYPED_TEST(mla_kernel, axpy_kernel_rounds_the_tail_once) {
  using T = TypeParam;
  const T e = std::ldexp(T(1), sizeof(T) == 4 ? -12 : -27);
  const int n = sizeof(T) == 4 ? 17 : 3;
  const T alpha = 1 + e;
  const std::vector<T> x(n, 1 + e);
  std::vector<T> y(n, T(-1));
  this->kernel->axpy_kernel(n, &alpha, x.data(), y.data());
  for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], i < n - 1 ? 2 * e : 2 * e + e * e) << "i=" << i;
}

// x times alpha, and alpha equal to zero (either sign) leaving +0 in place of NaN and infinity.
TYPED_TEST(mla_kernel, scal_kernel_scales_and_clears) {
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
// with both a clearing and an accumulating beta, agree with the reference to rounding.
TYPED_TEST(mla_kernel, gemm_agrees_with_the_reference) {
  using T = TypeParam;
  const struct {
    char transa, transb;
    int m, n, k;
  } shapes[] = {{'N', 'N', 37, 29, 131}, {'T', 'N', 21, 33, 130}, {'N', 'T', 19, 40, 9},
                {'C', 'C', 30, 17, 257}, {'N', 'N', 515, 13, 12}};
  for (const auto& s : shapes)
    for (T beta : {T(0), T(0.5)}) {
      testing::gemm_case<T> product(s.transa, s.transb, s.m, s.n, s.k, 3);
      if (beta == 0) product.c.fill(std::numeric_limits<T>::quiet_NaN());
      const T alpha = T(-0.625);
      const auto want =
          testing::reference_gemm(s.transa, s.transb, s.m, s.n, s.k, alpha, product.a, product.b, beta, product.c);
      product.run_on(this->kernel, alpha, beta);
      EXPECT_TRUE(testing::matches(want, product.c))
          << s.transa << s.transb << " m=" << s.m << (beta == 0 ? " beta 0" : " beta 0.5");
      EXPECT_TRUE(product.c.guards_intact());
    }
}

}  // namespace
}  // namespace kovra::kernels
