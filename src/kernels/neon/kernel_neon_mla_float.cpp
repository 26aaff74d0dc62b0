// kernel_neon_mla<float>: NEON packers, micro kernel and vector kernels with the multiply-accumulate of
// NEON (product rounded, then added). Built for the NEON baseline; runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <cmath>
#include <memory>
#include <utility>

#include "kernels/neon/neon_real_bodies.h"

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

constexpr int mr = 8;  // rows of the tile: two quad registers per column
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(mla_blocking<float>::value.tile_m == mr && mla_blocking<float>::value.tile_n == nr);
static_assert(neon_real::float_mr == mr && neon_real::float_nr == nr);
static_assert(sizeof(float32x4_t) == 4 * sizeof(float), "a B step is one quad register");

// acc[j][h] holds column j of the 8 by 4 product, rows 0-3 (h = 0) and 4-7 (h = 1): eight quad
// registers, each element starting from +0.
struct tile_accumulators {
  float32x4_t acc[nr][2];
};

// One step: acc[j][h] += a[h] * lane j of the B step, the product rounded (vmla by scalar, which takes
// the lane straight from the B register, so no broadcast is needed). While the step runs, the A pair
// (lo, hi) is reloaded with A two steps on and the other B register (b_next) with the next B step.
[[gnu::always_inline]] inline void mla_step(tile_accumulators& t, float32x4_t& lo, float32x4_t& hi,
                                            const float32x4_t b_now, float32x4_t& b_next, const float*& a_ahead,
                                            const float*& b_ahead) {
  const float32x2_t b01 = vget_low_f32(b_now), b23 = vget_high_f32(b_now);
  t.acc[0][0] = vmlaq_lane_f32(t.acc[0][0], lo, b01, 0);
  t.acc[0][1] = vmlaq_lane_f32(t.acc[0][1], hi, b01, 0);
  t.acc[1][0] = vmlaq_lane_f32(t.acc[1][0], lo, b01, 1);
  t.acc[1][1] = vmlaq_lane_f32(t.acc[1][1], hi, b01, 1);
  b_next = vld1q_f32(b_ahead);
  b_ahead += nr;
  t.acc[2][0] = vmlaq_lane_f32(t.acc[2][0], lo, b23, 0);
  t.acc[2][1] = vmlaq_lane_f32(t.acc[2][1], hi, b23, 0);
  t.acc[3][0] = vmlaq_lane_f32(t.acc[3][0], lo, b23, 1);
  t.acc[3][1] = vmlaq_lane_f32(t.acc[3][1], hi, b23, 1);
  lo = vld1q_f32(a_ahead);
  hi = vld1q_f32(a_ahead + 4);
  a_ahead += mr;
}

// The tile product without alpha and without C. A and B each alternate between two register sets:
// (x0, x1, bx) for even steps and (y0, y1, by) for odd ones. A runs two steps ahead and B one, so the
// loops read up to A step k+1 and B step k, which are never used. The steps run as k mod 4 singles,
// then groups of four, which alternate the sets twice and so leave them in place. A is prefetched about
// two cache lines ahead; B panels are short and are not.
[[gnu::always_inline]] inline tile_accumulators tile_product(int k, const float* a, const float* b) {
  const float32x4_t zero = vdupq_n_f32(0.0f);
  tile_accumulators t{{{zero, zero}, {zero, zero}, {zero, zero}, {zero, zero}}};
  float32x4_t x0 = vld1q_f32(a), x1 = vld1q_f32(a + 4);
  float32x4_t y0 = vld1q_f32(a + mr), y1 = vld1q_f32(a + mr + 4);
  float32x4_t bx = vld1q_f32(b), by = zero;
  const float* a_ahead = a + 2 * mr;  // the step that goes into the A pair just used
  const float* b_ahead = b + nr;      // the step that goes into the other B register

  const int singles = k % 4;
  // Unrolled by hand so that the sets trade roles without register moves.
  if (singles >= 1) mla_step(t, x0, x1, bx, by, a_ahead, b_ahead);
  if (singles >= 2) mla_step(t, y0, y1, by, bx, a_ahead, b_ahead);
  if (singles >= 3) mla_step(t, x0, x1, bx, by, a_ahead, b_ahead);
  if (singles % 2 == 1) {
    std::swap(x0, y0);
    std::swap(x1, y1);
    bx = by;
  }
  __builtin_prefetch(a + (singles + 1) * mr + 224 / sizeof(float));
  __builtin_prefetch(a + (singles + 1) * mr + 352 / sizeof(float));
  for (int p = singles; p < k; p += 4) {
    __builtin_prefetch(a + (p + 6) * mr);
    mla_step(t, x0, x1, bx, by, a_ahead, b_ahead);
    mla_step(t, y0, y1, by, bx, a_ahead, b_ahead);
    mla_step(t, x0, x1, bx, by, a_ahead, b_ahead);
    mla_step(t, y0, y1, by, bx, a_ahead, b_ahead);
  }
  return t;
}

}  // namespace

void kernel_neon_mla<float>::pack_a(const float* src, int ld, float* dst) const {
  neon_real::pack_a_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_a_trans(const float* src, int ld, float* dst) const {
  neon_real::pack_a_trans_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_b_trans(const float* src, int ld, float* dst) const {
  neon_real::pack_b_trans_8x4(src, ld, dst);
}
void kernel_neon_mla<float>::pack_b(const float* src, int ld, float* dst) const {
  neon_real::pack_b_8x4(src, ld, dst);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + alpha * that with one multiply-accumulate
// per element. C is touched once, at the end; with clear set it is not read at all.
void kernel_neon_mla<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c,
                                          int ldc, bool clear) const {
  const tile_accumulators t = tile_product(k, a, b);
  const float32x4_t al = vdupq_n_f32(*alpha);
  for (int j = 0; j < nr; ++j) {
    float* cj = c + j * ldc;
    if (clear) {
      vst1q_f32(cj, vmulq_f32(al, t.acc[j][0]));
      vst1q_f32(cj + 4, vmulq_f32(al, t.acc[j][1]));
    } else {
      vst1q_f32(cj, vmlaq_f32(vld1q_f32(cj), al, t.acc[j][0]));
      vst1q_f32(cj + 4, vmlaq_f32(vld1q_f32(cj + 4), al, t.acc[j][1]));
    }
  }
}

// y = y + alpha * x (product rounded): groups of 16 with a prefetch 256 bytes ahead, then groups of 4,
// then single elements on the scalar unit with a fused multiply-add.
void kernel_neon_mla<float>::axpy_kernel(int n, const float* alpha, const float* x, float* y) const {
  if (n < 1) return;
  const float al = *alpha;
  const float32x4_t av = vdupq_n_f32(al);
  const int n_by16 = n / 16 * 16, n_by4 = n / 4 * 4;
  int i = 0;
  for (; i < n_by16; i += 16) {
    __builtin_prefetch(x + i + 256 / sizeof(float));
    __builtin_prefetch(y + i + 256 / sizeof(float));
    float32x4_t xv[4], yv[4];
    for (int q = 0; q < 4; ++q) {
      xv[q] = vld1q_f32(x + i + 4 * q);
      yv[q] = vld1q_f32(y + i + 4 * q);
    }
    for (int q = 0; q < 4; ++q) vst1q_f32(y + i + 4 * q, vmlaq_f32(yv[q], av, xv[q]));
  }
  for (; i < n_by4; i += 4) vst1q_f32(y + i, vmlaq_f32(vld1q_f32(y + i), av, vld1q_f32(x + i)));
  for (; i < n; ++i) y[i] = std::fma(al, x[i], y[i]);
}

void kernel_neon_mla<float>::scal_kernel(int n, const float* alpha, float* x) const {
  neon_real::scal_float(n, *alpha, x);
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_mla<float>() {
  constexpr kernel_blocking numbers = mla_blocking<float>::value;
  return std::make_shared<kernel_neon_mla<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
