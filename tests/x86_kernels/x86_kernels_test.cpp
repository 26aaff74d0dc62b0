// The x86-64 kernels, bit for bit: the micro kernels against a scalar model of their arithmetic (which the
// portable bodies with the same tiles must also meet on integer panels), AXPY, SCAL and the tile packers
// against the portable kernel, every output between sentinels. A kernel of a set this processor lacks is
// skipped.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "kernels/x86/kernel_x86.h"
#include "kovra/cpu_features.h"
#include "support/values.h"

namespace kovra_test {
namespace {

using kernels::avx2_fma;
using kernels::avx512;

// (element type, instruction set)
using cases =
    ::testing::Types<std::pair<float, avx2_fma>, std::pair<double, avx2_fma>, std::pair<std::complex<float>, avx2_fma>,
                     std::pair<std::complex<double>, avx2_fma>, std::pair<float, avx512>, std::pair<double, avx512>,
                     std::pair<std::complex<float>, avx512>, std::pair<std::complex<double>, avx512>>;

template <typename C> class X86Kernels : public ::testing::Test {
 protected:
  void SetUp() override {  // the instruction sets and register state the selection asks the probe for
    constexpr bool wide = std::is_same_v<typename C::second_type, avx512>;
    const std::uint64_t needs =
        X86_FEATURE_AVX2 | X86_FEATURE_FMA | X86_FEATURE_OS_YMM | (wide ? X86_FEATURE_AVX512F | X86_FEATURE_OS_ZMM : 0);
    if ((android_getCpuFeatures() & needs) != needs)
      GTEST_SKIP() << (wide ? "AVX-512" : "AVX2 with FMA") << " is not usable on this processor and system";
  }
  const kernels::x86_kernel<typename C::first_type, typename C::second_type> kern;
};
TYPED_TEST_SUITE(X86Kernels, cases);

// Element (i, j) of the product of panels a (mr rows) and b (nr columns) as the kernels sum it: each real
// sum from +0 with one fused multiply-add per step, in order of depth; a complex one from its four real sums.
template <typename T> T model_sum(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  const auto re = [](const T& v) { return helper::REAL(v); };
  const auto im = [](const T& v) { return helper::IMAG(v); };  // 0 for a real type: its sum less +0 is itself
  const auto sum = [&](auto part_a, auto part_b) {
    real_t<T> acc = 0;
    for (int p = 0; p < k; ++p) acc = std::fma(part_a(a[p * mr + i]), part_b(b[p * nr + j]), acc);
    return acc;
  };
  return make<T>(sum(re, re) - sum(im, im), sum(im, re) + sum(re, im));
}

// Values in [-1, 1], or nonzero integers of at most 4 in every part, on which every sum of a panel is exact.
template <typename T> std::vector<T> values(bool whole, int count, unsigned seed) {
  std::vector<T> out = random_values<T>(count, seed);
  const auto step = [](real_t<T> x) { return x < 0 ? std::floor(4 * x) : 1 + std::floor(4 * x); };
  for (T& v : out) v = whole ? make<T>(step(helper::REAL(v)), step(helper::IMAG(v))) : v;
  return out;
}

// Depths of single steps and past a block, with and without clear (C then starts as NaN); C has a line of
// sentinels before and after it and rows of them between its lines. With alpha 1 micro_kernel's expected tile is
// micro_kernel_t's transposed. On integers, where alpha's parts are positive so that no order of the exact sums
// turns a zero into -0, the portable bodies with the same tiles must give the model's bits too.
TYPED_TEST(X86Kernels, MicroKernelsMatchTheModelAndThePortableBodies) {
  using T = typename TypeParam::first_type;
  const kernels::kernel_object<T>& kern = this->kern;
  const kernels::kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3, ldt = nr + 2;
  const std::pair<T, bool> runs[] = {{make<T>(-1.375, 0.625), false}, {make<T>(1), false}, {make<T>(2, 3), true}};
  for (const auto& [alpha, whole] : runs)
    for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, kern.block_k + 3}) {
      const std::vector<T> a = values<T>(whole, mr * k, 11 + k), b = values<T>(whole, nr * k, 12 + k),
                           old = values<T>(whole, mr * nr, 13 + k);
      for (bool clear : {false, true}) {
        std::vector<T> c(ldc * (nr + 2), sentinel<T>()), ct(ldt * (mr + 2), sentinel<T>());
        std::vector<T> want = c, want_t = ct;
        for (int i = 0; i < mr; ++i)
          for (int j = 0; j < nr; ++j) {
            const int at = i + (j + 1) * ldc, at_t = j + (i + 1) * ldt;
            const T s = model_sum(k, a.data(), mr, i, b.data(), nr, j), was = old[i + j * mr];
            c[at] = ct[at_t] = clear ? nan_element<T>() : was;
            want[at] = !clear ? multiply_add(alpha, s, was) : k == 0 ? T{} : plain_mul(alpha, s);
            want_t[at_t] = clear ? s : plain_add(was, s);
          }
        for (const kernels::kernel_object<T>* run : {&kern, &plain}) {
          if (run == &plain && !whole) continue;
          std::vector<T> got = c, got_t = ct;
          run->micro_kernel(&alpha, k, a.data(), b.data(), got.data() + ldc, ldc, clear);
          run->micro_kernel_t(k, a.data(), b.data(), got_t.data() + ldt, ldt, clear);
          const char* name = run == &plain ? "portable" : "x86";
          EXPECT_TRUE(all_same_bits(got, want)) << name << " k=" << k << " clear=" << clear << " " << describe(alpha);
          EXPECT_TRUE(all_same_bits(got_t, want_t)) << name << " by rows, k=" << k << " clear=" << clear;
        }
      }
    }
}

// Every length to 33, then two past the unrolled step of AVX-512 floats (64); a sentinel after each vector.
TYPED_TEST(X86Kernels, AxpyAndScalMatchThePortableKernel) {
  using T = typename TypeParam::first_type;
  const kernels::kernel_object<T> plain(kernels::plain_blocking<T>::value);
  const T alpha = make<T>(0.75, -1.25), zero{};
  this->kern.axpy_kernel(-1, &alpha, nullptr, nullptr);  // a length below 1 touches nothing
  this->kern.scal_kernel(-1, &zero, nullptr);
  for (int n = 0; n < 140; n += n < 33 ? 1 : 37) {
    std::vector<T> x = random_values<T>(n, 40 + n);
    if (n > 9) x[n - 7] = make<T>(INFINITY, NAN), x[n / 3] = make<T>(NAN, -1);  // products the complex kernels recover
    std::vector<T> y = random_values<T>(n, 41 + n), nans(n, nan_element<T>()), zeros(n);
    for (std::vector<T>* v : {&y, &nans, &zeros}) v->push_back(sentinel<T>());
    std::vector<T> y_plain = y, s = x;
    s.push_back(sentinel<T>());
    std::vector<T> s_plain = s;
    this->kern.axpy_kernel(n, &alpha, x.data(), y.data());
    plain.axpy_kernel(n, &alpha, x.data(), y_plain.data());
    this->kern.scal_kernel(n, &alpha, s.data());
    plain.scal_kernel(n, &alpha, s_plain.data());
    this->kern.scal_kernel(n, &zero, nans.data());
    EXPECT_TRUE(all_same_bits(y, y_plain)) << "axpy n=" << n;
    EXPECT_TRUE(all_same_bits(s, s_plain)) << "scal n=" << n;
    EXPECT_TRUE(all_same_bits(nans, zeros)) << "scal by 0 n=" << n;
  }
}

// Each tile packer against the portable one of the same tile shape, from a source with a wider stride, with a
// sentinel after the tile.
TYPED_TEST(X86Kernels, TilePackersMatchThePortableOnes) {
  using T = typename TypeParam::first_type;
  using packer = void (kernels::kernel_object<T>::*)(const T*, int, T*) const;
  const kernels::kernel_object<T> plain(kernels::x86_blocking<T, typename TypeParam::second_type>());
  const int size = plain.tile_size, ld = plain.tile_m + 3;
  const std::vector<T> src = random_values<T>(ld * ld, 7);
  for (const packer pack : {&kernels::kernel_object<T>::pack_a, &kernels::kernel_object<T>::pack_a_trans,
                            &kernels::kernel_object<T>::pack_b, &kernels::kernel_object<T>::pack_b_trans}) {
    std::vector<T> ours(size + 1, sentinel<T>()), theirs = ours;
    (this->kern.*pack)(src.data(), ld, ours.data());
    (plain.*pack)(src.data(), ld, theirs.data());
    EXPECT_TRUE(all_same_bits(ours, theirs));
  }
}

}  // namespace
}  // namespace kovra_test
