// kernel_neon_fma_scalar<complex<float>>: the 8 by 4 float micro kernel run on the interleaved parts of
// 4 by 2 complex panels, with the complex product and alpha applied once per tile. Built with VFPv4
// enabled; reached only on processors that report it.
#include <arm_neon.h>

#include <complex>
#include <memory>
#include <utility>

#include "kernels/neon/kernel_neon_fma_scalar_complex.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using cfloat = std::complex<float>;

// The real loop's tile, in floats: an A step is 4 complex rows, a B step 2 complex columns.
constexpr int mr = 8;
constexpr int nr = 4;
static_assert(fma_scalar_blocking<cfloat>::value.tile_m * 2 == mr && fma_scalar_blocking<cfloat>::value.tile_n * 2 == nr);
static_assert(sizeof(cfloat) == 2 * sizeof(float), "panels are interleaved real and imaginary parts");
// One A step is 32 bytes and one B step 16, so aligned panels stay aligned step by step.
static_assert(mr * sizeof(float) == 32 && nr * sizeof(float) == 16);

inline float32x4_t load_a(const float* p) {
  return vld1q_f32(static_cast<const float*>(__builtin_assume_aligned(p, 32)));
}
inline float32x4_t load_b(const float* p) {
  return vld1q_f32(static_cast<const float*>(__builtin_assume_aligned(p, 16)));
}

// acc[j][h]: lanes 4h to 4h + 3 of the interleaved A step times B lane j, summed over the steps. The
// lanes of B are b0.re, b0.im, b1.re, b1.im, so acc[0], acc[1], acc[2], acc[3] are R[0], I[0], R[1], I[1].
struct tile_accumulators {
  float32x4_t acc[nr][2];
};

// One step with the A pair (lo, hi) and B vector bv, then lo, hi take A two steps on and bv the next B
// step; each broadcast sits between the multiply-adds of the previous one.
[[gnu::always_inline]] inline void fma_step(tile_accumulators& t, float32x4_t& lo, float32x4_t& hi, float32x4_t& bv,
                                            const float*& a_ahead, const float*& b_ahead) {
  const float32x2_t b01 = vget_low_f32(bv), b23 = vget_high_f32(bv);
  float32x4_t bj = vdupq_lane_f32(b01, 0);
  t.acc[0][0] = vfmaq_f32(t.acc[0][0], lo, bj);
  t.acc[0][1] = vfmaq_f32(t.acc[0][1], hi, bj);
  bj = vdupq_lane_f32(b01, 1);
  t.acc[1][0] = vfmaq_f32(t.acc[1][0], lo, bj);
  t.acc[1][1] = vfmaq_f32(t.acc[1][1], hi, bj);
  bv = load_b(b_ahead);
  b_ahead += nr;
  bj = vdupq_lane_f32(b23, 0);
  t.acc[2][0] = vfmaq_f32(t.acc[2][0], lo, bj);
  t.acc[2][1] = vfmaq_f32(t.acc[2][1], hi, bj);
  bj = vdupq_lane_f32(b23, 1);
  t.acc[3][0] = vfmaq_f32(t.acc[3][0], lo, bj);
  t.acc[3][1] = vfmaq_f32(t.acc[3][1], hi, bj);
  lo = load_a(a_ahead);
  hi = load_a(a_ahead + 4);
  a_ahead += mr;
}

// The float tile product: A two steps ahead in alternating register pairs, B one step ahead, k mod 4
// single steps and then groups of four, A prefetched about two cache lines ahead. Reads up to A step
// k + 1 and B step k, whose values are not used.
[[gnu::always_inline]] inline tile_accumulators tile_product(int k, const float* a, const float* b) {
  const float32x4_t zero = vdupq_n_f32(0.0f);
  tile_accumulators t{{{zero, zero}, {zero, zero}, {zero, zero}, {zero, zero}}};
  float32x4_t x0 = load_a(a), x1 = load_a(a + 4);
  float32x4_t y0 = load_a(a + mr), y1 = load_a(a + mr + 4);
  float32x4_t bv = load_b(b);
  const float* a_ahead = a + 2 * mr;
  const float* b_ahead = b + nr;

  const int singles = k % 4;
  if (singles >= 1) fma_step(t, x0, x1, bv, a_ahead, b_ahead);
  if (singles >= 2) fma_step(t, y0, y1, bv, a_ahead, b_ahead);
  if (singles >= 3) fma_step(t, x0, x1, bv, a_ahead, b_ahead);
  if (singles % 2 == 1) {
    std::swap(x0, y0);
    std::swap(x1, y1);
  }
  __builtin_prefetch(a + (singles + 1) * mr + 224 / sizeof(float));
  __builtin_prefetch(a + (singles + 1) * mr + 352 / sizeof(float));
  for (int p = singles; p < k; p += 4) {
    __builtin_prefetch(a + (p + 6) * mr);
    fma_step(t, x0, x1, bv, a_ahead, b_ahead);
    fma_step(t, y0, y1, bv, a_ahead, b_ahead);
    fma_step(t, x0, x1, bv, a_ahead, b_ahead);
    fma_step(t, y0, y1, bv, a_ahead, b_ahead);
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
// elements: T = R + swapneg(I) is the product (a.re b.re - a.im b.im, a.im b.re + a.re b.im), then
// alpha's parts scale it, P = alpha.re * T and Q = alpha.im * T, and the result is (P + C) + swapneg(Q),
// or P + swapneg(Q) with no read of C when clear is set. All plain, unfused operations.
void kernel_neon_fma_scalar<cfloat>::micro_kernel(const cfloat* alpha, int k, const cfloat* a, const cfloat* b,
                                                  cfloat* c, int ldc, bool clear) const {
  if (!clear)
    for (int j = 0; j < tiles.tile_n; ++j) __builtin_prefetch(c + j * ldc);
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

template <> std::shared_ptr<kernel_object<cfloat>> make_kernel_neon_fma_scalar<cfloat>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<cfloat>::value;
  return std::make_shared<kernel_neon_fma_scalar<cfloat>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
