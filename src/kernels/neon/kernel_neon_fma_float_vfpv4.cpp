// kernel_neon_fma<float>: the shared unrolled packers and an 8 by 4 micro kernel that rotates the B
// step through the lanes instead of broadcasting its elements. Built with VFPv4 enabled; reached only
// through make_kernel_neon_fma<float>, on processors that report it.
#include <arm_neon.h>

#include <memory>

#include "kernels/neon/kernel_neon_fma.h"
#include "kernels/neon/neon_real_bodies.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

constexpr int mr = 8;  // rows of the tile: two quad registers per A step
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(fma_blocking<float>::value.tile_m == mr && fma_blocking<float>::value.tile_n == nr);
static_assert(neon_real::float_mr == mr && neon_real::float_nr == nr, "the shared packers have this tile");
static_assert(sizeof(float32x4_t) == nr * sizeof(float), "a B step is one quad register");

// r<s>_lo and r<s>_hi lane i accumulate rows i and 4 + i of the tile against column i XOR s. One step
// takes the four rotations of the B step (b0 b1 b2 b3):
//   r0 = b0 b1 b2 b3,  r1 = b1 b0 b3 b2 (each half reversed),
//   r2 = b2 b3 b0 b1 (halves exchanged),  r3 = b3 b2 b1 b0 (r2 with each half reversed),
// and makes eight whole-vector fused multiply-adds, s = 0 to 3, the lower half of the rows first.
//
// Eight named accumulators rather than an array: GCC keeps an array of vectors in memory and would
// load and store every accumulator on every step.
struct rotated_tile {
  float32x4_t r0_lo, r0_hi, r1_lo, r1_hi, r2_lo, r2_hi, r3_lo, r3_hi;
};

[[gnu::always_inline]] inline void rotated_step(rotated_tile& t, float32x4_t a_lo, float32x4_t a_hi,
                                                float32x4_t r0) {
  const float32x4_t r1 = vrev64q_f32(r0);
  const float32x4_t r2 = vcombine_f32(vget_high_f32(r0), vget_low_f32(r0));
  const float32x4_t r3 = vrev64q_f32(r2);
  t.r0_lo = vfmaq_f32(t.r0_lo, a_lo, r0);
  t.r0_hi = vfmaq_f32(t.r0_hi, a_hi, r0);
  t.r1_lo = vfmaq_f32(t.r1_lo, a_lo, r1);
  t.r1_hi = vfmaq_f32(t.r1_hi, a_hi, r1);
  t.r2_lo = vfmaq_f32(t.r2_lo, a_lo, r2);
  t.r2_hi = vfmaq_f32(t.r2_hi, a_hi, r2);
  t.r3_lo = vfmaq_f32(t.r3_lo, a_lo, r3);
  t.r3_hi = vfmaq_f32(t.r3_hi, a_hi, r3);
}

// Columns of one half of the tile from its four rotations. Column j takes lane i from rotation i XOR j:
// first each pair of rotations (0, 1) and (2, 3) swaps its odd lanes, which settles lanes 0 and 1 of
// every column; then column j joins the lower half of one result to the upper half of the other pair's.
[[gnu::always_inline]] inline void unrotate(const float32x4_t rot[4], float32x4_t col[4]) {
  const uint32x4_t odd = {0u, ~0u, 0u, ~0u};
  const float32x4_t u0 = vbslq_f32(odd, rot[1], rot[0]);  // rot0[0] rot1[1] rot0[2] rot1[3]
  const float32x4_t u1 = vbslq_f32(odd, rot[0], rot[1]);  // rot1[0] rot0[1] rot1[2] rot0[3]
  const float32x4_t u2 = vbslq_f32(odd, rot[3], rot[2]);  // rot2[0] rot3[1] rot2[2] rot3[3]
  const float32x4_t u3 = vbslq_f32(odd, rot[2], rot[3]);  // rot3[0] rot2[1] rot3[2] rot2[3]
  col[0] = vcombine_f32(vget_low_f32(u0), vget_high_f32(u2));
  col[1] = vcombine_f32(vget_low_f32(u1), vget_high_f32(u3));
  col[2] = vcombine_f32(vget_low_f32(u2), vget_high_f32(u0));
  col[3] = vcombine_f32(vget_low_f32(u3), vget_high_f32(u1));
}

}  // namespace

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that.
//
// Read-ahead: the A step in use is in pair x, the next one in pair y, and each step refills the pair it
// used with A two steps on, through the pointer of that pair (ax, ay), which skips every other step; B
// is loaded one step ahead. So A steps k and k + 1 and B step k are read and never used. The steps run
// as k mod 4 singles, each followed by an exchange of the pairs and of their pointers, then groups of
// four, which use x, y, x, y and leave them in place. After the singles, two prefetches of A a few
// cache lines ahead; the panel is read in order from then on.
template <>
void kernel_neon_fma<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c, int ldc,
                                          bool clear) const {
  const float32x4_t zero = vdupq_n_f32(0.0f);
  rotated_tile t{zero, zero, zero, zero, zero, zero, zero, zero};

  const int singles = k > 0 ? k % 4 : 0;
  const int groups = k > 0 ? k / 4 : 0;
  float32x4_t x_lo = vld1q_f32(a), x_hi = vld1q_f32(a + 4);
  float32x4_t y_lo = vld1q_f32(a + mr), y_hi = vld1q_f32(a + mr + 4);
  const float* ax = a + 2 * mr;
  const float* ay = a + 3 * mr;
  float32x4_t bv = vld1q_f32(b);
  const float* bp = b + nr;

  for (int p = 0; p < singles; ++p) {
    const float32x4_t b_next = vld1q_f32(bp);
    bp += nr;
    rotated_step(t, x_lo, x_hi, bv);
    bv = b_next;
    const float32x4_t lo = vld1q_f32(ax), hi = vld1q_f32(ax + 4);
    ax += 2 * mr;
    x_lo = y_lo;
    x_hi = y_hi;
    y_lo = lo;
    y_hi = hi;
    const float* const swap = ax;
    ax = ay;
    ay = swap;
  }
  const char* const after_singles = reinterpret_cast<const char*>(a + (singles + 1) * mr);
  __builtin_prefetch(after_singles + 224);
  __builtin_prefetch(after_singles + 352);

  for (int g = 0; g < groups; ++g) {
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      float32x4_t b_next = vld1q_f32(bp);
      rotated_step(t, x_lo, x_hi, bv);
      x_lo = vld1q_f32(ax);
      x_hi = vld1q_f32(ax + 4);
      ax += 2 * mr;
      bv = b_next;
      b_next = vld1q_f32(bp + nr);
      bp += 2 * nr;
      rotated_step(t, y_lo, y_hi, bv);
      y_lo = vld1q_f32(ay);
      y_hi = vld1q_f32(ay + 4);
      ay += 2 * mr;
      bv = b_next;
    }
  }

  // Alpha as a rounded product, then the columns sorted out and stored in order, C added unless clear.
  const float32x4_t av = vdupq_n_f32(*alpha);
  const float32x4_t lo[4] = {vmulq_f32(t.r0_lo, av), vmulq_f32(t.r1_lo, av), vmulq_f32(t.r2_lo, av),
                              vmulq_f32(t.r3_lo, av)};
  const float32x4_t hi[4] = {vmulq_f32(t.r0_hi, av), vmulq_f32(t.r1_hi, av), vmulq_f32(t.r2_hi, av),
                              vmulq_f32(t.r3_hi, av)};
  float32x4_t col[2][4];
  unrotate(lo, col[0]);
  unrotate(hi, col[1]);
  for (int j = 0; j < nr; ++j) {
    float* const cj = c + j * ldc;
    if (!clear) {
      col[0][j] = vaddq_f32(col[0][j], vld1q_f32(cj));
      col[1][j] = vaddq_f32(col[1][j], vld1q_f32(cj + 4));
    }
    vst1q_f32(cj, col[0][j]);
    vst1q_f32(cj + 4, col[1][j]);
  }
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma<float>() {
  constexpr kernel_blocking numbers = fma_blocking<float>::value;
  return std::make_shared<kernel_neon_fma<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
