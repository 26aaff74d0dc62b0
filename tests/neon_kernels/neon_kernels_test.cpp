// Every NEON kernel family against the arithmetic it promises, bit for bit: the packers write the bytes
// of the portable bodies, the micro kernels match a scalar model of their sums and end step, AXPY fuses
// where it says it does, on panels and vectors off every alignment the kernels could rely on, with
// sentinels around them that may neither reach a result nor be overwritten. The selection tests compare
// every kernel's AXPY and SCAL with the portable kernel; the Level 3 tests run GEMM on the chosen kernel.
//
// NEON flushes subnormals and returns the default NaN, unlike the models: the inputs stay clear of
// subnormals, and where NaN appears only its presence matters.
#include <asm/hwcap.h>
#include <gtest/gtest.h>
#include <sys/auxv.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/kernel_neon_fma_scalar_complex.h"
#include "kernels/neon/kernel_neon_mla_complex.h"
#include "support/values.h"

// Scalar models of the kernels' arithmetic, one element at a time.
namespace kovra_test::models {

// acc + x * y in one rounding (fused) or two.
template <typename R>
R multiply_add(bool fused, R acc, R x, R y) {
  if (fused) return std::fma(x, y, acc);
  const R product = x * y;
  return acc + product;
}

// Element (i, j) of the product of panels of tile_m = mr and tile_n = nr, summed from +0 in order of
// depth; a complex one from the four real sums the kernels accumulate over the interleaved parts.
template <typename T>
T panel_product(bool fused, int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  using R = real_t<T>;
  const int parts = is_complex_v<T> ? 2 : 1;
  const auto sum = [&](int a_part, int b_part) {
    const R* ar = reinterpret_cast<const R*>(a);
    const R* br = reinterpret_cast<const R*>(b);
    R acc = 0;
    for (int p = 0; p < k; ++p)
      acc = multiply_add(fused, acc, ar[p * parts * mr + parts * i + a_part], br[p * parts * nr + parts * j + b_part]);
    return acc;
  };
  if constexpr (is_complex_v<T>)
    return T(sum(0, 0) - sum(1, 1), sum(1, 0) + sum(0, 1));
  else
    return sum(0, 0);
}

// alpha times the product t, plus old C unless clear. A real kernel rounds alpha * t and adds C by
// `end_fused`; complex<float> forms the four part products; complex<double> scales by alpha.re, then by
// alpha.im, so that it acts as alpha.re * (1 + i alpha.im).
template <typename T>
T end_step(bool end_fused, T t, T alpha, T old, bool clear) {
  using R = real_t<T>;
  if constexpr (!is_complex_v<T>) {
    return clear ? t * alpha : multiply_add(end_fused, old, alpha, t);
  } else if constexpr (sizeof(R) == 4) {
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

}  // namespace kovra_test::models

namespace kovra_test {
namespace {

using kernels::kernel_object;

// Where a block sits in its buffer: `guard` elements of sentinel before it (and more after), its start
// rounded up to `align` bytes and then moved `offset` elements on.
struct block_layout {
  int guard, align, offset;
};

// `count` elements of E placed by a layout inside a buffer of sentinels.
template <typename E>
struct guarded_block {
  std::vector<E> buffer;
  int start, guard;
  guarded_block(int count, block_layout at)
      : buffer(count + 4 * at.guard + at.align + at.offset, sentinel<E>()), guard(at.guard) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + at.guard);
    start = at.guard + int((at.align - address % at.align) % at.align / sizeof(E)) + at.offset;
  }
  E* data() { return buffer.data() + start; }
  std::vector<E> around(int count) const {  // the first `count` elements with a guard's worth either side
    return std::vector<E>(buffer.begin() + (start - guard), buffer.begin() + (start + count + guard));
  }
  template <typename U>
  const U* as() const {
    return reinterpret_cast<const U*>(buffer.data() + start);
  }
};

// Values stored as their real parts, so that a layout can place complex values off an element boundary.
template <typename T>
guarded_block<real_t<T>> panel(const std::vector<T>& values, block_layout at) {
  guarded_block<real_t<T>> block(int(values.size() * sizeof(T) / sizeof(real_t<T>)), at);
  std::memcpy(static_cast<void*>(block.data()), values.data(), values.size() * sizeof(T));
  return block;
}

// One kernel family for T: how it sums and ends, where its panels and C are placed, which AXPY elements
// it fuses (element i of n), whether it has its own micro_kernel_t, and whether it needs VFPv4.
template <typename T>
struct family {
  const char* name;
  std::function<std::shared_ptr<kernel_object<T>>()> make;
  bool vfpv4, sum_fused, end_fused;
  block_layout panels, c;
  std::function<bool(int, int)> axpy_fused;
  bool own_transposed_store;
};

template <typename T>
std::vector<family<T>> families() {
  using namespace kernels;
  constexpr int R = sizeof(real_t<T>);
  const block_layout bare{0, 1, 0}, misaligned{96 / R, 16, 1};
  const auto tail = [](int i, int n) { return R == 4 ? i >= n / 4 * 4 : i >= n / 2 * 2; };
  std::vector<family<T>> out = {
      {"NEON FMA scalar",
       make_kernel_neon_fma_scalar<T>,
       true,
       true,
       true,
       {64 / R, 32, 0},
       bare,
       [](int, int) { return true; },
       std::is_same_v<T, float>},
      {"NEON MLA", make_kernel_neon_mla<T>, false, false, false, misaligned, {0, 1, 1}, tail,
       std::is_same_v<T, float>}};
  if constexpr (!is_complex_v<T>)
    out.push_back({"NEON FMA", make_kernel_neon_fma<T>, true, true, false, {64 / R, 32, 1}, bare, nullptr, false});
  return out;
}

template <typename T>
class NeonKernels : public ::testing::Test {
 protected:
  // The families this processor can run.
  std::vector<family<T>> runnable() const {
    std::vector<family<T>> out;
    for (const auto& f : families<T>())
      if (!f.vfpv4 || (getauxval(AT_HWCAP) & HWCAP_VFPv4) != 0) out.push_back(f);
    return out;
  }
};
TYPED_TEST_SUITE(NeonKernels, element_types, element_type_names);

// Each packer writes what the portable body with the same tiles writes, and nothing around it, from a
// source with element alignment only.
TYPED_TEST(NeonKernels, PackersWriteThePortableBytes) {
  using T = TypeParam;
  for (const auto& f : this->runnable()) {
    const auto kern = f.make();
    const kernel_object<T> plain(kern->block_m, kern->block_n, kern->block_k, kern->tile_m, kern->tile_n);
    const int ld = kern->tile_m + 5;
    const std::vector<T> source = random_values<T>(ld * kern->tile_m + 1, 7);
    using packer = void (kernel_object<T>::*)(const T*, int, T*) const;
    for (packer op : {&kernel_object<T>::pack_a, &kernel_object<T>::pack_a_trans, &kernel_object<T>::pack_b_trans,
                      &kernel_object<T>::pack_b}) {
      guarded_block<T> got(kern->tile_size, f.panels), want(kern->tile_size, f.panels);
      ((*kern).*op)(source.data() + 1, ld, got.data());
      (plain.*op)(source.data() + 1, ld, want.data());
      EXPECT_TRUE(all_same_bits(got.around(kern->tile_size), want.around(kern->tile_size))) << f.name;
    }
  }
}

// Step counts that run only the single steps, only the groups of four, and both; with and without
// clear (C then starts as NaN); the rows between C's columns hold the sentinel.
TYPED_TEST(NeonKernels, MicroKernelsMatchTheirArithmetic) {
  using T = TypeParam;
  const T alpha = make<T>(-1.375, 0.625);
  for (const auto& f : this->runnable()) {
    const auto kern = f.make();
    const int mr = kern->tile_m, nr = kern->tile_n, ldc = mr + 3;
    for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 64, 131}) {
      const auto a = panel(random_values<T>(mr * k, 11 + k), f.panels),
                 b = panel(random_values<T>(nr * k, 12 + k), f.panels);
      const T *ap = a.template as<T>(), *bp = b.template as<T>();
      for (bool clear : {false, true}) {
        guarded_block<T> c(ldc * nr, f.c), ct(ldc * mr, f.c);
        const std::vector<T> old = random_values<T>(ldc * mr, 13 + k);
        std::vector<T> want = c.buffer, want_t = ct.buffer;
        for (int j = 0; j < nr; ++j)
          for (int i = 0; i < mr; ++i) {
            const T t = models::panel_product(f.sum_fused, k, ap, mr, i, bp, nr, j);
            c.data()[i + j * ldc] = ct.data()[j + i * ldc] = clear ? nan_element<T>() : old[i + j * ldc];
            want[c.start + i + j * ldc] = models::end_step(f.end_fused, t, alpha, old[i + j * ldc], clear);
            want_t[ct.start + j + i * ldc] = clear ? t : plain_add(old[i + j * ldc], t);
          }
        kern->micro_kernel(&alpha, k, ap, bp, c.data(), ldc, clear);
        EXPECT_TRUE(all_same_bits(c.buffer, want)) << f.name << " k=" << k << " clear=" << clear;
        if (!f.own_transposed_store) continue;
        kern->micro_kernel_t(k, ap, bp, ct.data(), ldc, clear);
        EXPECT_TRUE(all_same_bits(ct.buffer, want_t)) << f.name << " stored by rows, k=" << k << " clear=" << clear;
      }
    }
  }
}

// Lengths that run every stage, on vectors one element off a 16-byte boundary with a sentinel after y:
// each element fused or a rounded product added, as the family says.
TYPED_TEST(NeonKernels, AxpyFusesWhereItSays) {
  using T = TypeParam;
  if constexpr (!is_complex_v<T>) {
    const T alpha = T(0.8125);
    for (const auto& f : this->runnable()) {
      if (!f.axpy_fused) continue;
      for (int n : {0, 1, 2, 3, 4, 5, 15, 16, 17, 35, 71}) {
        const std::vector<T> x = random_values<T>(n + 1, 21 + n);
        std::vector<T> y = random_values<T>(n + 1, 22 + n);
        y.push_back(sentinel<T>());
        std::vector<T> want = y;
        for (int i = 1; i <= n; ++i) want[i] = models::multiply_add(f.axpy_fused(i - 1, n), y[i], alpha, x[i]);
        f.make()->axpy_kernel(n, &alpha, x.data() + 1, y.data() + 1);
        EXPECT_TRUE(all_same_bits(y, want)) << f.name << " n=" << n;
      }
    }
  }
}

}  // namespace
}  // namespace kovra_test
