// kernel_neon_mla for the complex types: the micro kernels against a scalar model of their arithmetic
// (real sums over the interleaved parts, each product rounded before it is added, then each type's own
// end step), bit for bit; the scaling of the complex<double> kernel by alpha.re * (1 + i alpha.im);
// whole matrix products against the reference. These kernels need NEON only, so they run everywhere.
//
// NEON flushes subnormals and returns the default NaN; inputs stay clear of subnormals, and where NaN
// appears only its presence matters.
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "kernels/neon/kernel_neon_mla_complex.h"
#include "level3/gemm_call.h"
#include "support/reference_level3.h"
#include "support/values.h"

namespace kovra::kernels {
namespace {

using testing::all_same_bits;
using testing::make;
using testing::nan_element;
using testing::random_values;
using testing::sentinel;

template <typename T> class mla_complex_kernel : public ::testing::Test {
 protected:
  void SetUp() override { kernel = make_kernel_neon_mla<T>(); }
  std::shared_ptr<kernel_object<T>> kernel;
};

using complex_types = ::testing::Types<std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(mla_complex_kernel, complex_types);

// `count` elements one real part past a 16-byte boundary, so that neither a vector nor a complex
// element boundary of twice the part's size holds, with 96 bytes of sentinel either side: the kernels
// read up to two A steps past a panel, and a sentinel that reached a result would show as NaN.
template <typename T> struct misaligned_panel {
  using R = real_t<T>;
  static constexpr int guard = 96 / sizeof(R);
  std::vector<R> buffer;
  int start;
  explicit misaligned_panel(const std::vector<T>& values) : buffer(2 * values.size() + 2 * guard + 16) {
    const R fill = sentinel<R>();
    std::fill(buffer.begin(), buffer.end(), fill);
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + guard);
    start = guard + int((16 - address % 16) % 16 / sizeof(R)) + 1;
    for (std::size_t i = 0; i < values.size(); ++i) {
      buffer[start + 2 * i] = values[i].real();
      buffer[start + 2 * i + 1] = values[i].imag();
    }
  }
  const T* data() const { return reinterpret_cast<const T*>(buffer.data() + start); }
};

// Sum over the steps of one real part of A times one real part of B, each product rounded, then added.
template <typename R> R part_sum(int k, const R* a, int a_step, int a_lane, const R* b, int b_step, int b_lane) {
  R acc = 0;
  for (int p = 0; p < k; ++p) {
    const R product = a[p * a_step + a_lane] * b[p * b_step + b_lane];
    acc = acc + product;
  }
  return acc;
}

// Element (i, j) of the panel product, from the four real sums the kernels accumulate.
template <typename T> T panel_product(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  using R = real_t<T>;
  const R* ar = reinterpret_cast<const R*>(a);
  const R* br = reinterpret_cast<const R*>(b);
  const auto sum = [&](int a_part, int b_part) {
    return part_sum(k, ar, 2 * mr, 2 * i + a_part, br, 2 * nr, 2 * j + b_part);
  };
  return T(sum(0, 0) - sum(1, 1), sum(1, 0) + sum(0, 1));
}

// The end step of each kernel: alpha times the product t, plus old C unless clear.
template <typename T> T finish(T t, T alpha, T old, bool clear) {
  using R = real_t<T>;
  if constexpr (sizeof(R) == 4) {
    const R p_re = alpha.real() * t.real(), p_im = alpha.real() * t.imag();
    const R q_re = alpha.imag() * t.real(), q_im = alpha.imag() * t.imag();
    if (clear) return T(p_re + -q_im, p_im + q_re);
    return T((p_re + old.real()) + -q_im, (p_im + old.imag()) + q_re);
  } else {
    const R u = t.real() * alpha.real(), v = t.imag() * alpha.real();
    const R w = u * alpha.imag(), z = v * alpha.imag();
    if (clear) return T(u - z, v + w);
    return T((u - z) + old.real(), (v + w) + old.imag());
  }
}

TYPED_TEST(mla_complex_kernel, blocking_numbers) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const bool single = sizeof(T) == 8;
  EXPECT_EQ(kern.block_m, 512);
  EXPECT_EQ(kern.block_n, single ? 12 : 32);
  EXPECT_EQ(kern.block_k, 64);
  EXPECT_EQ(kern.tile_m, single ? 4 : 2);
  EXPECT_EQ(kern.tile_n, 2);
  EXPECT_EQ(kern.tile_size, kern.tile_m * kern.tile_n);
  EXPECT_EQ(kern.reserved_hint, single ? 16 : 32);
  EXPECT_EQ(kern.a_block_slack, 0);
}

// Step counts for the singles (k mod 4) and the groups of four, with and without clear, on panels and C
// off every vector boundary. The rows between C's columns hold the sentinel and must keep it; with
// clear, C starts as NaN and must not show.
TYPED_TEST(mla_complex_kernel, micro_kernel_matches_its_arithmetic) {
  using T = TypeParam;
  const kernel_object<T>& kern = *this->kernel;
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3;
  const T alpha = make<T>(-1.375, 0.625);
  for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 63, 64, 131}) {
    const misaligned_panel<T> a(random_values<T>(mr * k, 11 + k)), b(random_values<T>(nr * k, 12 + k));
    for (bool clear : {false, true}) {
      std::vector<T> c(ldc * nr + 1, sentinel<T>());
      const std::vector<T> old = random_values<T>(ldc * nr, 13 + k);
      std::vector<T> want = c;
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const int at = 1 + i + j * ldc;
          c[at] = clear ? nan_element<T>() : old[at - 1];
          want[at] = finish(panel_product(k, a.data(), mr, i, b.data(), nr, j), alpha, old[at - 1], clear);
        }
      kern.micro_kernel(&alpha, k, a.data(), b.data(), c.data() + 1, ldc, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

class mla_cdouble_kernel : public mla_complex_kernel<std::complex<double>> {};

// The complex<double> kernel scales by alpha.re * (1 + i alpha.im): exactly alpha when alpha.re is 1 or
// alpha.im is 0, otherwise something else. Each case names the factor it must act as; the result is
// that factor times the product by the textbook formula, bit for bit.
TEST_F(mla_cdouble_kernel, alpha_acts_as_its_real_part_times_one_plus_i_imaginary) {
  using T = std::complex<double>;
  const int mr = 2, nr = 2, k = 23;
  const misaligned_panel<T> a(random_values<T>(mr * k, 51)), b(random_values<T>(nr * k, 52));
  const struct {
    T alpha, acts_as;
  } cases[] = {{{1, 2}, {1, 2}}, {{3, 0}, {3, 0}}, {{-0.5, 0}, {-0.5, 0}}, {{2, 3}, {2, 6}}, {{0, 2}, {0, 0}}};
  for (const auto& s : cases)
    for (bool clear : {false, true}) {
      const std::vector<T> old = random_values<T>(mr * nr, 53);
      std::vector<T> c = clear ? std::vector<T>(mr * nr, nan_element<T>()) : old, want(mr * nr);
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const T t = panel_product(k, a.data(), mr, i, b.data(), nr, j);
          const T f = s.acts_as;
          T v(f.real() * t.real() - f.imag() * t.imag(), f.real() * t.imag() + f.imag() * t.real());
          if (!clear) v = T(v.real() + old[i + j * mr].real(), v.imag() + old[i + j * mr].imag());
          want[i + j * mr] = v;
        }
      kernel->micro_kernel(&s.alpha, k, a.data(), b.data(), c.data(), mr, clear);
      EXPECT_TRUE(all_same_bits(c, want)) << "alpha=" << s.alpha << " clear=" << clear;
    }
}

// Whole products through the task path, crossing blocks of every dimension, with every transpose and
// with a clearing and an accumulating beta, against the reference to rounding. complex<double> takes
// only the alphas it scales by exactly.
TYPED_TEST(mla_complex_kernel, gemm_agrees_with_the_reference) {
  using T = TypeParam;
  const bool exact_alpha_only = sizeof(T) == 16;
  const T alphas[] = {exact_alpha_only ? make<T>(1, -0.75) : make<T>(-0.625, 0.375), make<T>(-0.625, 0)};
  const struct {
    char transa, transb;
    int m, n, k;
  } shapes[] = {{'N', 'N', 37, 29, 131}, {'T', 'C', 21, 33, 65}, {'C', 'N', 19, 40, 9},
                {'N', 'T', 30, 17, 130}, {'N', 'N', 515, 13, 12}};
  for (const auto& s : shapes)
    for (T alpha : alphas)
      for (T beta : {T(0), make<T>(0.5, -0.25)}) {
        testing::gemm_case<T> run(s.transa, s.transb, s.m, s.n, s.k, 3);
        if (beta == T(0)) run.c.fill(nan_element<T>());
        const auto want = testing::reference_gemm(s.transa, s.transb, s.m, s.n, s.k, alpha, run.a, run.b, beta, run.c);
        run.run_on(this->kernel, alpha, beta);
        EXPECT_TRUE(testing::matches(want, run.c))
            << s.transa << s.transb << " m=" << s.m << " alpha=" << alpha << " beta=" << beta;
        EXPECT_TRUE(run.c.guards_intact());
      }
}

}  // namespace
}  // namespace kovra::kernels
