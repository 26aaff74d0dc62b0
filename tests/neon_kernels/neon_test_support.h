// Scaffolding shared by the NEON kernel tests: the VFPv4 check for the kernels built with it, panels and
// C blocks inside sentinel padding at a chosen misalignment, and the checks every kernel goes through
// (packers against the default bodies, micro kernels against a scalar model, the
// level-1 bodies, whole products through the task path against the reference).
//
// NEON flushes subnormals and returns the default NaN, unlike the scalar models; the inputs stay clear
// of subnormals, and where NaN appears only its presence matters.
#pragma once

#include <asm/hwcap.h>
#include <sys/auxv.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <complex>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

#include "helper/helper.h"
#include "kernels/kernel_object.h"
#include "level3/gemm_call.h"
#include "scalar_models.h"
#include "support/reference_level3.h"
#include "support/values.h"

namespace kovra_test {
using namespace kovra::kernels;

inline bool processor_has_vfpv4() { return (getauxval(AT_HWCAP) & HWCAP_VFPv4) != 0; }
inline constexpr const char* no_vfpv4 = "no VFPv4 fused multiply-add on this processor";

// Where a block sits in its buffer: `guard` elements of sentinel before it (and at least as many
// after), its start rounded up to `align` bytes and then moved `offset` elements on.
struct block_layout {
  int guard, align, offset;
};

// `count` elements of E placed by a layout inside a buffer of sentinels. The kernels read past their
// panels, and a sentinel read there would show in a result; with no guard and an alignment of 1 the
// block is the whole buffer, from `offset` on.
template <typename E> struct guarded_block {
  int guard;
  std::vector<E> buffer;
  int start;
  guarded_block(int count, block_layout at)
      : guard(at.guard),
        buffer(std::size_t(count) + 4 * at.guard + at.align / sizeof(E) + at.offset, kovra_test::sentinel<E>()) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data() + guard);
    const auto align = std::uintptr_t(at.align);
    start = guard + int((align - address % align) % align / sizeof(E)) + at.offset;
  }
  guarded_block(const std::vector<E>& values, block_layout at) : guarded_block(int(values.size()), at) {
    fill(values);
  }
  E* data() { return buffer.data() + start; }
  const E* data() const { return buffer.data() + start; }
  template <typename U> const U* as() const { return reinterpret_cast<const U*>(data()); }
  void fill(const std::vector<E>& values) { std::copy(values.begin(), values.end(), data()); }
  // The first `count` elements with a guard's worth either side.
  std::vector<E> around(int count) const {
    return std::vector<E>(buffer.begin() + (start - guard), buffer.begin() + (start + count + guard));
  }
};

// Complex values stored as interleaved real parts, so that the layout can place them off a complex
// element's boundary.
template <typename T> guarded_block<real_t<T>> interleaved_block(const std::vector<T>& values, block_layout at) {
  guarded_block<real_t<T>> block(2 * int(values.size()), at);
  for (std::size_t i = 0; i < values.size(); ++i) {
    block.data()[2 * i] = values[i].real();
    block.data()[2 * i + 1] = values[i].imag();
  }
  return block;
}

// Each packer writes the bytes of the default body with the same tiles, and nothing around them, to a
// destination placed by `dest`, from a source `source_offset` elements into ld * tile_m + source_extra
// random values.
template <typename T>
void check_packers(const kernel_object<T>& kern, block_layout dest, int source_offset, int source_extra) {
  const kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int ld = kern.tile_m + 5;
  const std::vector<T> source = kovra_test::random_values<T>(ld * kern.tile_m + source_extra, 7);
  using packer = void (kernel_object<T>::*)(const T*, int, T*) const;
  const struct {
    const char* name;
    packer op;
  } packers[] = {{"pack_a", &kernel_object<T>::pack_a},
                 {"pack_a_trans", &kernel_object<T>::pack_a_trans},
                 {"pack_b_trans", &kernel_object<T>::pack_b_trans},
                 {"pack_b", &kernel_object<T>::pack_b}};
  for (const auto& p : packers) {
    guarded_block<T> got(kern.tile_size, dest), want(kern.tile_size, dest);
    (kern.*p.op)(source.data() + source_offset, ld, got.data());
    (plain.*p.op)(source.data() + source_offset, ld, want.data());
    EXPECT_TRUE(kovra_test::all_same_bits(got.around(kern.tile_size), want.around(kern.tile_size))) << p.name;
  }
}

// micro_kernel over the given step counts, with and without clear, on panels that `make_panel` places
// (a guarded_block) and C as `c_at` places it, against model(k, a, b, i, j, old, clear), the scalar
// model of element (i, j). The steps past the panels and the rows between C's columns hold the
// sentinel, which may neither reach a result nor be overwritten. With clear, C itself starts as NaN.
template <typename T, typename MakePanel, typename Model>
void check_micro_kernel(const kernel_object<T>& kern, std::initializer_list<int> steps, const T& alpha,
                        MakePanel make_panel, block_layout c_at, Model model) {
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3;
  for (int k : steps) {
    const auto a = make_panel(kovra_test::random_values<T>(mr * k, 11 + k));
    const auto b = make_panel(kovra_test::random_values<T>(nr * k, 12 + k));
    const T* ap = a.template as<T>();
    const T* bp = b.template as<T>();
    for (bool clear : {false, true}) {
      guarded_block<T> c(ldc * nr, c_at);
      const std::vector<T> old = kovra_test::random_values<T>(ldc * nr, 13 + k);
      std::vector<T> want = c.buffer;
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const int at = i + j * ldc;
          c.data()[at] = clear ? kovra_test::nan_element<T>() : old[at];
          want[c.start + at] = model(k, ap, bp, i, j, old[at], clear);
        }
      kern.micro_kernel(&alpha, k, ap, bp, c.data(), ldc, clear);
      EXPECT_TRUE(kovra_test::all_same_bits(c.buffer, want)) << "k=" << k << " clear=" << clear;
    }
  }
}

// A real kernel: the depth sums by `Sum` accumulation, then alpha * sum, added to old C by `End`
// accumulation.
template <models::accumulation Sum, models::accumulation End, typename T>
void check_real_micro_kernel(const kernel_object<T>& kern, std::initializer_list<int> steps, block_layout panels,
                             block_layout c_at) {
  const int mr = kern.tile_m, nr = kern.tile_n;
  const T alpha = T(-1.375);
  check_micro_kernel(
      kern, steps, alpha, [&](const std::vector<T>& values) { return guarded_block<T>(values, panels); }, c_at,
      [&](int k, const T* a, const T* b, int i, int j, T old, bool clear) {
        const T sum = models::panel_sum<Sum>(k, a, mr, i, b, nr, j);
        return clear ? sum * alpha : models::multiply_add<End>(old, alpha, sum);
      });
}

// A complex kernel: the panel product by `Sum` accumulation, then the complex end step.
template <models::accumulation Sum, typename T, typename MakePanel>
void check_complex_micro_kernel(const kernel_object<T>& kern, std::initializer_list<int> steps, MakePanel make_panel,
                                block_layout c_at) {
  const int mr = kern.tile_m, nr = kern.tile_n;
  const T alpha = kovra_test::make<T>(-1.375, 0.625);
  check_micro_kernel(kern, steps, alpha, make_panel, c_at,
                     [&](int k, const T* a, const T* b, int i, int j, T old, bool clear) {
                       return models::complex_end_step(models::panel_product<Sum>(k, a, mr, i, b, nr, j), alpha, old,
                                                       clear);
                     });
}

// The complex<double> kernels scale by alpha.re * (1 + i alpha.im): exactly alpha when alpha.re is 1 or
// alpha.im is 0, otherwise something else. Each case names the factor it must act as; the result is
// that factor times the product by the textbook formula, bit for bit.
template <models::accumulation Sum, typename MakePanel>
void check_alpha_factor(const kernel_object<std::complex<double>>& kern, MakePanel make_panel) {
  using T = std::complex<double>;
  const int mr = 2, nr = 2, k = 23;
  const auto a = make_panel(kovra_test::random_values<T>(mr * k, 51));
  const auto b = make_panel(kovra_test::random_values<T>(nr * k, 52));
  const struct {
    T alpha, acts_as;
  } cases[] = {{{1, 2}, {1, 2}}, {{3, 0}, {3, 0}}, {{-0.5, 0}, {-0.5, 0}}, {{2, 3}, {2, 6}}, {{0, 2}, {0, 0}}};
  for (const auto& s : cases)
    for (bool clear : {false, true}) {
      const std::vector<T> old = kovra_test::random_values<T>(mr * nr, 53);
      std::vector<T> c = clear ? std::vector<T>(mr * nr, kovra_test::nan_element<T>()) : old, want(mr * nr);
      for (int j = 0; j < nr; ++j)
        for (int i = 0; i < mr; ++i) {
          const T t = models::panel_product<Sum>(k, a.template as<T>(), mr, i, b.template as<T>(), nr, j);
          want[i + j * mr] = models::textbook_product(s.acts_as, t, old[i + j * mr], clear);
        }
      kern.micro_kernel(&s.alpha, k, a.template as<T>(), b.template as<T>(), c.data(), mr, clear);
      EXPECT_TRUE(kovra_test::all_same_bits(c, want)) << "alpha=" << s.alpha << " clear=" << clear;
    }
}

// axpy_kernel over lengths that run every stage, on vectors one element off a 16-byte boundary with a
// sentinel after y: element i (of n) is fused when fused_at(i, n), otherwise a rounded product added.
template <typename T, typename FusedAt> void check_axpy_stages(const kernel_object<T>& kern, FusedAt fused_at) {
  const T alpha = T(0.8125);
  for (int n : {0, 1, 2, 3, 4, 5, 15, 16, 17, 35, 71}) {
    const std::vector<T> x = kovra_test::random_values<T>(n + 1, 21 + n);
    std::vector<T> y = kovra_test::random_values<T>(n + 1, 22 + n);
    y.push_back(kovra_test::sentinel<T>());
    std::vector<T> want = y;
    for (int i = 1; i <= n; ++i)
      want[i] = fused_at(i - 1, n) ? std::fma(alpha, x[i], y[i])
                                   : models::multiply_add<models::accumulation::rounded>(y[i], alpha, x[i]);
    kern.axpy_kernel(n, &alpha, x.data() + 1, y.data() + 1);
    EXPECT_TRUE(kovra_test::all_same_bits(y, want)) << "n=" << n;
  }
}

// scal_kernel: x times alpha, and alpha equal to zero (either sign) leaving +0 in place of NaN and
// infinity.
template <typename T> void check_scal(const kernel_object<T>& kern) {
  const T inf = std::numeric_limits<T>::infinity();
  for (T alpha : {T(-2.75), T(0), T(-0.0)}) {
    for (int n : {0, 1, 3, 4, 5, 15, 16, 17, 38}) {
      std::vector<T> x = kovra_test::random_values<T>(n + 1, 31 + n);
      for (int i = 1; i <= n; i += 3) x[i] = alpha == 0 ? std::numeric_limits<T>::quiet_NaN() : x[i];
      if (alpha == 0 && n > 1) x[2] = -inf;
      x.push_back(kovra_test::sentinel<T>());
      std::vector<T> want = x;
      for (int i = 1; i <= n; ++i) want[i] = alpha == 0 ? T(0) : x[i] * alpha;
      kern.scal_kernel(n, &alpha, x.data() + 1);
      EXPECT_TRUE(kovra_test::all_same_bits(x, want)) << "alpha=" << alpha << " n=" << n;
    }
  }
}

struct gemm_shape {
  char transa, transb;
  int m, n, k;
};

// Whole products through the task path for every shape, alpha and beta, C starting as NaN where beta is
// zero: the kernel's results (and those of `also`, when given) agree with the reference to rounding,
// and the kernel writes nothing outside C.
template <typename T>
void check_gemm(const std::shared_ptr<kernel_object<T>>& kernel, std::initializer_list<gemm_shape> shapes,
                std::initializer_list<T> alphas, std::initializer_list<T> betas,
                const std::shared_ptr<kernel_object<T>>& also = nullptr) {
  for (const auto& s : shapes)
    for (T alpha : alphas)
      for (T beta : betas) {
        kovra_test::gemm_case<T> run(s.transa, s.transb, s.m, s.n, s.k, 3);
        if (beta == T(0)) run.c.fill(kovra_test::nan_element<T>());
        kovra_test::gemm_case<T> other = run;
        const auto want = kovra_test::reference_gemm(s.transa, s.transb, s.m, s.n, s.k, alpha, run.a, run.b, beta, run.c);
        run.run_on(kernel, alpha, beta);
        EXPECT_TRUE(kovra_test::matches(want, run.c))
            << s.transa << s.transb << " m=" << s.m << " alpha=" << alpha << " beta=" << beta;
        EXPECT_TRUE(run.c.guards_intact());
        if (also) {
          other.run_on(also, alpha, beta);
          EXPECT_TRUE(kovra_test::matches(want, other.c))
              << "other kernel " << s.transa << s.transb << " m=" << s.m << " alpha=" << alpha << " beta=" << beta;
        }
      }
}

// The products every complex kernel goes through: crossing blocks of every dimension, with every
// transpose, a clearing and an accumulating beta. complex<double> takes only the alphas it scales by
// exactly.
template <typename T> void check_complex_gemm(const std::shared_ptr<kernel_object<T>>& kernel) {
  using kovra_test::make;
  const bool exact_alpha_only = sizeof(T) == 16;
  check_gemm<T>(kernel,
                {{'N', 'N', 37, 29, 131}, {'T', 'C', 21, 33, 65}, {'C', 'N', 19, 40, 9}, {'N', 'T', 30, 17, 130},
                 {'N', 'N', 515, 13, 12}},
                {exact_alpha_only ? make<T>(1, -0.75) : make<T>(-0.625, 0.375), make<T>(-0.625, 0)},
                {T(0), make<T>(0.5, -0.25)});
}

}  // namespace kovra_test
