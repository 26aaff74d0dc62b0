// kernel_neon_mla<complex<float>>: the 8 by 4 float multiply-accumulate loop run on the interleaved parts
// of 4 by 2 complex panels, with the complex product and alpha applied once per tile. Built for the NEON
// baseline; runs on every ARMv7 NEON core.
#include "kernels/neon/kernel_neon_mla_complex.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <complex>
#include <memory>
#include <utility>

#if defined(__ARM_FEATURE_FMA)
#error "this file must keep the NEON baseline: it runs on cores without VFPv4, see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns.
constexpr int mr = 8;
constexpr int nr = 4;
static_assert(mla_blocking<cfloat>::value.tile_m * 2 == mr && mla_blocking<cfloat>::value.tile_n * 2 == nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");
static_assert(sizeof(float32x4_t) == nr * sizeof(float), "a B step is one quad register");

// acc[j][h]: lanes 4h to 4h + 3 of the interleaved A step times B lane j, summed over the steps. The
// lanes of B are b0.re, b0.im, b1.re, b1.im, so acc[0], acc[1], acc[2], acc[3] are R[0], I[0], R[1], I[1].
struct tile_accumulators {
  float32x4_t acc[nr][2];
};

// One step: acc[j][h] += a[h] * lane j of the B step, the product rounded, the lane taken straight from
// the B register. While the step runs, the A pair (lo, hi) is reloaded with A two steps on and the other
// B register (b_next) with the next B step.
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

// The float tile product. A and B alternate between the register sets (x0, x1, bx) for even steps and
// (y0, y1, by) for odd ones; A runs two steps ahead and B one, so the loops read up to A step k + 1 and
// B step k, which are never used. k mod 4 single steps, then groups of four; A is prefetched about two
// cache lines ahead.
[[gnu::always_inline]] inline tile_accumulators tile_product(int k, const float* a, const float* b) {
  const float32x4_t zero = vdupq_n_f32(0.0f);
  tile_accumulators t{{{zero, zero}, {zero, zero}, {zero, zero}, {zero, zero}}};
  float32x4_t x0 = vld1q_f32(a), x1 = vld1q_f32(a + 4);
  float32x4_t y0 = vld1q_f32(a + mr), y1 = vld1q_f32(a + mr + 4);
  float32x4_t bx = vld1q_f32(b), by = zero;
  const float* a_ahead = a + 2 * mr;
  const float* b_ahead = b + nr;

  const int singles = k % 4;
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

// (x0, x1, x2, x3) -> (-x1, x0, -x3, x2): i times each of the two complex numbers in the register. The
// sign is flipped by its bit, so the result is exact.
inline float32x4_t swapneg(float32x4_t x) {
  const uint32x4_t sign = {0x80000000u, 0u, 0x80000000u, 0u};
  return vreinterpretq_f32_u32(veorq_u32(vreinterpretq_u32_f32(vrev64q_f32(x)), sign));
}

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that. Per half column, two complex
// elements: T = R + swapneg(I) is the product, P = alpha.re * T and Q = alpha.im * T, and the result is
// (P + C) + swapneg(Q), or P + swapneg(Q) with no read of C when clear is set. C is touched once, at the
// end, and is not prefetched.
void kernel_neon_mla<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b, cfloat* c,
                                           int ldc, bool clear) const {
  const tile_accumulators t = tile_product(k, reinterpret_cast<const float*>(a), reinterpret_cast<const float*>(b));
  const float32x4_t al_re = vdupq_n_f32(alpha->real());
  const float32x4_t al_im = vdupq_n_f32(alpha->imag());
  for (int j = 0; j < tiles.tile_n; ++j) {
    float* cj = reinterpret_cast<float*>(c + j * ldc);
    for (int h = 0; h < 2; ++h) {
      const float32x4_t product = vaddq_f32(t.acc[2 * j][h], swapneg(t.acc[2 * j + 1][h]));
      const float32x4_t p = vmulq_f32(al_re, product);
      const float32x4_t q = vmulq_f32(al_im, product);
      const float32x4_t scaled = clear ? p : vaddq_f32(p, vld1q_f32(cj + 4 * h));
      vst1q_f32(cj + 4 * h, vaddq_f32(scaled, swapneg(q)));
    }
  }
}

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_mla<cfloat>() {
  constexpr kernel_blocking numbers = mla_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_mla<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
