// Bodies that the NEON kernels of float and double share whatever their multiply-add: the unrolled tile
// packers, the tile's store by rows, scal_kernel, and the stages of the float axpy_kernel with the vector step passed in. Each kernel
// file calls them from its own overrides.
//
// The including files are built for different instruction sets (the *_vfpv4.cpp files with VFPv4, the
// others with the NEON baseline). Everything here has internal linkage, so each file keeps its own copy
// built with its own flags, and the linker can never hand a baseline caller a VFPv4 body.
#pragma once

#include "platform.h"

#if KOVRA_ARM32

#include <arm_neon.h>

#include <cmath>
#include <cstddef>
#include <cstring>

namespace kovra::kernels::neon_real {
namespace {

// float tiles are 8 by 4: an A tile is 4 steps of 8 rows, a B tile 8 steps of 4 columns. Sources have
// element alignment only, and every source vector is loaded before the first store.
constexpr int float_mr = 8;
constexpr int float_nr = 4;

// Rows of a 4 by 4 block given by its columns (or columns given by rows): r[i] lane j = c[j] lane i.
[[gnu::always_inline]] inline void transpose4(const float32x4_t c[4], float32x4_t r[4]) {
  const float32x4x2_t t01 = vtrnq_f32(c[0], c[1]);
  const float32x4x2_t t23 = vtrnq_f32(c[2], c[3]);
  r[0] = vcombine_f32(vget_low_f32(t01.val[0]), vget_low_f32(t23.val[0]));
  r[1] = vcombine_f32(vget_low_f32(t01.val[1]), vget_low_f32(t23.val[1]));
  r[2] = vcombine_f32(vget_high_f32(t01.val[0]), vget_high_f32(t23.val[0]));
  r[3] = vcombine_f32(vget_high_f32(t01.val[1]), vget_high_f32(t23.val[1]));
}

// An 8 by 4 tile given by its columns, cols[h][j] holding rows 4h to 4h + 3 of column j, stored by rows: row
// i, 4 consecutive elements, at c + i * ldc. Without clear each row is added to C with plain additions, which
// gives the bits of the column store with alpha 1 (C + 1 * acc is C + acc, 1 * acc is acc).
[[gnu::always_inline]] inline void store_tile_by_rows(const float32x4_t cols[2][4], float* c, int ldc, bool clear) {
  for (int h = 0; h < 2; ++h) {
    float32x4_t rows[4];
    transpose4(cols[h], rows);
    for (int i = 0; i < 4; ++i) {
      float* ci = c + (4 * h + i) * ldc;
      vst1q_f32(ci, clear ? rows[i] : vaddq_f32(vld1q_f32(ci), rows[i]));
    }
  }
}

// 4 source columns of 8 rows, copied as they are.
inline void pack_a_8x4(const float* src, int ld, float* dst) {
  float32x4_t v[float_nr][2];
  for (int j = 0; j < float_nr; ++j) {
    v[j][0] = vld1q_f32(src + j * ld);
    v[j][1] = vld1q_f32(src + j * ld + 4);
  }
  for (int j = 0; j < float_nr; ++j) {
    vst1q_f32(dst + j * float_mr, v[j][0]);
    vst1q_f32(dst + j * float_mr + 4, v[j][1]);
  }
}

// 8 source columns of 4 (the rows of the tile), transposed in two 4 by 4 blocks into 4 steps of 8.
inline void pack_a_trans_8x4(const float* src, int ld, float* dst) {
  float32x4_t v[2][4];
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) v[h][i] = vld1q_f32(src + (4 * h + i) * ld);
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  for (int j = 0; j < float_nr; ++j) {
    vst1q_f32(dst + j * float_mr, t[0][j]);
    vst1q_f32(dst + j * float_mr + 4, t[1][j]);
  }
}

// 8 source columns of 4 (the depth steps), copied as they are.
inline void pack_b_trans_8x4(const float* src, int ld, float* dst) {
  float32x4_t v[float_mr];
  for (int i = 0; i < float_mr; ++i) v[i] = vld1q_f32(src + i * ld);
  for (int i = 0; i < float_mr; ++i) vst1q_f32(dst + i * float_nr, v[i]);
}

// 4 source columns of 8 depth steps, transposed in two 4 by 4 blocks. No prefetch and no alignment
// demand on dst; a kernel that wants either wraps its own.
inline void pack_b_8x4(const float* src, int ld, float* dst) {
  float32x4_t v[2][float_nr];
  for (int j = 0; j < float_nr; ++j) {
    v[0][j] = vld1q_f32(src + j * ld);
    v[1][j] = vld1q_f32(src + j * ld + 4);
  }
  float32x4_t t[2][4];
  transpose4(v[0], t[0]);
  transpose4(v[1], t[1]);
  for (int h = 0; h < 2; ++h)
    for (int i = 0; i < 4; ++i) vst1q_f32(dst + (4 * h + i) * float_nr, t[h][i]);
}

// double tiles are 4 by 4, so every packer moves one 4 by 4 block, loaded whole before any of it is
// stored: pack_a and pack_b_trans copy it, pack_a_trans and pack_b transpose it.
struct block4 {
  double v[4][4];
  block4(const double* src, int ld) {
#pragma GCC unroll 16
    for (int s = 0; s < 16; ++s) v[s / 4][s % 4] = src[(s / 4) * ld + s % 4];
  }
  void store(double* dst) const {
#pragma GCC unroll 16
    for (int s = 0; s < 16; ++s) dst[s] = v[s / 4][s % 4];
  }
  void store_transposed(double* dst) const {
#pragma GCC unroll 16
    for (int s = 0; s < 16; ++s) dst[s] = v[s % 4][s / 4];
  }
};

// y = y + alpha * x: groups of 16 with a prefetch of both vectors 256 bytes ahead, then groups of 4, each
// through `step(y, alpha, x)` (the kernel's fused or rounded vector multiply-add), then single elements
// on the scalar unit, always with one fused multiply-add.
template <typename Step>
inline void axpy_float(int n, float alpha, const float* x, float* y, Step step) {
  if (n < 1) return;
  const float32x4_t av = vdupq_n_f32(alpha);
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
    for (int q = 0; q < 4; ++q) vst1q_f32(y + i + 4 * q, step(yv[q], av, xv[q]));
  }
  for (; i < n_by4; i += 4) vst1q_f32(y + i, step(vld1q_f32(y + i), av, vld1q_f32(x + i)));
  for (; i < n; ++i) y[i] = std::fma(alpha, x[i], y[i]);
}

// x = x * alpha (a rounded product): groups of 16 with a prefetch of x 256 bytes ahead, groups of 4,
// then single elements. Alpha zero stores zeros without reading x, so NaN and infinity there are gone.
inline void scal_float(int n, float alpha, float* x) {
  if (n < 1) return;
  const int n_by16 = n / 16 * 16, n_by4 = n / 4 * 4;
  int i = 0;
  if (alpha == 0.0f) {
    const float32x4_t zero = vdupq_n_f32(0.0f);
    for (; i < n_by16; i += 16)
      for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, zero);
    for (; i < n_by4; i += 4) vst1q_f32(x + i, zero);
    std::memset(x + i, 0, static_cast<std::size_t>(n - i) * sizeof(float));
    return;
  }
  const float32x4_t av = vdupq_n_f32(alpha);
  for (; i < n_by16; i += 16) {
    __builtin_prefetch(x + i + 256 / sizeof(float));
    float32x4_t xv[4];
    for (int q = 0; q < 4; ++q) xv[q] = vld1q_f32(x + i + 4 * q);
    for (int q = 0; q < 4; ++q) vst1q_f32(x + i + 4 * q, vmulq_f32(xv[q], av));
  }
  for (; i < n_by4; i += 4) vst1q_f32(x + i, vmulq_f32(vld1q_f32(x + i), av));
  for (; i < n; ++i) x[i] = x[i] * alpha;
}

// The same for double in pairs of elements, then the last one; no prefetch.
inline void scal_double(int n, double alpha, double* x) {
  if (n < 1) return;
  const int n_by2 = n / 2 * 2;
  int i = 0;
  if (alpha == 0.0) {
    for (; i < n_by2; i += 2) x[i] = x[i + 1] = 0.0;
    if (i < n) std::memset(x + i, 0, sizeof(double));
    return;
  }
  for (; i < n_by2; i += 2) {
    const double x0 = x[i], x1 = x[i + 1];
    x[i] = x0 * alpha;
    x[i + 1] = x1 * alpha;
  }
  if (i < n) x[i] = x[i] * alpha;
}

}  // namespace
}  // namespace kovra::kernels::neon_real

#endif  // KOVRA_ARM32
