// kernel_neon_fma<double>: the shared unrolled packers and a 4 by 4 micro kernel on the VFP unit, which
// multiplies each A step by the four B elements in turn. Built with VFPv4 enabled; reached only through
// make_kernel_neon_fma<double>, on processors that report it.
#include <cstring>
#include <memory>

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/neon_real_bodies.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

constexpr int mr = 4;
constexpr int nr = 4;
static_assert(fma_blocking<double>::value.tile_m == mr && fma_blocking<double>::value.tile_n == nr);
// Sixteen accumulators and two A steps take 24 of the 32 double registers, leaving room for B.
static_assert(mr * nr + 2 * mr <= 32);

// acc[j][i] = fma(a_i, b_j, acc[j][i]), column by column; each B element is read as its column starts.
[[gnu::always_inline]] inline void lane_step(double acc[nr][mr], const double a[mr], const double* b) {
#pragma GCC unroll 4
  for (int j = 0; j < nr; ++j) {
    const double bj = b[j];
#pragma GCC unroll 4
    for (int i = 0; i < mr; ++i) acc[j][i] = __builtin_fma(a[i], bj, acc[j][i]);
  }
}

[[gnu::always_inline]] inline void load_step(double a[mr], const double* src) {
#pragma GCC unroll 4
  for (int i = 0; i < mr; ++i) a[i] = src[i];
}

}  // namespace

void kernel_neon_fma<double>::pack_a(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma<double>::pack_a_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}
void kernel_neon_fma<double>::pack_b_trans(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store(dst);
}
void kernel_neon_fma<double>::pack_b(const double* src, int ld, double* dst) const {
  neon_real::block4(src, ld).store_transposed(dst);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. The sixteen accumulators start from
// +0; A runs one step ahead in two quadruples of registers, so A step k is read and not used. Steps run
// as k mod 4 singles, then groups of four. At the end each accumulator is multiplied by alpha, and
// unless clear is set C is added with a plain addition; with clear, C is not read.
void kernel_neon_fma<double>::micro_kernel(const double* alpha, int k, const double* a, const double* b,
                                           double* c, int ldc, bool clear) const {
  double acc[nr][mr] = {};
  double x[mr], y[mr];
  load_step(x, a);
  const double* a_ahead = a + mr;
  const int singles = k > 0 ? k % 4 : 0;
  for (int p = 0; p < singles; ++p) {
    load_step(y, a_ahead);
    a_ahead += mr;
    lane_step(acc, x, b + p * nr);
    std::memcpy(x, y, sizeof x);
  }
  for (int p = singles; p < k; p += 4) {
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      load_step(y, a_ahead);
      lane_step(acc, x, b + (p + 2 * half) * nr);
      load_step(x, a_ahead + mr);
      lane_step(acc, y, b + (p + 2 * half + 1) * nr);
      a_ahead += 2 * mr;
    }
  }
  const double al = *alpha;
  for (int j = 0; j < nr; ++j) {
    double* const cj = c + j * ldc;
    for (int i = 0; i < mr; ++i) {
      const double scaled = acc[j][i] * al;
      cj[i] = clear ? scaled : scaled + cj[i];
    }
  }
}

template <> std::shared_ptr<kernel_object<double>> make_kernel_neon_fma<double>() {
  constexpr kernel_blocking numbers = fma_blocking<double>::value;
  return std::make_shared<kernel_neon_fma<double>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
