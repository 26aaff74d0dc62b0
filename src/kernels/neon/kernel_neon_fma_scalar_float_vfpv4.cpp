// kernel_neon_fma_scalar<float>: NEON packers, micro kernels and vector kernels with fused
// multiply-adds. Built with VFPv4 enabled; reached only on processors that report it.
#include <arm_neon.h>

#include <cstring>
#include <memory>

#include "kernels/neon/kernel_neon_fma_scalar.h"
#include "kernels/neon/neon_float_tile_vfpv4.h"

#if !defined(__ARM_FEATURE_FMA)
#error "this file needs the VFPv4 fused multiply-add (-mfpu=neon-vfpv4), see src/CMakeLists.txt"
#endif

namespace kovra::kernels {
namespace {

using neon_vfpv4::tile_accumulators;
using neon_vfpv4::tile_product;

constexpr int mr = 8;  // rows of the tile: two quad registers per column
constexpr int nr = 4;  // columns of the tile: one quad register per B step
static_assert(fma_scalar_blocking<float>::value.tile_m == mr && fma_scalar_blocking<float>::value.tile_n == nr);
static_assert(sizeof(float32x4_t) == 4 * sizeof(float), "a B step is one quad register");
// Panel alignment: one A step is 32 bytes and one B step 16, so aligned panels stay aligned step by step.
static_assert(mr * sizeof(float) == 32 && nr * sizeof(float) == 16);

// Rows of a 4 by 4 block given by its columns (or columns given by rows): r[i] lane j = c[j] lane i.
inline void transpose4(const float32x4_t c[4], float32x4_t r[4]) {
  const float32x4x2_t t01 = vtrnq_f32(c[0], c[1]);
  const float32x4x2_t t23 = vtrnq_f32(c[2], c[3]);
  r[0] = vcombine_f32(vget_low_f32(t01.val[0]), vget_low_f32(t23.val[0]));
  r[1] = vcombine_f32(vget_low_f32(t01.val[1]), vget_low_f32(t23.val[1]));
  r[2] = vcombine_f32(vget_high_f32(t01.val[0]), vget_high_f32(t23.val[0]));
  r[3] = vcombine_f32(vget_high_f32(t01.val[1]), vget_high_f32(t23.val[1]));
}

}  // namespace

// Packers: the bytes of the default bodies, every source vector loaded before the first store. Sources
// have element alignment only.

// 4 source columns of 8 rows, copied as they are.
void kernel_neon_fma_scalar<float>::pack_a(const float* src, int ld, float* dst) const {
  float32x4_t v[nr][2];
  for (int j = 0; j < nr; ++j) {
    v[j][0] = vld1q_f32(src + j * ld);
    v[j][1] = vld1q_f32(src + j * ld + 4);
  }
  for (int j = 0; j < nr; ++j) {
    vst1q_f32(dst + j * mr, v[j][0]);
    vst1q_f32(dst + j * mr + 4, v[j][1]);
  }
}

// 8 source columns of 4 (the rows of the tile), transposed in two 4 by 4 blocks into 4 steps of 8.
void kernel_neon_fma_scalar<float>::pack_a_trans(const float* src, int ld, float* dst) const {
  float32x4_t v[2][4];
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) v[h][i] = vld1q_f32(src + (4 * h + i) * ld);
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  for (int j = 0; j < nr; ++j) {
    vst1q_f32(dst + j * mr, t[0][j]);
    vst1q_f32(dst + j * mr + 4, t[1][j]);
  }
}

// 8 source columns of 4 (the depth steps), copied as they are.
void kernel_neon_fma_scalar<float>::pack_b_trans(const float* src, int ld, float* dst) const {
  float32x4_t v[mr];
  for (int i = 0; i < mr; ++i) v[i] = vld1q_f32(src + i * ld);
  for (int i = 0; i < mr; ++i) vst1q_f32(dst + i * nr, v[i]);
}

// 4 source columns of 8 depth steps, transposed in two 4 by 4 blocks. The walker moves down the
// columns, so each column is prefetched 128 bytes past this tile. A B tile starts a whole number of
// 16-byte steps into a page-aligned block, hence the aligned stores.
void kernel_neon_fma_scalar<float>::pack_b(const float* src, int ld, float* dst) const {
  for (int j = 0; j < nr; ++j) __builtin_prefetch(src + j * ld + mr + 128 / sizeof(float));
  float32x4_t v[2][nr];
  for (int j = 0; j < nr; ++j) {
    v[0][j] = vld1q_f32(src + j * ld);
    v[1][j] = vld1q_f32(src + j * ld + 4);
  }
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  float* out = static_cast<float*>(__builtin_assume_aligned(dst, 16));
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) vst1q_f32(out + (4 * h + i) * nr, t[h][i]);
}

// C (columns ldc apart) = alpha * A_panel * B_panel, or C + that with one fused multiply-add per
// element. C is touched once, at the end; with clear set it is not read at all.
void kernel_neon_fma_scalar<float>::micro_kernel(const float* alpha, int k, const float* a, const float* b, float* c,
                                                 int ldc, bool clear) const {
  if (!clear)
    for (int j = 0; j < nr; ++j) __builtin_prefetch(c + j * ldc);
  const tile_accumulators t = tile_product(k, a, b);
  const float32x4_t al = vdupq_n_f32(*alpha);
  const auto update = [&](float* cj, float32x4_t lo, float32x4_t hi) {
    if (clear) {
      vst1q_f32(cj, vmulq_f32(al, lo));
      vst1q_f32(cj + 4, vmulq_f32(al, hi));
    } else {
      vst1q_f32(cj, vfmaq_f32(vld1q_f32(cj), al, lo));
      vst1q_f32(cj + 4, vfmaq_f32(vld1q_f32(cj + 4), al, hi));
    }
  };
  update(c, t.c0_lo, t.c0_hi);
  update(c + ldc, t.c1_lo, t.c1_hi);
  update(c + 2 * ldc, t.c2_lo, t.c2_hi);
  update(c + 3 * ldc, t.c3_lo, t.c3_hi);
}

// The same product without alpha, a of height 8 and b of width 4, stored by rows: row i of the tile,
// 4 consecutive elements, at c + i * ldc. Without clear, C is added with plain additions.
void kernel_neon_fma_scalar<float>::micro_kernel_t(int k, const float* a, const float* b, float* c, int ldc,
                                                   bool clear) const {
  if (!clear)
    for (int i = 0; i < 4; ++i) __builtin_prefetch(c + i * ldc);
  const tile_accumulators t = tile_product(k, a, b);
  const float32x4_t halves[2][4] = {{t.c0_lo, t.c1_lo, t.c2_lo, t.c3_lo}, {t.c0_hi, t.c1_hi, t.c2_hi, t.c3_hi}};
  for (int h = 0; h < 2; ++h) {
    float32x4_t rows[4];
    transpose4(halves[h], rows);
    for (int i = 0; i < 4; ++i) {
      float* ci = c + (4 * h + i) * ldc;
      vst1q_f32(ci, clear ? rows[i] : vaddq_f32(vld1q_f32(ci), rows[i]));
    }
  }
}

// y = fma(alpha, x, y): groups of 16 with a prefetch 256 bytes ahead, then groups of 4, then single
// elements on the scalar unit.
void kernel_neon_fma_scalar<float>::axpy_kernel(int n, const float* alpha, const float* x, float* y) const {
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
    for (int q = 0; q < 4; ++q) vst1q_f32(y + i + 4 * q, vfmaq_f32(yv[q], av, xv[q]));
  }
  for (; i < n_by4; i += 4) vst1q_f32(y + i, vfmaq_f32(vld1q_f32(y + i), av, vld1q_f32(x + i)));
  for (; i < n; ++i) y[i] = __builtin_fmaf(al, x[i], y[i]);
}

// x = x * alpha in the same groups as axpy; alpha zero stores zeros without reading x, so NaN and
// infinity there are gone.
void kernel_neon_fma_scalar<float>::scal_kernel(int n, const float* alpha, float* x) const {
  if (n < 1) return;
  const float al = *alpha;
  const int n_by16 = n / 16 * 16, n_by4 = n / 4 * 4;
  int i = 0;
  if (al == 0.0f) {
    const float32x4_t zero = vdupq_n_f32(0.0f);
    for (; i < n_by16; i += 16)
      for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, zero);
    for (; i < n_by4; i += 4) vst1q_f32(x + i, zero);
    std::memset(x + i, 0, static_cast<std::size_t>(n - i) * sizeof(float));
    return;
  }
  const float32x4_t av = vdupq_n_f32(al);
  for (; i < n_by16; i += 16) {
    __builtin_prefetch(x + i + 256 / sizeof(float));
    float32x4_t xv[4];
    for (int q = 0; q < 4; ++q) xv[q] = vld1q_f32(x + i + 4 * q);
    for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, vmulq_f32(xv[q], av));
  }
  for (; i < n_by4; i += 4) vst1q_f32(x + i, vmulq_f32(vld1q_f32(x + i), av));
  for (; i < n; ++i) x[i] = x[i] * al;
}

template <> std::shared_ptr<kernel_object<float>> make_kernel_neon_fma_scalar<float>() {
  constexpr kernel_blocking numbers = fma_scalar_blocking<float>::value;
  return std::make_shared<kernel_neon_fma_scalar<float>>(numbers.block_m, numbers.block_n, numbers.block_k);
}

}  // namespace kovra::kernels
