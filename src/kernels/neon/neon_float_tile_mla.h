// The float 8 by 4 tile product with the NEON multiply-accumulate (product rounded, then added), shared
// by the baseline micro kernels of float and complex<float> (the latter runs it on the interleaved parts
// of its panels). Include it only from files built for the NEON baseline. Everything here has internal
// linkage, so each including file keeps its own copy built with its own flags.
#pragma once

#include "platform.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <utility>

#if defined(__ARM_FEATURE_FMA)
#error "neon_float_tile_mla.h is for the NEON baseline: its files run on cores without VFPv4"
#endif

namespace kovra::kernels::neon_mla {
namespace {

constexpr int mr = 8;  // rows of the tile: two quad registers per column
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(sizeof(float32x4_t) == nr * sizeof(float), "a B step is one quad register");

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
}  // namespace kovra::kernels::neon_mla

#endif  // KOVRA_ARM32
